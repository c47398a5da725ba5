// SPDX-License-Identifier: Apache-2.0

// An application with the OpenFeature client for pages. Runs in Node.js and in a page; all arguments and results are JSON.

import { OFREPWebProvider } from '@openfeature/ofrep-web-provider';
import { OpenFeature, ProviderEvents } from '@openfeature/web-sdk';

const client = OpenFeature.getClient();
let requests = [];
let changes = [];

/** Notes what goes over the wire. */
async function fetchAndNote(request, init) {
  const condition = request.headers.get('If-None-Match');
  const response = await fetch(request, init);
  requests.push({ condition, status: response.status, etag: response.headers.get('ETag') });
  return response;
}

client.addHandler(ProviderEvents.ConfigurationChanged, ({ flagsChanged }) => changes.push(flagsChanged));

/** Starts to use that server, as a user. Returns the state of the client. */
export async function open(baseUrl, context, options = {}) {
  [requests, changes] = [[], []];
  await OpenFeature.setContext(context);
  try {
    await OpenFeature.setProviderAndWait(new OFREPWebProvider({ baseUrl, fetchImplementation: fetchAndNote, ...options }));
  } catch {
    // The state says so.
  }
  return client.providerStatus;
}

export const become = (context) => OpenFeature.setContext(context);
export const ask = (kind, key, fallback) => client[`get${kind}Details`](key, fallback);
export const seen = () => ({ requests, changes });
export const close = () => OpenFeature.close();
