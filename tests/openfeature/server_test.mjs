// SPDX-License-Identifier: Apache-2.0

// The OpenFeature client for servers asks `corvo serve`: `node server_test.mjs CORVO`.

import assert from 'node:assert/strict';
import { after, before, test } from 'node:test';

import { OFREPProvider } from '@openfeature/ofrep-provider';
import { OpenFeature } from '@openfeature/server-sdk';

import { kCases, shown } from './cases.mjs';
import { Configuration, Served, until } from './served.mjs';

const [corvo] = process.argv.slice(2);
const ann = { targetingKey: 'ann' };
const right = { value: true, reason: 'STATIC' };
let config;

/** A client of that server. Its key goes into a header. */
async function clientOf({ url }, key) {
  const headers = key ? { 'X-API-Key': key } : {};
  // The released provider does not encode the names of flags.
  await OpenFeature.setProviderAndWait(url, new OFREPProvider({ baseUrl: url, headers }));
  return OpenFeature.getClient(url);
}

async function served(context, options) {
  const server = await Served.start(corvo, config, options);
  context.after(() => server.end());
  return server;
}

before(async () => { config = await Configuration.create(); });
after(async () => {
  await OpenFeature.close();
  await config.remove();
});

test('answers', async (t) => {
  const client = await clientOf(await served(t));
  for (const { what, context, ask: [kind, key, fallback], gets, onServer } of kCases) {
    await t.test(what, async () => {
      const answer = await client[`get${kind}Details`](encodeURIComponent(key), fallback, context);
      const expected = { ...gets, ...onServer };
      assert.deepEqual(shown(answer, expected), expected);
    });
  }
});

test('a user without a key', async (t) => {
  const answer = await (await clientOf(await served(t))).getBooleanDetails('enabled', false, { plan: 'gold' });
  assert.deepEqual(shown(answer, { value: 0, errorCode: 0 }), { value: false, errorCode: 'TARGETING_KEY_MISSING' });
});

test('keys', async (t) => {
  const server = await served(t, { keys: 'first,second' });
  for (const [key, expected] of [['first', right], ['second', right], ['third', { value: false, errorCode: 'GENERAL' }],
    ['first,second', { value: false }], ['', { value: false }], [undefined, { value: false, errorCode: 'GENERAL' }]]) {
    const answer = await (await clientOf(server, key)).getBooleanDetails('enabled', false, ann);
    assert.deepEqual(shown(answer, expected), expected, key);
  }
});

test('the default while there is no configuration', async (t) => {
  await config.replace('{"feature_flags": 1}');
  const client = await clientOf(await served(t));
  const { value, errorCode } = await client.getBooleanDetails('enabled', false, ann);
  assert.deepEqual({ value, errorCode }, { value: false, errorCode: 'GENERAL' });
  await config.restore();
  await until('the configuration', () => client.getBooleanValue('enabled', false, ann));
});
