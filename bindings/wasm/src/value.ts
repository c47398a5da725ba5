// SPDX-License-Identifier: Apache-2.0

import { type Address, type Engine, Kind } from './engine.js';
import { CorvoError } from './error.js';

/** A value that JSON can express. Numbers are rounded to the nearest double. */
export type Json = null | boolean | number | string | Json[] | JsonObject;
export type JsonObject = { [key: string]: Json };

/** A configuration value whose text determines its type. Only integers beyond 2^53 - 1 either way are bigints. */
export type Value = boolean | number | bigint | string | JsonObject;

/** What a configuration value can be read as, and what that is in JavaScript. */
export interface ValueTypes {
  /** "true" or "false" in any letter case. */
  boolean: boolean;
  /** An integer. Throws `integerOutOfRange` for one beyond 2^53 - 1 either way. */
  integer: number;
  /** Any integer of 64 bits. */
  bigint: bigint;
  /** A number. */
  double: number;
  /** The text itself. */
  string: string;
  /** A JSON object. */
  json: JsonObject;
  /** The first of JSON object, boolean, integer, double and string for which the text is valid. */
  any: Value;
}
export type ValueType = keyof ValueTypes;

const kKinds: { readonly [T in ValueType]: Kind } = {
  boolean: Kind.boolean,
  integer: Kind.integer,
  bigint: Kind.integer,
  double: Kind.double,
  string: Kind.string,
  json: Kind.json,
  any: Kind.any,
};

/**
 * The kind to ask for.
 * @internal
 */
export function kindOf(type: ValueType): Kind {
  if (!Object.hasOwn(kKinds, type)) throw new TypeError(`there is no type of values "${String(type)}"`);
  return kKinds[type];
}

/**
 * The value of a record; undefined if there is none.
 * @internal
 */
export function valueAs<T extends ValueType>(
  engine: Engine,
  type: T,
  record?: Address,
): ValueTypes[T] | undefined {
  const value = read(engine, record);
  if (type === 'bigint' && value !== undefined) return BigInt(value as number | bigint) as ValueTypes[T];
  if (type === 'integer' && typeof value === 'bigint') {
    throw new CorvoError('integerOutOfRange', `${value} is not a safe integer; ask for a "bigint"`);
  }
  return value as ValueTypes[T] | undefined;
}

function read(engine: Engine, record?: Address): Value | undefined {
  switch (engine.kind(record)) {
    case Kind.boolean:
      return engine.integer(record) !== 0n;
    case Kind.integer: {
      const integer = engine.integer(record);
      return Number.isSafeInteger(Number(integer)) ? Number(integer) : integer;
    }
    case Kind.double:
      return engine.double(record);
    case Kind.string:
      return engine.text(record);
    case Kind.json:
      return JSON.parse(engine.text(record)) as JsonObject;
    default:
      return undefined;
  }
}
