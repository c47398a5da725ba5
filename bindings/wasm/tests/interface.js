// SPDX-License-Identifier: Apache-2.0

import { always, rule } from './documents.js';
import { equal, fails } from './expect.js';

const flag = (name, value, more = {}) => ({ name, type: 'string', rules: always(value), ...more });
const decode = (corvo, project, options) => corvo.decode(JSON.stringify(project), options);

/** Two groups; everybody who has a userId is in "b". */
const experiment = {
  name: 'e|1',
  salt: 's',
  allocation: 1,
  type: 1,
  groups: [{ name: 'a', label: 'A', weight: 0 }, { name: 'b', weight: 1 }],
  params: [{ name: 'p', type: 'number', values: [{ group: 'b', value: '12' }] }],
  feature_flags: [
    { name: 'carried', type: 'string', groups: [{ group: 'b', rules: always('true') }] },
    { name: 'ruleless', type: 'string', groups: [{ group: 'b', rules: [] }] },
  ],
};
const holdout = { name: 'h', salt: 's', allocation: 1, type: 5, groups: [{ name: 'all', weight: 1 }] };

export const tests = {
  async 'values are read as the types that are asked for'({ corvo }) {
    // text | boolean, integer, bigint, double, json, any
    const none = undefined;
    const rows = [
      ['TRUE', true, none, none, none, none, true],
      ['12', none, 12, 12n, 12, none, 12],
      ['-9007199254740991', none, -9007199254740991, -9007199254740991n, -9007199254740991, none, -9007199254740991],
      ['9007199254740993', none, 'integerOutOfRange', 9007199254740993n, 9007199254740992, none, 9007199254740993n],
      ['-9223372036854775808', none, 'integerOutOfRange', -(2n ** 63n), -(2 ** 63), none, -(2n ** 63n)],
      ['9223372036854775808', none, none, none, 2 ** 63, none, 2 ** 63],
      ['-0.0', none, none, none, -0, none, -0],
      ['nan', none, none, none, NaN, none, NaN],
      ['-inf', none, none, none, -Infinity, none, -Infinity],
      ['0x1p-1074', none, none, none, 5e-324, none, 5e-324],
      ['', none, none, none, none, none, ''],
      ['\ufeffa\u0000\u{1f426}', none, none, none, none, none, '\ufeffa\u0000\u{1f426}'],
      ['{"__proto__": {"n": [1e2, null]}}', none, none, none, none, ...Array(2).fill(JSON.parse('{"__proto__": {"n": [100, null]}}'))],
      ['{"a": 1e400}', none, none, none, none, none, '{"a": 1e400}'],
      ['[1]', none, none, none, none, none, '[1]'],
    ];
    const types = ['boolean', 'integer', 'bigint', 'double', 'json', 'any'];
    const project = decode(corvo, { feature_flags: rows.map(([text], i) => flag(`f${i}`, text)) });
    const evaluation = project.evaluate();
    rows.forEach(([text, ...expected], i) => {
      types.forEach((type, t) => {
        const ask = () => evaluation.checkFlag(`f${i}`, type);
        if (typeof expected[t] === 'string' && type === 'integer') fails(`CorvoError ${expected[t]}`, ask);
        else equal(ask(), expected[t], `${text} as ${type}`);
      });
      equal(evaluation.checkFlag(`f${i}`, 'string'), text);
    });
    equal(evaluation.flags(), new Map(rows.map((row, i) => [`f${i}`, row[6]])));
  },

  async 'a project describes itself'({ corvo }) {
    const project = decode(corvo, {
      feature_flags: [flag('f', '1', { is_private: true }), { type: 'nameless' }, flag('web', '1', { platform: 'web' })],
      experiments: [experiment, holdout],
    }, { filter: 'client' });
    equal(project.flags.map(({ name, isPrivate, carriedBy, isOnlyCarried }) => [name, isPrivate, carriedBy, isOnlyCarried]), [
      ['f', true, null, false],
      ['carried', false, 'e|1', true],
      ['ruleless', false, 'e|1', true],
    ]);
    const { groups, flags, params, position, splitBy, layer } = project.experiments[0];
    equal([groups, flags, params, position, splitBy, layer], [
      [{ name: 'a', label: 'A', weight: 0 }, { name: 'b', label: null, weight: 1 }],
      ['carried', 'ruleless'], ['p'], 0, 'userId', null,
    ]);
    equal(project.holdouts.map(({ name, position }) => [name, position]), [['h', 1]]);
    equal(project.properties.includes('userId'), true);
    equal(project.drops.map(({ pointer }) => pointer), ['/feature_flags/1', '/feature_flags/2']);
    equal(project.stops, []);
    equal(Object.isFrozen(project.flags[0]), true);
  },

  async 'users are in experiments and holdouts'({ corvo }) {
    const project = decode(corvo, { feature_flags: [flag('f', '1')], experiments: [experiment, holdout] });
    const evaluation = project.evaluate({ properties: { userId: 'u' } });
    equal(evaluation.experimentsText(), 'e|1.1|h.0');
    equal(evaluation.experimentsText({ estimateHoldouts: false }), 'e|1.1');
    equal([evaluation.holdout('h'), evaluation.holdoutsText()], [true, 'h.0']);
    equal(evaluation.details({ estimateHoldouts: false }), [
      { type: 'featureFlag', id: 'e|1', group: 1, results: [{ name: 'carried', value: 'true' }] },
    ]);
    const [first, second] = evaluation.allExperiments();
    equal([first.name, first.groupName, first.groupIndex, second.name], ['e|1', 'b', 1, 'h']);
    equal([first.param('p', 'integer'), first.param('p', 'json'), first.param('x', 'any')], [12, undefined, undefined]);
    equal([first.flag('carried', 'boolean'), first.flag('f', 'any')], [true, undefined]);
    fails('CorvoError featureFlagNoRules', () => first.flag('ruleless', 'any'));
    equal(evaluation.experiment('h').groupName, 'all');
    equal(evaluation.memberships([1, 7, 0]), [{ experiment: 1, group: 0 }, { experiment: 0, group: 1 }]);
    equal(evaluation.flagTexts([2 ** 40, 0, 1]), [{ flag: 0, text: '1' }]);
    equal(evaluation.explainExperiment('e|1').value, 'b');
    equal(evaluation.explainFlag('f', 'text').startsWith('flag "f": "1"\n'), true);

    evaluation.reset();
    equal([evaluation.experimentsText(), evaluation.holdoutsText(), evaluation.holdout('h')], [undefined, undefined, false]);
    equal([evaluation.allExperiments(), evaluation.experiment('e|1'), evaluation.memberships([0, 1])], [[], undefined, []]);
    equal(first.flag('carried', 'any'), true, 'a handle is a snapshot');
    for (const [which, ask] of [
      ['featureFlagNotFound', () => evaluation.checkFlag('no', 'any')],
      ['experimentNotFound', () => evaluation.experiment('no')],
      ['holdoutNotFound', () => evaluation.holdout('no')],
    ]) {
      fails(`CorvoError ${which}`, ask);
      equal(evaluation.checkFlag('f', 'any'), 1, 'an error changes nothing');
    }
    equal(evaluation.explainFlag('no').error.code, 'featureFlagNotFound');
  },

  async 'every part of a context counts'({ corvo }) {
    const is = (name, value) => [
      rule(false, 'yes', 'AND', [{ name, condition_sign: 'equal', value }]),
      ...always('no'),
    ];
    const names = ['custom.ü', 'geo.city', 'appVersion', 'deviceId', 'os.name', 'os.version', 'date'];
    const values = ['é', 'Köln', '1.2', 'D', 'iOS', '17.4', '2024-05-01 01:00'];
    const flags = names.map((name, i) => ({ name, type: 'string', rules: is(name, values[i]) }));
    flags.find(({ name }) => name === 'date').rules[0].conditions[0].condition_sign = 'after time';
    const evaluation = decode(corvo, { feature_flags: flags }).evaluate({
      properties: { 'custom.ü': 'é', absent: undefined },
      location: { city: 'Köln' },
      device: { appVersion: '1.2', deviceId: 'D', systemName: 'iOS', systemVersion: '17.4' },
      now: new Date('2024-04-30T23:30Z'),
      timeZone: 'europe/berlin',
    });
    equal([...evaluation.flags().values()], names.map(() => 'yes'));
    evaluation.reset({ now: 1714519800, timeZone: 'UTC' });
    equal([...evaluation.flags().values()], names.map(() => 'no'));
    evaluation.reset({ location: { city: 'Köln' }, now: 1714519800, timeZone: 'Africa/Johannesburg' });
    equal([evaluation.checkFlag('geo.city', 'any'), evaluation.checkFlag('date', 'any')], ['yes', 'yes']);
  },

  async 'documents may be bytes, and lint finds what is wrong'({ corvo }) {
    const document = '{"feature_flags": [{"name": "é", "type": "t", "ruels": []}]}';
    const findings = corvo.lint(document);
    equal(findings.map(({ code, severity, offset, column }) => [code, severity, offset, column]),
      [['no-rules', 'error', 19, 20], ['unknown-key', 'warning', 47, 47]]);
    equal(corvo.lint(new TextEncoder().encode(document)), findings);
    equal(corvo.decode(new TextEncoder().encode(document)).flags[0].name, 'é');
    equal(corvo.decode('\ufeff{"feature_flags": [], "experiments": []}').flags, []);
    equal(corvo.lint('{').map(({ code }) => code), ['not-json']);
  },

  async 'engines share nothing'({ corvo, loadCorvo, bytes }) {
    const other = await loadCorvo(await WebAssembly.compile(await bytes('bindings/wasm/dist/corvo.wasm')));
    const project = decode(other, { feature_flags: [flag('f', 'other')] });
    equal(decode(corvo, { feature_flags: [flag('f', 'this')] }).evaluate().checkFlag('f', 'string'), 'this');
    equal(project.evaluate().checkFlag('f', 'string'), 'other');
  },
};
