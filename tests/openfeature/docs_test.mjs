// SPDX-License-Identifier: Apache-2.0

// Runs the question by hand and the examples in JavaScript of docs/openfeature.md: `node docs_test.mjs CORVO`.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { readFile } from 'node:fs/promises';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { Configuration, firstLine, Served } from './served.mjs';

const [corvo] = process.argv.slice(2);
const root = new URL('../../', import.meta.url);

const document = await readFile(new URL('docs/openfeature.md', root), 'utf8');
const blocks = [...document.matchAll(/^```js\n(.*?)^```/gms)].map(([, block]) => block);

/** "new-checkout" is on for the gold plan. */
const project = JSON.stringify({ feature_flags: [{ name: 'new-checkout', type: 'boolean', rules: [
  { is_default: false, value: 'true', conditional_statement: 'AND',
    conditions: [{ name: 'custom.plan', condition_sign: 'equal', value: 'gold' }] },
] }] });

test('the question by hand', async (t) => {
  const [, path, body, answer] = document.match(/^\$ curl -s http:\/\/127.0.0.1:8080(\S+) -d '(.*)'\n(.*)$/m);
  const server = await Served.start(corvo, { path: fileURLToPath(new URL('examples/shop/config.json', root)) });
  t.after(() => server.end());
  // As curl sends it.
  const headers = { 'Content-Type': 'application/x-www-form-urlencoded' };
  assert.equal(await (await fetch(server.url + path, { method: 'POST', headers, body })).text(), answer);
});

test('the examples', async (t) => {
  const config = await Configuration.create();
  t.after(() => config.remove());
  await config.replace(project);
  const server = await Served.start(corvo, config, { keys: 'server-key,page-key' });
  t.after(() => server.end());
  assert.equal(blocks.length, 2);
  for (const block of blocks) {
    const code = block.replace('https://flags.example.com', server.url);
    const program = spawn(process.execPath, ['--input-type=module', '--eval', code], {
      cwd: fileURLToPath(new URL('.', import.meta.url)), stdio: ['ignore', 'pipe', 'inherit'],
      env: { ...process.env, FLAGS_KEY: 'server-key' } });
    assert.equal(await firstLine(program), 'true');
    program.kill();
  }
});
