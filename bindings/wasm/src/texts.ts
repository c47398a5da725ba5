// SPDX-License-Identifier: Apache-2.0

import { type Address } from './engine.js';

/**
 * The texts of a project that have been read, by their addresses: the engine has each in one place.
 * @internal
 */
export class Texts {
  readonly #read = new Map<Address, string>();

  at(address: Address, read: () => string): string {
    let text = this.#read.get(address);
    if (text === undefined) {
      text = read();
      this.#read.set(address, text);
    }
    return text;
  }
}
