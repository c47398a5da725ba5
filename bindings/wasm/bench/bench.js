// SPDX-License-Identifier: Apache-2.0

// All flags and experiments of many users, here and on this machine: `node bench.js PROGRAM`.

import { execFileSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { loadCorvo } from '../dist/node.js';
import { contextOf, makeProject, makeUsers } from '../tests/population.js';

const users = makeUsers(10_000).map((user) => JSON.parse(JSON.stringify({ ...user, zone: 'Europe/Berlin' })));
const document = JSON.stringify(makeProject());

function here(project) {
  const flags = [...project.flags.keys()];
  const experiments = [...project.experiments, ...project.holdouts].map((_, position) => position);
  const contexts = users.map(contextOf);
  const evaluation = project.evaluate();
  let best = Infinity;
  let answers = 0;
  for (let round = 0; round < 15; ++round) {
    const start = performance.now();
    answers = 0;
    for (const context of contexts) {
      evaluation.reset(context);
      answers += evaluation.flagTexts(flags).length + evaluation.memberships(experiments).length;
    }
    best = Math.min(best, ((performance.now() - start) * 1000) / users.length);
  }
  return [best, answers];
}

function onThisMachine(program) {
  const folder = mkdtempSync(join(tmpdir(), 'corvo-bench-'));
  try {
    const [config, file] = [join(folder, 'config.json'), join(folder, 'users.json')];
    writeFileSync(config, document);
    writeFileSync(file, JSON.stringify({ users }));
    return execFileSync(program, [config, file]).toString().split(' ').map(Number);
  } finally {
    rmSync(folder, { recursive: true });
  }
}

const native = onThisMachine(process.argv[2]);
const corvo = await loadCorvo();
const wasm = here(corvo.decode(document));
if (native[1] !== wasm[1]) throw new Error(`${native[1]} answers on this machine, ${wasm[1]} here`);
console.log(`native: ${native[0].toFixed(2)} microseconds per user`);
console.log(`wasm:   ${wasm[0].toFixed(2)} microseconds per user, ${(wasm[0] / native[0]).toFixed(1)} times as long`);
