// SPDX-License-Identifier: Apache-2.0

const kSecondsPerDay = 86_400;
/** The moments that a `Date` can express, less two days for the offset, in seconds. */
const kLatest = 8.64e12 - 2 * kSecondsPerDay;
const kMaxDays = 4096;
const kMaxNames = 1024;

/** A day of UTC: one offset before a moment, and one from it on. */
interface Day {
  readonly before: number;
  readonly change: number;
  readonly after: number;
}

/** The offsets of one time zone, as `Intl` knows them. */
class Zone {
  readonly #format: Intl.DateTimeFormat;
  readonly #days = new Map<number, Day>();

  constructor(name: string) {
    this.#format = new Intl.DateTimeFormat('en-u-ca-gregory-nu-latn', {
      timeZone: name,
      hourCycle: 'h23',
      era: 'short',
      year: 'numeric',
      month: 'numeric',
      day: 'numeric',
      hour: 'numeric',
      minute: 'numeric',
      second: 'numeric',
    });
  }

  /** In seconds east of UTC, at a moment in seconds since 1970. */
  offsetAt(moment: number): number {
    const time = Math.min(Math.max(Math.floor(moment), -kLatest), kLatest);
    const number = Math.floor(time / kSecondsPerDay);
    let day = this.#days.get(number);
    if (!day) {
      if (this.#days.size >= kMaxDays) this.#days.clear(); // a document may have any number of dates
      day = this.#dayFrom(number * kSecondsPerDay);
      this.#days.set(number, day);
    }
    return time < day.change ? day.before : day.after;
  }

  /** A zone changes its offset at most once in a day: its changes are nearly four days apart. */
  #dayFrom(start: number): Day {
    let low = start;
    let high = start + kSecondsPerDay - 1;
    const before = this.#measure(low);
    const after = this.#measure(high);
    if (before === after) return { before, change: start, after };
    while (high - low > 1) {
      const middle = Math.floor((low + high) / 2);
      if (this.#measure(middle) === before) low = middle;
      else high = middle;
    }
    return { before, change: high, after };
  }

  #measure(moment: number): number {
    const fields = new Map<string, string>();
    for (const { type, value } of this.#format.formatToParts(moment * 1000)) fields.set(type, value);
    const number = (type: string): number => Number(fields.get(type));
    const year = fields.get('era')?.startsWith('B') ? 1 - number('year') : number('year');
    const local = new Date(0);
    local.setUTCFullYear(year, number('month') - 1, number('day'));
    local.setUTCHours(number('hour'), number('minute'), number('second'));
    return local.getTime() / 1000 - moment;
  }
}

/**
 * The time zones in use. The engine knows them by number.
 * @internal
 */
export class Zones {
  readonly #zones: Zone[] = [];
  readonly #byCanonicalName = new Map<string, number>();
  readonly #byName = new Map<string, number>();
  #own = 0;
  #ownReadAt = Number.NaN;

  /** The number of a zone by its IANA name, in any letter case. Throws a `RangeError` if there is none. */
  numberOf(name: string): number {
    const known = this.#byName.get(name);
    if (known !== undefined) return known;
    const canonical = new Intl.DateTimeFormat('en', { timeZone: name }).resolvedOptions().timeZone;
    let number = this.#byCanonicalName.get(canonical);
    if (number === undefined) {
      number = this.#zones.push(new Zone(canonical)) - 1;
      this.#byCanonicalName.set(canonical, number);
    }
    if (this.#byName.size >= kMaxNames) this.#byName.clear(); // spellings may come from outside
    this.#byName.set(name, number);
    return number;
  }

  /** The number of the runtime's own zone. Notices within a second that it has changed. */
  own(): number {
    const now = Date.now();
    if (!(Math.abs(now - this.#ownReadAt) < 1000)) {
      this.#own = this.#numberOfOwn();
      this.#ownReadAt = now;
    }
    return this.#own;
  }

  // A runtime may have a zone that it does not accept: "Etc/Unknown".
  #numberOfOwn(): number {
    try {
      return this.numberOf(new Intl.DateTimeFormat().resolvedOptions().timeZone);
    } catch {
      return this.numberOf('UTC');
    }
  }

  /** In seconds east of UTC. */
  offsetAt(zone: number, moment: number): number {
    return this.#zones[zone]?.offsetAt(moment) ?? 0;
  }
}
