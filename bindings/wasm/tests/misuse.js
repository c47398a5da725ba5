// SPDX-License-Identifier: Apache-2.0

import { always, rule } from './documents.js';
import { equal, errorOf, fails } from './expect.js';

const kDocument = JSON.stringify({ feature_flags: [{ name: 'f', type: 't', rules: always('1') }] });

/** Everybody who has a userId reaches bounds that are inverted, unless their userId is forced. */
const kStop = JSON.stringify({
  feature_flags: [{ name: 'f', type: 't', rules: always('1') }],
  experiments: [{
    name: 'stop', salt: 's', allocation: 1, forced_user_list: ['forced'], groups: [{ name: 'g', weight: 1 }],
    layer_bounds: [{ lower_bound: 2, upper_bound: 1 }],
  }],
});

/** The module with at most 128 MiB of memory in place of 4 GiB: 2,048 pages, in as many bytes as 65,536. */
function limited(module) {
  const bytes = Uint8Array.from(module);
  const kMemory = 5;
  let end = 8;
  for (let section; section !== kMemory; ) {
    section = bytes[end++];
    let size = 0;
    for (let shift = 0, more = true; more; shift += 7) {
      size |= (bytes[end] & 0x7f) << shift;
      more = bytes[end++] > 0x7f;
    }
    end += size;
  }
  equal([...bytes.slice(end - 3, end)], [0x80, 0x80, 0x04]);
  bytes.set([0x80, 0x90, 0x00], end - 3);
  return bytes;
}

