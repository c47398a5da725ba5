// SPDX-License-Identifier: Apache-2.0

import { webcrypto } from 'node:crypto';
import { readFile } from 'node:fs/promises';

import { Corvo, type ModuleSource } from './corvo.js';

export * from './corvo.js';

/** Loads the engine: the package's own `corvo.wasm`, or the one that is given. */
export async function loadCorvo(source?: ModuleSource): Promise<Corvo> {
  const module = source ?? Uint8Array.from(await readFile(new URL('corvo.wasm', import.meta.url)));
  return Corvo.create(module, (bytes) => webcrypto.getRandomValues(bytes));
}
