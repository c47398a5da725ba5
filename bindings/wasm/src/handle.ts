// SPDX-License-Identifier: Apache-2.0

/// <reference lib="esnext.disposable" preserve="true" />
import { type Address, type Engine } from './engine.js';
import { CorvoError } from './error.js';

/** Node 18 and browsers before 2025 have no `Symbol.dispose`; compilers then use this one. */
export const kDispose: typeof Symbol.dispose = Symbol.dispose ?? Symbol.for('Symbol.dispose');

const abandoned = new FinalizationRegistry<Handle>((handle) => handle.free());

/**
 * Owns an object in the engine's memory.
 * @internal
 */
export class Handle {
  #address: Address | undefined;

  constructor(
    readonly engine: Engine,
    address: Address,
    readonly type: 'project' | 'evaluation' | 'experiment',
  ) {
    this.#address = address;
  }

  /** Frees the object when its owner is collected, unless it was freed before. */
  ownedBy(owner: object): this {
    abandoned.register(owner, this, this);
    return this;
  }

  get address(): Address {
    if (this.#address === undefined) {
      throw new CorvoError('disposed', `the ${this.type} has been disposed of`);
    }
    return this.#address;
  }

  /** Does nothing the second time. */
  free(): void {
    const address = this.abandon();
    if (address !== undefined) this.engine.calls[`corvo_free_${this.type}`](address);
  }

  /** For an object that cannot be used or freed any more. */
  abandon(): Address | undefined {
    const address = this.#address;
    this.#address = undefined;
    abandoned.unregister(this);
    return address;
  }
}
