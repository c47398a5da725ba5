// SPDX-License-Identifier: Apache-2.0

import { type Context, writeContext } from './context.js';
import { type Address, type Engine } from './engine.js';
import { CorvoError } from './error.js';
import { Experiment } from './experiment.js';
import { type Explanation } from './explanation.js';
import { Handle, kDispose } from './handle.js';
import { checkedName } from './name.js';
import { type Texts } from './texts.js';
import { kindOf, type Value, valueAs, type ValueType, type ValueTypes } from './value.js';

/** One experiment that the user takes part in, with the values that it gives to the user. */
export interface Detail {
  /** The experiment's type; null if it has none. */
  readonly type: 'featureFlag' | 'parameter' | 'splitUrl' | 'webBuilder' | 'holdout' | null;
  /** The experiment's name. */
  readonly id: string;
  /** The index of the user's group. */
  readonly group: number;
  /** The texts of its flags or parameters, in the configuration's order. */
  readonly results: readonly { readonly name: string; readonly value: string }[];
}

/** The text of a flag. */
export interface FlagText {
  /** The position in `Project.flags`. */
  readonly flag: number;
  /** Its value for the user. */
  readonly text: string;
}

/** The user's group in an experiment. */
export interface Membership {
  /** `ExperimentDescription.position`. */
  readonly experiment: number;
  /** The position in `ExperimentDescription.groups`. */
  readonly group: number;
}

/** Whether holdouts are listed among the experiments. */
export interface HoldoutOptions {
  /** By default they are. */
  readonly estimateHoldouts?: boolean;
}

/** Answers questions about one project and one context. `Project.evaluate` creates one. */
export class Evaluation {
  readonly #engine: Engine;
  readonly #handle: Handle;
  readonly #texts: Texts;

  /** @internal */
  constructor(engine: Engine, project: Handle, texts: Texts, context: Context) {
    this.#engine = engine;
    this.#texts = texts;
    writeContext(engine, context);
    const from = project.address;
    const address = engine.run(() => engine.calls.corvo_evaluate(from));
    this.#handle = new Handle(engine, address, 'evaluation').ownedBy(this);
  }

