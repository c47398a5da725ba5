// SPDX-License-Identifier: Apache-2.0

import { Corvo, type ModuleSource } from './corvo.js';

export * from './corvo.js';

/** Loads the engine: the package's own `corvo.wasm`, or the one that is given. */
export async function loadCorvo(source?: ModuleSource): Promise<Corvo> {
  return Corvo.create(source ?? (await fetched()), (bytes) => crypto.getRandomValues(bytes));
}

async function fetched(): Promise<ArrayBuffer> {
  const response = await fetch(new URL('corvo.wasm', import.meta.url));
  if (!response.ok) throw new Error(`corvo.wasm: status ${response.status}`);
  return response.arrayBuffer();
}
