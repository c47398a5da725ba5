// SPDX-License-Identifier: Apache-2.0

import * as assignments from './assignments.js';
import * as interfaceTests from './interface.js';
import * as misuse from './misuse.js';
import * as vectors from './vectors.js';
import * as zones from './zones.js';

/** Runs all tests, each with an engine of its own, and returns their names and errors. */
export async function runAll(host, ...more) {
  const results = [];
  for (const { tests } of [vectors, interfaceTests, misuse, zones, assignments, ...more]) {
    for (const [name, run] of Object.entries(tests)) {
      let error;
      try {
        await run({ ...host, corvo: await host.loadCorvo() });
      } catch (thrown) {
        error = String(thrown?.stack ?? thrown);
      }
      results.push({ name, error });
    }
  }
  return results;
}
