// SPDX-License-Identifier: Apache-2.0

import { type Engine } from './engine.js';
import { checkedName } from './name.js';
import { Handle, kDispose } from './handle.js';
import { kindOf, valueAs, type ValueType, type ValueTypes } from './value.js';

/** An experiment that the user takes part in: a snapshot, which later changes do not affect. */
export class Experiment {
  /** The experiment's name. */
  readonly name: string;
  /** The name of the user's group. */
  readonly groupName: string;
  /** Its position among the experiment's groups, from 0. */
  readonly groupIndex: number;
  readonly #engine: Engine;
  readonly #handle: Handle;

  /** @internal */
  constructor(engine: Engine, address: number) {
    this.#engine = engine;
    this.#handle = new Handle(engine, address, 'experiment').ownedBy(this);
    engine.run(() => engine.calls.corvo_experiment_group(address));
    this.name = engine.name();
    this.groupName = engine.text();
    this.groupIndex = Number(engine.integer());
  }

  /**
   * The value of a parameter in the user's group. Undefined if there is no such parameter, if it has no
   * value for the group, or if its text is not valid for the type.
   */
  param<T extends ValueType>(name: string, type: T): ValueTypes[T] | undefined {
    return this.#value(name, false, type);
  }

  /**
   * The value that a carried flag has in the user's group. Undefined if the experiment carries no such
   * flag, or if its text is not valid for the type. Throws `experimentGroupNotMatchingFeatureFlagGroup`,
   * `featureFlagNoRules` or `featureFlagRulesNotSatisfied`.
   */
  flag<T extends ValueType>(name: string, type: T): ValueTypes[T] | undefined {
    return this.#value(name, true, type);
  }

  /** Frees the memory; the names remain. */
  dispose(): void {
    this.#handle.free();
  }
  [kDispose](): void {
    this.dispose();
  }

  #value<T extends ValueType>(name: string, isFlag: boolean, type: T): ValueTypes[T] | undefined {
    const kind = kindOf(type);
    const { address } = this.#handle;
    const size = this.#engine.writeText(checkedName(name));
    this.#engine.run(() => this.#engine.calls.corvo_experiment_value(address, size, Number(isFlag), kind));
    return valueAs(this.#engine, type);
  }
}
