// SPDX-License-Identifier: Apache-2.0

import { always, rule } from './documents.js';
import { equal, tableOf } from './expect.js';
import { linesOf } from './golden.js';

// The tables that the tests in C++ read, through the interface for JavaScript.

/** The outcome of the first step that says why a user is in an experiment or not. */
function placementOf(evaluation, name) {
  const step = evaluation.explainExperiment(name).steps.find(({ code }) => code === 'experiment');
  return { ...step.facts, bucket: step.steps.find(({ code }) => code === 'bucket')?.facts.bucket };
}

const numberIn = (field) => (field ? Number(field) : undefined);

/** A text of the table may have bytes as \xHH. */
const unescaped = (text) => text.replace(/\\x([0-9A-F]{2})/g, (_, digits) => String.fromCharCode(parseInt(digits, 16)));

/** Replaces "{3*ab}" by "ababab". */
const unfolded = (text) => text.replace(/\{(\d+)\*([^}]*)\}/g, (_, count, part) => part.repeat(count));

function conditionsOf(text) {
  const conditions = [];
  let property;
  let hashed;
  for (const line of text.split('\n')) {
    if (line === '' || line.startsWith('#')) continue;
    const heading = /^on (\S+)( hashed)?$/.exec(line);
    if (heading) {
      property = heading[1];
      hashed = heading[2] !== undefined;
      continue;
    }
    const [answer, actual, sign, ...values] = [...unfolded(line).matchAll(/'((?:[^'\\]|\\.)*)'|\S+/g)].map(
      ([word, quoted]) => (quoted === undefined ? { word } : { text: quoted.replace(/\\(.)/g, '$1') }),
    );
    const texts = values.map(({ text }) => text);
    conditions.push({ line, hashed, property, answer: answer.word, actual: actual.text, sign: sign.text ?? sign.word, texts });
  }
  return conditions;
}

export const tests = {
  async 'hash and weights place users as the golden vectors say'({ corvo, read }) {
    for (const [what, userId, json, reason, index, bucket] of tableOf(await read('tests/placement/bucketing.txt'))) {
      const document = unescaped(`{"experiments": [{"name": "e",${json.slice(1)}]}`);
      const found = placementOf(corvo.decode(document).evaluate({ properties: { userId: unescaped(userId) } }), 'e');
      const expected = { reason, index: numberIn(index), bucket: numberIn(bucket) };
      equal({ reason: found.reason, index: found.index, bucket: found.bucket }, expected, what);
    }
  },

  async 'experiments admit users as the table says'({ corvo, read }) {
    const project = corvo.decode(await read('tests/placement/project.json'));
    for (const [user, name, reason, index, heldOutBy] of tableOf(await read('tests/placement/resolutions.txt'))) {
      const context = { properties: {}, location: {}, device: {}, now: 0, timeZone: 'UTC' };
      for (const given of user.split(' ').filter(Boolean)) {
        const [property, value] = given.split('=');
        if (property === 'vendor') context.device.deviceId = value;
        else if (property.startsWith('geo.')) context.location[property.slice(4)] = value;
        else context.properties[property] = value;
      }
      const found = placementOf(project.evaluate(context), name);
      equal([found.reason, found.index, found.heldOutBy], [reason, numberIn(index), heldOutBy || undefined], `${user} ${name}`);
    }
  },

  async 'conditions hold as the table says'({ corvo, read }) {
    const conditions = conditionsOf(await read('tests/targeting/conditions.txt'));
    const flags = conditions.map(({ hashed, property, sign, texts }, i) => ({
      name: String(i),
      type: 'string',
      is_private: hashed,
      rules: [rule(false, 'yes', 'AND', [{ name: property, condition_sign: sign, value: texts }]), ...always('no')],
    }));
    const project = corvo.decode(JSON.stringify({ feature_flags: flags }));
    const evaluation = project.evaluate();
    conditions.forEach(({ line, property, actual, answer }, i) => {
      evaluation.reset({ properties: { [property]: actual }, timeZone: 'UTC' });
      equal(evaluation.checkFlag(String(i), 'string'), answer, line);
    });
  },

  async 'documents that are not a configuration say why'({ corvo, read }) {
    for (const [text, reason] of tableOf(await read('tests/model/config_failures.txt'))) {
      let message = 'none';
      try {
        corvo.decode(unescaped(text));
      } catch (error) {
        equal([error.name, error.case, Number.isInteger(error.offset)], ['CorvoError', 'requestConfigFailed', true]);
        message = error.message;
      }
      equal(message.endsWith(reason), true, `${text}: ${message}`);
    }
  },

  async 'the engine computes the numbers, digests and assignments of the native engine'({ bytes, read }) {
    const expected = (await read('made/golden.txt')).split('\n');
    const found = await linesOf(await WebAssembly.compile(await bytes('made/golden.wasm')));
    expected.forEach((line, i) => equal(found[i], line, `line ${i + 1}`));
    equal(found.length, expected.length);
    equal(expected.filter((line) => line.startsWith('assignment ')).length, 10_000);
  },
};
