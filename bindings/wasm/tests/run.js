// SPDX-License-Identifier: Apache-2.0

// Runs the tests: `node run.js node|chromium CORVO GOLDEN`, with the command and the golden program of this
// machine, whose answers are compared.

import { execFileSync } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { tmpdir } from 'node:os';
import { extname, join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { setFlagsFromString } from 'node:v8';
import { runInNewContext } from 'node:vm';

import { Page } from '../../../tests/browser/browser.mjs';
import { makeProject, makeUsers } from './population.js';
import * as readme from './readme.js';
import { runAll } from './suite.js';

const root = fileURLToPath(new URL('../../../', import.meta.url));
const [host, corvo, golden] = process.argv.slice(2);

/** The answers of the native engine. */
async function makeFiles(folder) {
  const config = join(folder, 'config.json');
  await writeFile(config, JSON.stringify(makeProject()));
  const users = makeUsers(10_000).map((user) => JSON.stringify(user)).join('\n');
  const options = { input: users, maxBuffer: 2 ** 28 };
  await writeFile(join(folder, 'answers.jsonl'), execFileSync(corvo, ['assign', '--config', config], options));
  await writeFile(join(folder, 'golden.txt'), execFileSync(golden, { maxBuffer: 2 ** 28 }));
  const program = 'build/wasm/corvo/bindings/wasm/golden/corvo_golden.wasm';
  await writeFile(join(folder, 'golden.wasm'), await readFile(join(root, program)));
}

/** A file by its name: "made/..." or within the repository. */
function fileOf(made, name) {
  return name.startsWith('made/') ? join(made, name.slice('made/'.length)) : join(root, name);
}

async function runInNode(made) {
  const { loadCorvo } = await import('../dist/node.js');
  const bytes = (name) => readFile(fileOf(made, name));
  setFlagsFromString('--expose-gc');
  globalThis.gc = runInNewContext('gc');
  return runAll({ loadCorvo, bytes, read: async (name) => (await bytes(name)).toString() }, readme);
}

const kTypes = { '.html': 'text/html', '.js': 'text/javascript', '.wasm': 'application/wasm' };

/** Serves the repository to a page, which runs the tests and posts their results. */
async function runInChromium(made) {
  let resolve;
  const results = new Promise((settle) => (resolve = settle));
  const server = createServer(async (request, response) => {
    const name = new URL(request.url, 'http://localhost').pathname.slice(1);
    if (request.method === 'POST') {
      let body = '';
      for await (const part of request) body += part;
      response.end();
      resolve(JSON.parse(body));
      return;
    }
    try {
      const content = await readFile(fileOf(made, name));
      response.writeHead(200, { 'Content-Type': kTypes[extname(name)] ?? 'text/plain; charset=utf-8' }).end(content);
    } catch {
      response.writeHead(404).end();
    }
  });
  await once(server.listen(0, '127.0.0.1'), 'listening');
  const page = await Page.open('chromium', '--js-flags=--expose-gc');
  try {
    const url = `http://127.0.0.1:${server.address().port}/bindings/wasm/tests/page.html`;
    await page.send('Page.navigate', { url });
    const ended = page.ended.then(([code]) => [{ name: 'chromium', error: `exit status ${code}` }]);
    return await Promise.race([results, ended]);
  } finally {
    await page.close();
    server.close();
    server.closeAllConnections();
  }
}

const made = await mkdtemp(join(tmpdir(), 'corvo-wasm-'));
try {
  await makeFiles(made);
  const results = await (host === 'chromium' ? runInChromium(made) : runInNode(made));
  for (const { name, error } of results) console.log(error ? `FAILED: ${name}\n${error}` : `ok: ${name}`);
  const failed = results.filter(({ error }) => error);
  console.log(`${host}: ${results.length - failed.length} of ${results.length} tests passed`);
  if (failed.length > 0 || results.length < 10) process.exitCode = 1;
} finally {
  await rm(made, { recursive: true, maxRetries: 5 });
}
