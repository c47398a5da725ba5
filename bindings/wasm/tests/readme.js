// SPDX-License-Identifier: Apache-2.0

import { execFileSync } from 'node:child_process';
import { mkdtemp, readFile, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { equal } from './expect.js';

const at = (path) => fileURLToPath(new URL(path, import.meta.url));
const kMark = '--- the next block';

export const tests = {
  // In an application that has installed the package. The blocks are one program; a block of text is the
  // output of the block before it.
  async 'the code of the README prints what it says'() {
    const readme = await readFile(at('../README.md'), 'utf8');
    const blocks = [...readme.matchAll(/^```(\w+)\n([^]*?)^```$/gm)].map(([, language, text]) => ({ language, text }));
    const programs = blocks.filter(({ language }) => language === 'js').map(({ text }) => text);
    const expected = blocks.flatMap(({ language }, i) =>
      language === 'js' ? [blocks[i + 1]?.language === 'text' ? blocks[i + 1].text : ''] : []);
    const application = await mkdtemp(join(tmpdir(), 'corvo-readme-'));
    try {
      const npm = (...command) => execFileSync('npm', command, { cwd: application, stdio: 'pipe' }).toString();
      await writeFile(join(application, 'package.json'), '{}');
      const archive = npm('pack', '--silent', at('..')).trim();
      npm('install', '--offline', '--silent', `./${archive}`);
      const program = join(application, 'program.mjs');
      await writeFile(program, programs.join(`console.log('${kMark}');\n`));
      const output = execFileSync(process.execPath, [program], { cwd: at('../../../examples/shop') }).toString();
      equal(output.split(`${kMark}\n`), expected);
    } finally {
      await rm(application, { recursive: true });
    }
    equal(programs.length > 5, true);
  },
};
