// SPDX-License-Identifier: Apache-2.0

import { execFileSync } from 'node:child_process';
import { readFile, rm, writeFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';

import { equal } from './expect.js';

const at = (path) => fileURLToPath(new URL(path, import.meta.url));
const kMark = '--- the next block';

export const tests = {
  // The blocks are one program. A block of text is the output of the block before it.
  async 'the code of the README prints what it says'() {
    const readme = await readFile(at('../README.md'), 'utf8');
    const blocks = [...readme.matchAll(/^```(\w+)\n([^]*?)^```$/gm)].map(([, language, text]) => ({ language, text }));
    const programs = blocks.filter(({ language }) => language === 'js').map(({ text }) => text);
    const expected = blocks.flatMap(({ language }, i) =>
      language === 'js' ? [blocks[i + 1]?.language === 'text' ? blocks[i + 1].text : ''] : []);
    // Inside the package, its own name is known.
    const program = at('readme.tmp.mjs');
    await writeFile(program, programs.join(`console.log('${kMark}');\n`));
    let output;
    try {
      output = execFileSync(process.execPath, [program], { cwd: at('../../../examples/shop') }).toString();
    } finally {
      await rm(program);
    }
    equal(output.split(`${kMark}\n`), expected);
    equal(programs.length > 5, true);
  },
};
