// SPDX-License-Identifier: Apache-2.0

// A project and many users that reach all of its parts, the same in every run.

import { always, rule } from './documents.js';

/** Marsaglia's xorshift, 32 bits. */
function generator(seed) {
  let state = seed;
  return (count) => {
    state ^= state << 13;
    state ^= state >>> 17;
    state ^= state << 5;
    return (state >>> 0) % count;
  };
}

const kZones = ['Europe/Berlin', 'Australia/Lord_Howe', 'Asia/Kolkata', 'America/St_Johns', 'Africa/Monrovia',
  'Pacific/Apia', 'America/New_York', 'UTC'];
// Changes of the clocks, local mean times, and days that do not exist.
const kDates = ['2024-03-31 02:30', '2024-10-27 02:30', '2023-04-02', '1893-04-01', '1935-03-30 00:01',
  '1972-01-07', '2011-12-30', '2011-12-31 00:00', '1883-11-18 12:00', '2026-11-22 10:00'];
const kTexts = ['gold', 'silver', 'Zürich', '東京', '🐦', '', '12', '3.5', '1.10.2', 'a;b', 'café'];

export function makeProject() {
  const random = generator(20);
  const oneOf = (list) => list[random(list.length)];
  const condition = () => {
    const name = oneOf(['custom.plan', 'email', 'geo.country', 'geo.city', 'os.version', 'appVersion', 'os.name', 'date']);
    if (name === 'date') {
      return { name, condition_sign: oneOf(['after time', 'before time', 'on date']), value: oneOf(kDates) };
    }
    const sign = oneOf(['equal', 'not equal', 'any of', 'none of', 'contains any of', 'greater', 'less equal',
      'starts with', 'not ends with', 'contains']);
    return { name, condition_sign: sign, value: sign.endsWith('of') ? [oneOf(kTexts), oneOf(kTexts)] : oneOf(kTexts) };
  };
  const conditions = () => Array.from({ length: 1 + random(3) }, condition);
  const values = ['true', 'FALSE', '7', '-9223372036854775808', '0.1', '1e-7', '0x1.8p1', '-inf', 'text', 'ü"\\\n',
    '{"a": [1, null, {"b": 2.5}]}', '1e400'];
  const rules = () => [
    rule(false, oneOf(values), 'AND', conditions()),
    rule(false, oneOf(values), 'OR', conditions()),
    ...(random(4) === 0 ? [] : always(oneOf(values))),
  ];
  const flags = Array.from({ length: 40 }, (_, i) => ({
    name: `flag ${i} ü`,
    type: 'string',
    is_private: random(5) === 0,
    rules: rules(),
  }));
  const groups = ['a', 'b', 'c'];
  const experiments = Array.from({ length: 30 }, (_, i) => ({
    name: `experiment ${i}`,
    salt: `salt-${i}`,
    type: i < 4 ? 5 : 1,
    allocation: oneOf([0.1, 0.333, 0.5, 0.9, 1]),
    split_by: oneOf(['userId', 'userId', 'deviceId', 'profileId']),
    groups: groups.map((name) => ({ name, weight: 1 / 3, forced_user_list: [`${name}-${i}`] })),
    ...(random(3) === 0 && { layer_id: 'layer', layer_bounds: [{ lower_bound: random(500), upper_bound: 500 + random(494) }] }),
    ...(random(3) === 0 && { targets: { conditional_statement: 'OR', conditions: conditions() } }),
    ...(i >= 4 && random(3) === 0 && { holdouts: [`experiment ${random(4)}`] }),
    ...(i >= 4 && i < 14 && {
      feature_flags: [{
        name: `flag ${i} ü`,
        type: 'string',
        groups: groups.map((group) => ({ group, rules: always(oneOf(values)) })),
      }],
    }),
  }));
  return { feature_flags: flags, experiments };
}

/** Users as `corvo assign` reads them. */
export function makeUsers(count) {
  const random = generator(21);
  const oneOf = (list) => list[random(list.length)];
  const perhaps = (make) => (random(4) === 0 ? undefined : make());
  return Array.from({ length: count }, (_, id) => {
    const near = Date.parse(`${oneOf(kDates).slice(0, 10)}T00:00Z`) / 1000;
    return {
      id,
      properties: {
        userId: perhaps(() => (random(20) === 0 ? `${oneOf(['a', 'b'])}-${random(30)}` : `user-${random(1e9)}`)),
        profileId: perhaps(() => `Profil ${oneOf(kTexts)} ${random(1e6)}`),
        email: perhaps(() => oneOf(kTexts)),
        'custom.plan': perhaps(() => oneOf(kTexts)),
      },
      geo: { country: oneOf(kTexts), city: oneOf(kTexts) },
      device: {
        deviceId: perhaps(() => `device-${random(1e9)}`),
        systemName: oneOf(['iOS', 'Android']),
        systemVersion: oneOf(['17.4.1', '1.10.2']),
        appVersion: oneOf(kTexts),
      },
      now: near + random(4 * 86_400) - 2 * 86_400 + random(1000) / 1000,
      zone: oneOf(kZones),
    };
  });
}

/** The context of such a user. */
export function contextOf({ properties, geo, device, now, zone }) {
  return { properties, location: geo, device, now, timeZone: zone };
}
