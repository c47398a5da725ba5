// SPDX-License-Identifier: Apache-2.0

import { type Engine } from './engine.js';

/** Texts by name. Those that are undefined are absent. */
export type Properties = Readonly<Record<string, string | undefined>>;

/** Facts about a device. */
export interface Device {
  /** The property "appVersion". */
  readonly appVersion?: string | undefined;
  /** The property "deviceId". */
  readonly deviceId?: string | undefined;
  /** The property "os.name". */
  readonly systemName?: string | undefined;
  /** The property "os.version". */
  readonly systemVersion?: string | undefined;
}

/** All that an answer depends on besides the project. Unpaired surrogates are replaced with U+FFFD. */
export interface Context {
  /** The user's properties, by the names that conditions use: "userId", "custom.plan". */
  readonly properties?: Properties | undefined;
  /** The location, by the names that a backend uses: "country", without "geo.". */
  readonly location?: Properties | undefined;
  /** The device. By default its facts are absent. */
  readonly device?: Device | undefined;
  /** The moment, in seconds since 1970 or as a `Date`. By default the current one. */
  readonly now?: number | Date | undefined;
  /** The name of a time zone, as `Intl` knows them: "Europe/Berlin". By default the runtime's. */
  readonly timeZone?: string | undefined;
}

const kMembers = new Set(['properties', 'location', 'device', 'now', 'timeZone']);
const kFacts = ['appVersion', 'deviceId', 'systemName', 'systemVersion'];

/**
 * Checks a context, and writes it as the input of the next call.
 * @internal
 */
export function writeContext(engine: Engine, context: Context): void {
  // A misspelt member would silently put users into other groups.
  checkNames(context, 'the context', (name) => kMembers.has(name));
  const { properties = {}, location = {}, device = {}, now = Date.now() / 1000, timeZone } = context;
  const moment = now instanceof Date ? now.getTime() / 1000 : now;
  if (typeof moment !== 'number' || !Number.isFinite(moment)) {
    throw new TypeError('the context\'s "now" must be a finite number of seconds, or a valid Date');
  }
  if (timeZone !== undefined && typeof timeZone !== 'string') {
    throw new TypeError('the context\'s "timeZone" must be a name');
  }
  const zone = timeZone === undefined ? engine.zones.own() : engine.zones.numberOf(timeZone);

  // All texts are collected first: a getter among them may use the engine itself.
  checkNames(device, "the context's device", (name) => kFacts.includes(name));
  const texts: (string | undefined)[] = [];
  for (const fact of kFacts) texts.push(textOf(device, fact, 'device'));
  const locationCount = collect(location, 'location', texts);
  const propertyCount = collect(properties, 'properties', texts);
  engine.writeContext(moment, zone, locationCount, propertyCount, texts);
}

function checkNames(object: object, what: string, isKnown: (name: string) => boolean): void {
  if (typeof object !== 'object' || object === null) throw new TypeError(`${what} must be an object`);
  for (const name of Object.keys(object)) {
    if (!isKnown(name)) throw new TypeError(`${what} has no "${name}"`);
  }
}

/** Adds names and texts to the list; returns how many properties there are. */
function collect(properties: Properties, what: string, texts: (string | undefined)[]): number {
  if (typeof properties !== 'object' || properties === null) {
    throw new TypeError(`the context's ${what} must be an object`);
  }
  let count = 0;
  for (const name of Object.keys(properties)) {
    const text = textOf(properties, name, what);
    if (text === undefined) continue;
    texts.push(name, text);
    ++count;
  }
  return count;
}

function textOf(object: object, name: string, what: string): string | undefined {
  const text = (object as Record<string, unknown>)[name];
  if (text === undefined || typeof text === 'string') return text;
  throw new TypeError(`the context's ${what} has a "${name}" that is not a text`);
}
