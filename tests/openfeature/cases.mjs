// SPDX-License-Identifier: Apache-2.0

// What clients must answer for config.json, by hand. Each row asks for a flag with a default, as a user with a context.
// `gets` is what the client must report; `onServer` is what differs for the server client.

const ann = { targetingKey: 'ann' };
const zoe = { targetingKey: 'zoë' };
const text = (properties) => ({ what: `context ${JSON.stringify(properties)}`, ask: ['String', 'read', '-'],
  context: { targetingKey: 'bob', ...properties } });
const found = (value, reason, variant, more = {}) => ({ value, reason, variant, errorCode: undefined, ...more });
const fails = (value, errorCode) => ({ value, reason: 'ERROR', errorCode });
// The released server client takes an answer without a value for a malformed one.
const unset = { reason: 'ERROR', variant: undefined, errorCode: 'GENERAL' };

export const kCases = [
  // Types.
  { what: 'boolean', context: ann, ask: ['Boolean', 'enabled', false], gets: found(true, 'STATIC', 'rule-0') },
  { what: 'string', context: ann, ask: ['String', 'greeting', '-'], gets: found('Olá, "Zoë" 👋', 'STATIC', 'rule-0') },
  { what: 'integer', context: ann, ask: ['Number', 'limit', 0], gets: found(42, 'STATIC', 'rule-0') },
  { what: 'double', context: ann, ask: ['Number', 'rate', 0], gets: found(0.25, 'STATIC', 'rule-0') },
  { what: 'object', context: ann, ask: ['Object', 'theme', {}],
    gets: found({ dark: true, sizes: [10, 12.5], font: { name: null } }, 'STATIC', 'rule-0') },
  { what: 'a name with other characters', context: ann, ask: ['Boolean', 'a flag/with: 100% ünusual name', false],
    gets: found(true, 'STATIC', 'rule-0') },

  // Reasons.
  { what: 'a rule with conditions', context: { ...ann, plan: 'gold' }, ask: ['Number', 'price', 0],
    gets: found(9, 'TARGETING_MATCH', 'rule-1') },
  { what: 'the default rule', context: { ...ann, plan: 'silver' }, ask: ['Number', 'price', 0],
    gets: found(12, 'STATIC', 'rule-2') },
  // docs/concepts.md works out the group of `ann`.
  { what: 'an experiment', context: ann, ask: ['Number', 'checkout-steps', 0],
    gets: found(1, 'SPLIT', 'short', { flagMetadata: { experiment: 'short-checkout', index: 1 } }) },

  // Defaults.
  { what: 'no rule applies', context: ann, ask: ['String', 'unset', 'mine'], gets: found('mine', 'DEFAULT'), onServer: unset },
  { what: 'no rules', context: ann, ask: ['Object', 'no-rules', { mine: 1 }],
    gets: found({ mine: 1 }, 'DEFAULT'), onServer: unset },
  { what: 'no rules for the group', context: ann, ask: ['String', 'checkout-colour', 'mine'],
    gets: found('mine', 'DEFAULT'), onServer: unset },
  { what: 'a missing flag', context: ann, ask: ['Boolean', 'nowhere', true], gets: fails(true, 'FLAG_NOT_FOUND') },
  { what: 'a boolean for a text', context: ann, ask: ['Boolean', 'greeting', true], gets: fails(true, 'TYPE_MISMATCH') },
  { what: 'a text for a number', context: ann, ask: ['String', 'limit', 'mine'], gets: fails('mine', 'TYPE_MISMATCH') },

  // Contexts.
  { ...text({}), gets: { value: 'nothing' } },
  { ...text({ visits: 3 }), gets: { value: 'number' } },
  { ...text({ visits: '3' }), gets: { value: 'number' } },
  { ...text({ visits: 2.5 }), gets: { value: 'fraction' } },
  { ...text({ member: true }), gets: { value: 'boolean' } },
  { ...text({ member: false }), gets: { value: 'something' } },
  { ...text({ member: null, visits: null, email: null }), gets: { value: 'nothing' } },
  { ...text({ visits: [3], member: { true: true } }), gets: { value: 'nothing' },
    onServer: { flagMetadata: { ignoredContext: 'visits, member' } } },
  { ...text({ email: 'ann@shop.example' }), gets: { value: 'named property' } },
  { what: 'the key of the user', context: zoe, ask: ['String', 'read', '-'], gets: { value: 'user' } },
];

/** The expected members of an answer, for comparison with what is expected. */
export const shown = (answer, expected) => Object.fromEntries(Object.keys(expected).map((name) => [name, answer[name]]));
