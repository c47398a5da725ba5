// SPDX-License-Identifier: Apache-2.0

// Two processes of `corvo serve` behind nginx with examples/balancer/corvo.conf, one killed under load, as docs/at-scale.md
// says: `node balancer_test.mjs CORVO NGINX`.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { once } from 'node:events';
import { readFile, writeFile } from 'node:fs/promises';
import { Agent, request } from 'node:https';
import { createServer } from 'node:net';
import { join } from 'node:path';
import { test } from 'node:test';

import { Configuration, Served, until } from './served.mjs';

const [corvo, nginx] = process.argv.slice(2);
const kKey = 'secret';
const kWorkers = 32;
const kRound = 3000;  // answers
const kExample = new URL('../../examples/balancer/corvo.conf', import.meta.url);

async function freePort() {
  const server = createServer().listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  server.close();
  return port;
}

/** Starts nginx with the example, with other ports and a certificate of its own. */
async function balance(folder, ports) {
  const [port, certificate, key] = [await freePort(), join(folder, 'tls.pem'), join(folder, 'tls.key')];
  execFileSync('openssl', ['req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-days', '2', '-subj', '/CN=localhost',
    '-addext', 'subjectAltName=DNS:localhost', '-keyout', key, '-out', certificate], { stdio: 'ignore' });
  let example = await readFile(kExample, 'utf8');
  for (const [shown, used] of [[':8081', `:${ports[0]}`], [':8082', `:${ports[1]}`], ['listen 443', `listen 127.0.0.1:${port}`],
    ['/etc/ssl/flags.pem', certificate], ['/etc/ssl/private/flags.key', key]]) {
    assert.equal(example.split(shown).length, 2, shown);
    example = example.replace(shown, used);
  }
  const temporary = ['client_body', 'proxy', 'fastcgi', 'uwsgi', 'scgi'].map((name) => `${name}_temp_path ${folder}/${name};`);
  await writeFile(join(folder, 'nginx.conf'), `
    daemon off; worker_processes 1; pid ${folder}/nginx.pid; error_log ${folder}/error.log; events {}
    http { access_log off; ${temporary.join(' ')} ${example} }`);
  const process = spawn(nginx, ['-p', folder, '-c', join(folder, 'nginx.conf'), '-e', join(folder, 'error.log')], { stdio: 'inherit' });
  const agent = new Agent({ keepAlive: true, ca: await readFile(certificate) });
  return { process, port, agent, ended: once(process, 'exit') };
}

/** Sends a request through the balancer. */
function send({ port, agent }, path, body) {
  const headers = { 'X-API-Key': kKey, ...(body && { 'Content-Type': 'application/json' }) };
  return new Promise((resolve, reject) => {
    request({ host: 'localhost', port, agent, path, method: body ? 'POST' : 'GET', headers }, resolve)
      .on('error', reject).end(body && JSON.stringify(body));
  });
}

async function bodyOf(response) {
  let text = '';
  for await (const part of response.setEncoding('utf8')) text += part;
  return text;
}

/** Asks in parallel until it is stopped, and counts. */
class Load {
  answered = 0;
  wrong = [];
  lost = [];
  #goesOn = true;

  constructor(balancer) {
    this.workers = Array.from({ length: kWorkers }, (_, number) => this.#work(balancer, number));
  }

  async #work(balancer, number) {
    const plans = [['platinum', 7, 'rule-0'], ['gold', 9, 'rule-1'], ['silver', 12, 'rule-2']];
    for (let i = number; this.#goesOn; ++i) {
      const [plan, value, variant] = plans[i % plans.length];
      const context = { targetingKey: `user-${number}-${i}`, plan };
      try {
        const response = await send(balancer, '/ofrep/v1/evaluate/flags/price', { context });
        const text = await bodyOf(response);
        const answer = response.statusCode === 200 ? JSON.parse(text) : null;
        if (!answer) this.lost.push(response.statusCode);
        else if (answer.value !== value || answer.variant !== variant) this.wrong.push(text);
        ++this.answered;
      } catch (error) {
        this.lost.push(error.message);
      }
    }
  }

  /** Waits until nobody is answered any more. */
  async stall() {
    let before;
    await until('a stall', () => {
      const isStalled = this.answered === before;
      before = this.answered;
      return isStalled;
    });
  }

  /** Waits for so many more answers. */
  more() {
    const goal = this.answered + kRound;
    return until('answers under load', () => this.answered >= goal);
  }

  async stop() {
    this.#goesOn = false;
    await Promise.all(this.workers);
  }
}

/** How many single questions a process has answered, by its own count. */
async function answeredBy({ url }) {
  const lines = (await (await fetch(`${url}/metrics`, { headers: { 'X-API-Key': kKey } })).text()).split('\n');
  const counts = lines.filter((line) => /^\w+_total\{.*evaluate\/flags\/.*200/.test(line));
  return counts.reduce((sum, line) => sum + Number(line.split(' ').at(-1)), 0);
}

test('two processes behind nginx', async (t) => {
  const config = await Configuration.create();
  t.after(() => config.remove());
  const start = (port) => Served.start(corvo, config, { port, keys: kKey });
  const servers = [await start(), await start()];
  t.after(() => Promise.all(servers.map((server) => server.end())));
  const balancer = await balance(config.folder, servers.map(({ port }) => port));
  t.after(async () => {
    balancer.agent.destroy();
    balancer.process.kill();
    await balancer.ended;
  });
  await until('nginx', () => send(balancer, '/').then(bodyOf).then(() => true, () => false));
  const load = new Load(balancer);

  await t.test('both answer', async () => {
    await load.more();
    for (const server of servers) assert.ok(await answeredBy(server) > kRound / 4);
    assert.deepEqual([load.wrong, load.lost], [[], []]);
  });

  // Answers are fast, so a process that is just killed may have no question at all. A stopped one collects them.
  await t.test('one is killed with all questions: nothing is lost', async () => {
    servers[0].process.kill('SIGSTOP');
    await load.stall();
    await servers[0].end('SIGKILL');
    await load.more();
    assert.deepEqual([load.wrong, load.lost], [[], []]);
  });

  await t.test('it comes back', async () => {
    servers[0] = await start(servers[0].port);
    await until('its first answer', async () => await answeredBy(servers[0]) > 0);
  });

  await t.test('the other one ends on request: nothing is lost', async () => {
    assert.deepEqual(await servers[1].end('SIGTERM'), [0, null]);
    await load.more();
    await load.stop();
    assert.deepEqual([load.wrong, load.lost], [[], []]);
  });

  await t.test('events pass at once', async () => {
    const all = await send(balancer, '/ofrep/v1/evaluate/flags', { context: { targetingKey: 'ann' } });
    const { eventStreams: [{ endpoint: { requestUri } }] } = JSON.parse(await bodyOf(all));
    const stream = await send(balancer, requestUri);
    assert.match(stream.headers['content-type'], /^text\/event-stream/);
    let text = '';
    stream.setEncoding('utf8').on('data', (part) => { text += part; });
    await config.disable();
    await until('the event', () => /^data: .*"refetchEvaluation"/m.test(text));
    stream.destroy();
  });
});
