// SPDX-License-Identifier: Apache-2.0

// A headless Chromium, driven through a pipe by the DevTools protocol.

import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

const kFlags = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync', '--disable-dev-shm-usage',
  '--remote-debugging-pipe'];
const kPatience = 20_000;  // milliseconds

/** Settles as the promise does, or fails with this reason after a while. */
async function soon(promise, reason) {
  let timer;
  const late = new Promise((_, reject) => {
    timer = setTimeout(() => reject(new Error(`too late: ${reason}`)), kPatience);
  });
  try {
    return await Promise.race([promise, late]);
  } finally {
    clearTimeout(timer);
  }
}

/** One page of a browser. Messages end with NUL. */
export class Page {
  #browser;
  #profile;
  #session;
  #nextId = 1;
  #waiting = new Map();
  #rest = '';
  /** What the page's console and its security policy complained about. */
  complaints = [];
  /** Settles when the browser has ended. */
  ended;

  static async open(program, ...more) {
    const page = new Page();
    page.#profile = await mkdtemp(join(tmpdir(), 'corvo-browser-'));
    const flags = [...kFlags, ...more, `--user-data-dir=${page.#profile}`, 'about:blank'];
    page.#browser = spawn(program, flags, { stdio: ['ignore', 'ignore', 'ignore', 'pipe', 'pipe'] });
    page.ended = once(page.#browser, 'exit');
    page.#browser.stdio[4].setEncoding('utf8').on('data', (text) => page.#receive(text));
    const { targetInfos } = await page.send('Target.getTargets');
    const { targetId } = targetInfos.find(({ type }) => type === 'page');
    page.#session = (await page.send('Target.attachToTarget', { targetId, flatten: true })).sessionId;
    for (const domain of ['Page', 'Runtime', 'Log']) await page.send(`${domain}.enable`);
    return page;
  }

  async close() {
    this.#browser.kill();
    await this.ended;
    await rm(this.#profile, { recursive: true, force: true, maxRetries: 5 });
  }

  send(method, params = {}) {
    const id = this.#nextId++;
    const answer = new Promise((resolve, reject) => this.#waiting.set(id, { resolve, reject }));
    this.#browser.stdio[3].write(`${JSON.stringify({ id, method, params, sessionId: this.#session })}\0`);
    return soon(answer, method);
  }

  #receive(text) {
    const messages = (this.#rest + text).split('\0');
    this.#rest = messages.pop();
    for (const message of messages.map((each) => JSON.parse(each))) {
      const waiting = this.#waiting.get(message.id);
      this.#waiting.delete(message.id);
      if (message.error) waiting?.reject(new Error(message.error.message));
      else waiting?.resolve(message.result);
      if (message.method === 'Log.entryAdded') this.complaints.push(message.params.entry.text);
      if (message.method === 'Runtime.exceptionThrown') this.complaints.push(message.params.exceptionDetails.text);
    }
  }

  /** The value of an expression on the page. */
  async evaluate(expression) {
    const { result, exceptionDetails } =
      await this.send('Runtime.evaluate', { expression, returnByValue: true, awaitPromise: true });
    if (exceptionDetails) throw new Error(exceptionDetails.exception?.description ?? exceptionDetails.text);
    return result.value;
  }

  /** Waits until an expression is true, also across navigations. */
  async until(expression) {
    const end = Date.now() + kPatience;
    for (;;) {
      try {
        if (await this.evaluate(expression)) return;
      } catch (error) {
        if (Date.now() > end) throw error;  // until then, the page may be about to change
      }
      if (Date.now() > end) throw new Error(`too late: ${expression}`);
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
  }

  /** Opens an address and waits until it has been loaded. */
  async go(url) {
    await this.evaluate('window.isOld = true');
    await this.send('Page.navigate', { url });
    await this.until('!window.isOld && document.readyState === "complete"');
  }

  async type(text) {
    await this.send('Input.insertText', { text });
  }

  /** Presses a key that is not a letter: "Tab", "Enter". */
  async press(key) {
    const text = key === 'Enter' ? '\r' : '';
    const windowsVirtualKeyCode = { Enter: 13, Tab: 9 }[key];
    for (const type of ['keyDown', 'keyUp']) {
      await this.send('Input.dispatchKeyEvent', { type, key, code: key, text: type === 'keyDown' ? text : '', windowsVirtualKeyCode });
    }
  }

  /** A page of that width, in CSS pixels, "light" or "dark". */
  async show(width, scheme) {
    await this.send('Emulation.setDeviceMetricsOverride', { width, height: 800, deviceScaleFactor: 1, mobile: width < 600 });
    await this.send('Emulation.setEmulatedMedia', { features: [{ name: 'prefers-color-scheme', value: scheme }] });
  }

  /** The whole page as PNG. */
  async screenshot() {
    const { data } = await this.send('Page.captureScreenshot', { captureBeyondViewport: true });
    return Buffer.from(data, 'base64');
  }
}