export const tests = {
  async 'wrong arguments are type errors'({ corvo }) {
    const project = corvo.decode(kDocument);
    const evaluation = project.evaluate();
    for (const wrong of [undefined, null, 7, {}, ['f']]) {
      for (const ask of [
        () => corvo.decode(wrong),
        () => corvo.lint(wrong),
        () => evaluation.checkFlag(wrong, 'any'),
        () => evaluation.checkFlag('f', wrong),
        () => evaluation.experiment(wrong),
        () => evaluation.holdout(wrong),
        () => evaluation.explainFlag(wrong),
        () => project.evaluate({ properties: { userId: wrong ?? 1 } }),
        () => project.evaluate({ now: String(wrong) }),
      ]) {
        fails('TypeError', ask);
      }
    }
    for (const context of [null, 7, { userId: 'u' }, { properties: null }, { properties: 'u' }, { device: { model: 'x' } },
      { device: { appVersion: 1 } }, { location: { city: null } }, { now: NaN }, { now: -Infinity }, { now: new Date('x') },
      { timeZone: 1 }]) {
      fails('TypeError', () => evaluation.reset(context));
    }
    for (const position of [-1, 0.5, NaN, '1', undefined, null, {}, ['f']]) {
      fails('TypeError', () => evaluation.memberships([position]));
      fails('TypeError', () => evaluation.flagTexts([position]));
    }
    fails('TypeError', () => evaluation.checkFlag('f', 'toString'));
    fails('TypeError', () => evaluation.explainFlag('f', 'xml'));
    fails('TypeError', () => corvo.decode(kDocument, { filter: 'all' }));
    fails('RangeError', () => evaluation.reset({ timeZone: 'Mars/Olympus' }));
    equal(evaluation.checkFlag('f', 'any'), 1);
  },

  async 'whatever is disposed of says so'({ corvo }) {
    const project = corvo.decode(JSON.stringify({
      experiments: [{ name: 'e', salt: 's', allocation: 1, groups: [{ name: 'g', weight: 1 }] }],
    }));
    const evaluation = project.evaluate({ properties: { userId: 'u' } });
    const experiment = evaluation.experiment('e');
    project.dispose();
    project.dispose();
    for (const ask of [() => project.flags, () => project.evaluate()]) fails('CorvoError disposed', ask);
    equal(evaluation.experimentsText(), 'e.0', 'an evaluation goes on');
    evaluation[Symbol.dispose ?? Symbol.for('Symbol.dispose')]();
    evaluation.dispose();
    for (const ask of [() => evaluation.reset(), () => evaluation.flags(), () => evaluation.explainFlag('f'),
      () => evaluation.memberships([0])]) {
      fails('CorvoError disposed', ask);
    }
    equal(experiment.param('p', 'any'), undefined, 'a handle goes on');
    experiment.dispose();
    equal([experiment.name, experiment.groupName], ['e', 'g']);
    fails('CorvoError disposed', () => experiment.param('p', 'any'));
  },

  async 'texts may contain anything'({ corvo }) {
    const names = ['\u0000', 'a\u0000b', '\ud800', '\udc00x', 'x'.repeat(100) + '\ud800', '🐦'.repeat(5000), ''];
    const condition = (value) => [{ name: 'email', condition_sign: 'equal', value }];
    const flags = names.map((name) => ({
      name,
      type: 't',
      rules: [rule(false, 'yes', 'AND', condition(name)), ...always('no')],
    }));
    const project = corvo.decode(`{"feature_flags": [${flags.map((each) => JSON.stringify(each).replace(/\\ud800|\\udc00/g, '\ufffd'))}]}`);
    const evaluation = project.evaluate();
    for (const name of names) {
      evaluation.reset({ properties: { email: name } });
      equal(evaluation.checkFlag(name, 'string'), 'yes', JSON.stringify(name.slice(0, 20)));
    }
    for (const name of ['__proto__', 'constructor']) fails('CorvoError featureFlagNotFound', () => evaluation.checkFlag(name, 'any'));
    equal(errorOf(() => evaluation.checkFlag('\ud800', 'nothing')).name, 'TypeError');
  },

  async 'the deepest JSON is read, written and explained'({ corvo }) {
    const deep = (levels) => '{"a": '.repeat(levels - 1) + '{}' + '}'.repeat(levels - 1);
    const flags = [512, 513].map((levels) => ({ name: String(levels), type: 't', rules: always(deep(levels)) }));
    const evaluation = corvo.decode(JSON.stringify({ feature_flags: flags })).evaluate();
    equal(JSON.stringify(evaluation.checkFlag('512', 'json')), deep(512).replaceAll(' ', ''));
    equal([evaluation.checkFlag('513', 'json'), typeof evaluation.checkFlag('513', 'any')], [undefined, 'string']);
    equal(evaluation.explainFlag('512').value, deep(512));
    fails('CorvoError requestConfigFailed', () => corvo.decode('['.repeat(1e6)));
    equal(corvo.lint('['.repeat(1e6)).length, 1);
  },

  async 'an experiment with inverted bounds only fails the questions that reach it'({ corvo }) {
    const project = corvo.decode(kStop);
    equal(project.stops.map(({ experiment }) => experiment), ['stop']);
    const evaluation = project.evaluate();
    for (let i = 0; i < 3000; ++i) {
      evaluation.reset({ properties: { userId: 'u' } });
      fails('CorvoError stopped', () => evaluation.allExperiments());
      fails('CorvoError stopped', () => evaluation.explainExperiment('stop'));
      equal(evaluation.checkFlag('f', 'any'), 1);
      evaluation.reset({ properties: { userId: 'forced' } });
      equal(evaluation.experimentsText(), 'stop.0');
    }
  },

  async 'too much text is an error, and the engine goes on'({ corvo }) {
    const evaluation = corvo.decode(kDocument).evaluate();
    const text = 'x'.repeat(2 ** 26 + 1);
    for (const ask of [() => corvo.decode(text), () => corvo.lint(text), () => evaluation.checkFlag(text, 'any'),
      () => evaluation.reset({ properties: { a: text } })]) {
      fails('CorvoError textTooLong', ask);
    }
    equal(evaluation.checkFlag('f', 'any'), 1);
    evaluation.reset({ properties: { userId: text.slice('userId'.length + 1) } });
    equal(evaluation.checkFlag('f', 'any'), 1);
  },

  async 'memory that runs out is an error'({ loadCorvo, bytes }) {
    const corvo = await loadCorvo(limited(await bytes('bindings/wasm/dist/corvo.wasm')));
    const document = JSON.stringify({ feature_flags: [{ name: 'f', type: 't', rules: always('x'.repeat(2 ** 21)) }] });
    const kept = [];
    const fill = () => {
      for (let i = 0; i < 200; ++i) kept.push(corvo.decode(document));
    };
    fails('CorvoError outOfMemory', fill);
    fails('CorvoError outOfMemory', fill);
    equal(kept.length > 5 && kept.length < 64, true, String(kept.length));
    kept.forEach((project) => project.dispose());
    equal(corvo.decode(kDocument).evaluate().checkFlag('f', 'any'), 1, 'what was disposed of is free again');

    const evaluation = corvo.decode(document).evaluate();
    fails('CorvoError outOfMemory', () => evaluation.reset({ properties: { email: 'é'.repeat(2 ** 26 - 5) } }));
    equal(evaluation.checkFlag('f', 'string').length, 2 ** 21, 'nothing has changed yet');
    fails('CorvoError outOfMemory', () => {
      for (let i = 1; i < 100; ++i) evaluation.explainFlag('\u0001'.repeat(i * 2 ** 18));
    });
    fails('CorvoError disposed', () => evaluation.checkFlag('f', 'string'));
  },

  async 'garbage is freed'({ loadCorvo, bytes }) {
    const corvo = await loadCorvo(limited(await bytes('bindings/wasm/dist/corvo.wasm')));
    const document = JSON.stringify({ feature_flags: [{ name: 'f', type: 't', rules: always('x'.repeat(2 ** 21)) }] });
    for (let i = 0; i < 100; ++i) {
      equal(corvo.decode(document).evaluate().checkFlag('f', 'boolean'), undefined);
      globalThis.gc();
      await new Promise((done) => setTimeout(done)); // registries run between tasks
    }
  },

  async 'getters may ask the engine'({ corvo }) {
    const project = corvo.decode(kDocument);
    const evaluation = project.evaluate();
    const properties = { get userId() { return String(project.evaluate({ properties: { email: 'e' } }).checkFlag('f', 'any')); } };
    evaluation.reset({ properties });
    equal(evaluation.flags(), new Map([['f', 1]]));
    fails('Error', () => evaluation.reset({ properties: { get userId() { throw new Error('own'); } } }));
    equal(evaluation.flags(), new Map([['f', 1]]));
  },
};