  /** Switches to another context. This is how one evaluation answers for many users. */
  reset(context: Context = {}): void {
    writeContext(this.#engine, context);
    this.#ask((address) => this.#engine.calls.corvo_reset(address));
  }

  /**
   * The flag's value for the user, read as a type. Undefined if its text is not valid for the type.
   * Throws `featureFlagNotFound`, `featureFlagNoRules`, `featureFlagRulesNotSatisfied`,
   * `experimentGroupNotMatchingFeatureFlagGroup`.
   */
  checkFlag<T extends ValueType>(name: string, type: T): ValueTypes[T] | undefined {
    const kind = kindOf(type);
    this.#askAbout(name, (address, size) => this.#engine.calls.corvo_check_flag(address, size, kind));
    return valueAs(this.#engine, type);
  }

  /** The typed values of all flags that have one for the user, in the configuration's order. */
  flags(): Map<string, Value> {
    const engine = this.#engine;
    this.#ask((address) => engine.calls.corvo_flags(address));
    return new Map(
      engine.records((record) => [
        this.#texts.at(engine.nameAddress(record), () => engine.name(record)),
        valueAs(engine, 'any', record) as Value,
      ]),
    );
  }

  /** The experiments that the user takes part in, holdouts included. */
  allExperiments(): Experiment[] {
    this.#ask((address) => this.#engine.calls.corvo_experiments(address));
    // Creating a handle asks for names, which overwrites the list.
    const addresses = this.#engine.addresses((address) => address);
    return addresses.map((address) => new Experiment(this.#engine, address));
  }

  /** The same as a text: "checkout.1|colors.0"; undefined if there are none. */
  experimentsText({ estimateHoldouts = true }: HoldoutOptions = {}): string | undefined {
    this.#ask((address) => this.#engine.calls.corvo_experiments_text(address, Number(estimateHoldouts)));
    return valueAs(this.#engine, 'string');
  }

  /** The same with the values that they give to the user. */
  details({ estimateHoldouts = true }: HoldoutOptions = {}): Detail[] {
    this.#ask((address) => this.#engine.calls.corvo_details(address, Number(estimateHoldouts)));
    return JSON.parse(this.#engine.text()) as Detail[];
  }

  /**
   * The first experiment of that name that the user takes part in; undefined if there is none. Throws
   * `experimentNotFound`.
   */
  experiment(name: string): Experiment | undefined {
    const found = this.#askAbout(name, (address, size) => this.#engine.calls.corvo_experiment(address, size));
    return found === 0 ? undefined : new Experiment(this.#engine, found);
  }

  /** Whether the user is in the first holdout of that name. Throws `holdoutNotFound`. */
  holdout(name: string): boolean {
    this.#askAbout(name, (address, size) => this.#engine.calls.corvo_holdout(address, size));
    return valueAs(this.#engine, 'boolean') as boolean;
  }

  /** The holdouts that the user is in, in the form of `experimentsText`. */
  holdoutsText(): string | undefined {
    this.#ask((address) => this.#engine.calls.corvo_holdouts_text(address));
    return valueAs(this.#engine, 'string');
  }

  /**
   * The texts of the flags at these positions in `Project.flags`, in this order; for reports on many
   * users. Skips flags without a value, flags that only experiments carry, and positions that do not
   * exist.
   */
  flagTexts(positions: ArrayLike<number>): FlagText[] {
    const engine = this.#engine;
    this.#askAt(positions, (address, count) => engine.calls.corvo_flag_texts(address, count));
    return engine.records((record) => ({
      flag: engine.position(record),
      text: this.#texts.at(engine.textAddress(record), () => engine.text(record)),
    }));
  }

  /**
   * The user's groups in the experiments and holdouts at these positions, in this order. Skips those
   * that `allExperiments` does not list, and positions that do not exist.
   */
  memberships(positions: ArrayLike<number>): Membership[] {
    const engine = this.#engine;
    this.#askAt(positions, (address, count) => engine.calls.corvo_memberships(address, count));
    return engine.pairs((experiment, group) => ({ experiment, group }));
  }

  /**
   * Why a flag has its value for the user: the answer of `checkFlag`, with the steps that led to it, as an
   * object or as a human-readable text. Says so if there is no such flag.
   */
  explainFlag(name: string): Explanation;
  explainFlag(name: string, form: 'text'): string;
  explainFlag(name: string, form?: 'text'): Explanation | string {
    return this.#explain(name, true, form);
  }

  /** The same of an experiment: why the user is in it or not. */
  explainExperiment(name: string): Explanation;
  explainExperiment(name: string, form: 'text'): string;
  explainExperiment(name: string, form?: 'text'): Explanation | string {
    return this.#explain(name, false, form);
  }

  /** Frees the memory. */
  dispose(): void {
    this.#handle.free();
  }
  [kDispose](): void {
    this.dispose();
  }

  #ask<T>(call: (address: Address) => T): T {
    const { address } = this.#handle;
    try {
      return this.#engine.run(() => call(address));
    } catch (error) {
      // Half changed, it can neither answer nor be freed.
      if (error instanceof CorvoError && error.case === 'outOfMemory') this.#handle.abandon();
      throw error;
    }
  }
  #askAbout<T>(name: string, call: (address: Address, size: number) => T): T {
    const size = this.#engine.writeText(checkedName(name));
    return this.#ask((address) => call(address, size));
  }
  #askAt(positions: ArrayLike<number>, call: (address: Address, count: number) => void): void {
    const count = this.#engine.writePositions(positions);
    this.#ask((address) => call(address, count));
  }

  #explain(name: string, isFlag: boolean, form?: string): Explanation | string {
    if (form !== undefined && form !== 'text') throw new TypeError(`there is no form "${form}"`);
    const asJson = Number(form === undefined);
    this.#askAbout(name, (address, size) =>
      this.#engine.calls.corvo_explain(address, size, Number(isFlag), asJson),
    );
    const text = this.#engine.text();
    return asJson === 1 ? (JSON.parse(text) as Explanation) : text;
  }
}
