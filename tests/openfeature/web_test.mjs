// SPDX-License-Identifier: Apache-2.0

// The OpenFeature client for pages asks `corvo serve`: `node web_test.mjs CORVO [CHROMIUM]`, in Node.js or in a page.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import { readFile } from 'node:fs/promises';
import { createServer } from 'node:http';
import { after, before, test } from 'node:test';
import { fileURLToPath } from 'node:url';

import { Page } from '../browser/browser.mjs';
import { kCases, shown } from './cases.mjs';
import { Configuration, Served, until } from './served.mjs';

const [corvo, chromium] = process.argv.slice(2);
const ann = { targetingKey: 'ann' };
const headers = [['X-API-Key', 'secret']];  // the released provider takes no map
let config;
let host;

/** Runs the visitor in this process. Node.js has no `EventSource`, so the client polls. */
class NodeHost {
  polling = { pollInterval: 100, cacheMode: 'disabled' };

  static async open() {
    const host = new NodeHost();
    host.visitor = await import('./visitor.mjs');
    return host;
  }

  async call(name, ...args) {
    return JSON.parse(JSON.stringify(await this.visitor[name](...args)) ?? 'null');
  }

  options() {
    return [];
  }

  close() {
    return this.visitor.close();
  }
}

const kPage = `<!doctype html><title>Test</title><link rel="icon" href="data:,">
<script type="importmap">${JSON.stringify({ imports: {
  '@openfeature/core': '/@openfeature/core/dist/esm/index.js',
  '@openfeature/web-sdk': '/@openfeature/web-sdk/dist/esm/index.js',
  '@openfeature/ofrep-web-provider': '/@openfeature/ofrep-web-provider/index.esm.js',
  '@openfeature/ofrep-core': '/@openfeature/ofrep-web-provider/node_modules/@openfeature/ofrep-core/index.esm.js',
} })}</script>
<script type="module">import * as visitor from '/visitor.mjs'; window.visitor = visitor;</script>`;

/** Runs the visitor in a page of another origin. The client has the event stream, so it does not poll. */
class PageHost {
  polling = {};

  static async open(program) {
    const host = new PageHost();
    host.server = createServer(async ({ url }, response) => {
      const name = url === '/visitor.mjs' ? url : `/node_modules${url}`;
      const isPage = url === '/';
      response.setHeader('Content-Type', isPage ? 'text/html' : 'text/javascript');
      response.end(isPage ? kPage : await readFile(fileURLToPath(new URL(`.${name}`, import.meta.url))));
    });
    await once(host.server.listen(0, '127.0.0.1'), 'listening');
    host.origin = `http://127.0.0.1:${host.server.address().port}`;
    host.page = await Page.open(program);
    await host.reload();
    return host;
  }

  async reload() {
    await this.page.go(`${this.origin}/`);
    await this.page.until('window.visitor !== undefined');
  }

  async call(name, ...args) {
    const result = await this.page.evaluate(
      `Promise.resolve(visitor.${name}(...${JSON.stringify(args)})).then((it) => JSON.stringify(it) ?? 'null')`);
    return JSON.parse(result);
  }

  options() {
    return ['--allow-origin', this.origin];
  }

  async close() {
    await this.page.close();
    this.server.close();
  }
}

async function served(context, { port, keys } = {}) {
  const server = await Served.start(corvo, config, { port, keys, options: host.options() });
  context.after(() => server.end());
  return server;
}

const isEnabled = async () => (await host.call('ask', 'Boolean', 'enabled', true)).value;

before(async () => {
  config = await Configuration.create();
  host = chromium ? await PageHost.open(chromium) : await NodeHost.open();
});
after(async () => {
  await host.close();
  await config.remove();
});

test('answers', async (t) => {
  // Stored answers have the reason CACHED.
  assert.equal(await host.call('open', (await served(t)).url, ann, { cacheMode: 'disabled' }), 'READY');
  for (const { what, context, ask, gets } of kCases) {
    await t.test(what, async () => {
      await host.call('become', context);
      assert.deepEqual(shown(await host.call('ask', ...ask), gets), gets);
    });
  }
});

test('a user without a key', async (t) => {
  const { url } = await served(t);
  assert.equal(await host.call('open', url, {}), 'ERROR');
  assert.equal((await host.call('ask', 'Boolean', 'enabled', false)).value, false);
  await host.call('become', ann);
  assert.equal((await host.call('ask', 'Boolean', 'enabled', false)).value, true);
});

test('keys', async (t) => {
  const { url } = await served(t, { keys: 'secret' });
  assert.equal(await host.call('open', url, ann, { headers: [['X-API-Key', 'wrong']] }), 'FATAL');
  assert.deepEqual(await host.call('ask', 'String', 'greeting', 'mine').then(({ value }) => value), 'mine');
  for (const right of [headers, [['Authorization', 'Bearer secret']]]) {
    assert.equal(await host.call('open', url, ann, { headers: right }), 'READY');
    assert.equal(await isEnabled(), true);
  }
});

test('a change reaches the client by itself', async (t) => {
  t.after(() => config.restore());
  const first = await served(t, { keys: 'secret' });
  assert.equal(await host.call('open', first.url, ann, { headers, ...host.polling }), 'READY');
  assert.equal(await isEnabled(), true);
  await config.disable();
  await until('the change', async () => !await isEnabled());
  assert.deepEqual((await host.call('seen')).changes.at(-1), ['enabled']);

  // A server that was restarted with another configuration.
  await first.end('SIGKILL');
  await config.restore();
  await served(t, { port: first.port, keys: 'secret' });
  await until('the change after a restart', isEnabled);
});

test('unchanged answers are not sent again', async (t) => {
  const { url } = await served(t);
  await host.call('open', url, ann, chromium ? {} : host.polling);
  if (chromium) {  // a page that is opened again begins with what it stored
    await host.reload();
    await host.call('open', url, ann);
  }
  await until('a conditional request', async () => (await host.call('seen')).requests.some(({ condition }) => condition));
  const { requests, changes } = await host.call('seen');
  const again = requests.find(({ condition }) => condition);
  assert.equal(again.status, 304);
  assert.match(again.condition, /^"[^"]+"$/);
  assert.deepEqual(changes, []);
});

test('no more requests than changes', { skip: !chromium }, async (t) => {
  t.after(() => config.restore());
  await host.call('open', (await served(t, { keys: 'secret' })).url, ann, { headers, cacheMode: 'disabled' });
  await config.disable();
  await until('the change', async () => !await isEnabled());
  const { requests } = await host.call('seen');
  // The first, one after the stream was opened, and one for the change. A refused stream would cost one per second.
  assert.ok(requests.length <= 3, JSON.stringify(requests));
});
