// SPDX-License-Identifier: Apache-2.0

// A running `corvo serve`, with a configuration that can be edited.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, readFile, rename, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

const kConfig = fileURLToPath(new URL('config.json', import.meta.url));
const kPatience = 20_000;  // milliseconds

/** Waits until a function gives true. */
export async function until(reason, isTrue) {
  for (const end = Date.now() + kPatience; !await isTrue();) {
    if (Date.now() > end) throw new Error(`too late: ${reason}`);
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
}

/** The first line that a program prints. */
export async function firstLine(program) {
  for await (const line of createInterface(program.stdout)) return line;
  throw new Error('the program ended without a line');
}

/** A configuration in a file of its own. */
export class Configuration {
  static async create() {
    const made = new Configuration();
    made.folder = await mkdtemp(join(tmpdir(), 'corvo-openfeature-'));
    made.path = join(made.folder, 'config.json');
    await made.restore();
    return made;
  }

  /** Replaces the file at once, so that nobody reads half of it. */
  async replace(text) {
    await writeFile(`${this.path}.new`, text);
    await rename(`${this.path}.new`, this.path);
  }

  async restore() {
    await this.replace(await readFile(kConfig));
  }

  /** Changes the value of the flag "enabled" from true to false. */
  async disable() {
    const document = JSON.parse(await readFile(kConfig, 'utf8'));
    document.feature_flags.find(({ name }) => name === 'enabled').rules[0].value = 'false';
    await this.replace(JSON.stringify(document));
  }

  remove() {
    return rm(this.folder, { recursive: true });
  }
}

/** One process. */
export class Served {
  /** `keys` are separated by commas. */
  static async start(corvo, config, { port = 0, options = [], keys, stderr = 'inherit' } = {}) {
    const served = new Served();
    const listen = ['serve', '--config', config.path, '--listen', `127.0.0.1:${port}`];
    const env = { ...process.env, ...(keys && { CORVO_API_KEYS: keys }) };
    served.process = spawn(corvo, [...listen, ...options], { stdio: ['ignore', 'pipe', stderr], env });
    served.ended = once(served.process, 'exit');
    served.url = (await firstLine(served.process)).replace('Serving ', '');
    served.port = Number(new URL(served.url).port);
    return served;
  }

  /** Ends the process by a signal; returns its status and the signal. */
  end(signal = 'SIGTERM') {
    this.process.kill(signal);
    return this.ended;
  }
}
