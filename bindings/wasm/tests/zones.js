// SPDX-License-Identifier: Apache-2.0

import { Zones } from '../dist/zones.js';
import { equal, fails } from './expect.js';

// From the tz database's own text: the zone, the moment of a change, the offset before it and from it on.
const kChanges = `
Europe/Berlin      | 2024-03-31T01:00:00Z | 3600   | 7200
europe/BERLIN      | 2024-10-27T01:00:00Z | 7200   | 3600
Europe/Berlin      | 2050-03-27T01:00:00Z | 3600   | 7200
Europe/Berlin      | 1893-03-31T23:06:32Z | 3208   | 3600
Australia/Lord_Howe| 2024-04-06T15:00:00Z | 39600  | 37800
Asia/Kolkata       | 1945-10-14T17:30:00Z | 23400  | 19800
Africa/Monrovia    | 1972-01-07T00:44:30Z | -2670  | 0
Pacific/Apia       | 2011-12-30T10:00:00Z | -36000 | 50400
America/St_Johns   | 1935-03-30T03:30:52Z | -12652 | -12600
America/New_York   | 1883-11-18T17:00:00Z | -17762 | -18000
`;

export const tests = {
  async 'offsets change at the second'() {
    const zones = new Zones();
    for (const row of kChanges.trim().split('\n')) {
      const [name, moment, before, after] = row.split('|').map((field) => field.trim());
      const zone = zones.numberOf(name);
      const at = Date.parse(moment) / 1000;
      for (const [offset, expected] of [[-40_000, before], [-1, before], [0, after], [40_000, after]]) {
        equal(zones.offsetAt(zone, at + offset), Number(expected), `${row}, ${offset} s`);
      }
    }
  },

  async 'any moment has an offset'() {
    const zones = new Zones();
    const zone = zones.numberOf('Europe/Berlin');
    equal([-(2 ** 62), -9e12, -62167219200 - 86400, -1e12].map((moment) => zones.offsetAt(zone, moment)), [3208, 3208, 3208, 3208]);
    for (const moment of [9e12, 2 ** 62]) equal([3600, 7200].includes(zones.offsetAt(zone, moment)), true);
  },

  async 'a zone has one number under all its names'() {
    const zones = new Zones();
    equal(zones.numberOf('Europe/Berlin') === zones.numberOf('EUROPE/berlin'), true);
    equal(zones.numberOf('Europe/Berlin') === zones.numberOf('Europe/Paris'), false);
    equal(zones.own(), zones.numberOf(new Intl.DateTimeFormat().resolvedOptions().timeZone));
    for (const name of ['', 'Mars', 'Europe/Berlin\u0000']) fails('RangeError', () => zones.numberOf(name));
  },
};
