// SPDX-License-Identifier: Apache-2.0

import { CorvoError, type CorvoErrorCase } from './error.js';
import { Wasi } from './wasi.js';
import { Zones } from './zones.js';

/**
 * An address in the engine's memory.
 * @internal
 */
export type Address = number;

/**
 * The functions of the module; `engine/exports.cc` describes them.
 * @internal
 */
export interface Calls {
  _initialize(): void;
  corvo_begin(): void;
  corvo_result(): Address;
  corvo_input(size: number): Address;
  corvo_lint(size: number): void;
  corvo_decode(size: number, forClient: number): Address;
  corvo_free_project(project: Address): void;
  corvo_describe(project: Address): void;
  corvo_evaluate(project: Address): Address;
  corvo_reset(evaluation: Address): void;
  corvo_free_evaluation(evaluation: Address): void;
  corvo_check_flag(evaluation: Address, nameSize: number, kind: Kind): void;
  corvo_flags(evaluation: Address): void;
  corvo_flag_texts(evaluation: Address, count: number): void;
  corvo_memberships(evaluation: Address, count: number): void;
  corvo_experiments_text(evaluation: Address, estimateHoldouts: number): void;
  corvo_holdouts_text(evaluation: Address): void;
  corvo_holdout(evaluation: Address, nameSize: number): void;
  corvo_details(evaluation: Address, estimateHoldouts: number): void;
  corvo_explain(evaluation: Address, nameSize: number, isFlag: number, asJson: number): void;
  corvo_experiment(evaluation: Address, nameSize: number): Address;
  corvo_experiments(evaluation: Address): void;
  corvo_free_experiment(experiment: Address): void;
  corvo_experiment_group(experiment: Address): void;
  corvo_experiment_value(experiment: Address, nameSize: number, isFlag: number, kind: Kind): void;
}

/** @internal */
interface Exports extends Calls {
  readonly memory: WebAssembly.Memory;
  readonly __stack_pointer: WebAssembly.Global;
}

/**
 * What a record holds, as in `engine/boundary.h`.
 * @internal
 */
export const Kind = {
  absent: 0,
  boolean: 1,
  integer: 2,
  double: 3,
  string: 4,
  json: 5,
  any: 6,
  list: 7,
  failure: 8,
} as const;
/** @internal */
export type Kind = (typeof Kind)[keyof typeof Kind];

/** Where the members of a record are. */
const kPosition = 4;
const kName = 8;
const kText = 16;
const kPayload = 24;
const kRecordSize = 32;

/** The most text that one call may pass, in UTF-16 code units. */
const kMaxLength = 2 ** 26;
/** Shorter texts are copied by character, which takes less time. */
const kShort = 48;

const kOutOfMemory = 'memory ran out';

const encoder = new TextEncoder();
const decoder = new TextDecoder('utf-8', { ignoreBOM: true });

/**
 * One instance of the module, with its memory.
 * @internal
 */
export class Engine {
  readonly calls: Calls;
  readonly zones: Zones;
  readonly #memory: WebAssembly.Memory;
  readonly #stackPointer: WebAssembly.Global;
  readonly #stackTop: number;
  readonly #wasi: Wasi;
  readonly #result: Address;
  #bytes = new Uint8Array();
  #view = new DataView(this.#bytes.buffer);

  private constructor(exports: Exports, wasi: Wasi, zones: Zones) {
    this.calls = exports;
    this.zones = zones;
    this.#memory = exports.memory;
    this.#wasi = wasi;
    wasi.attach(exports.memory);
    this.#stackPointer = exports.__stack_pointer;
    this.#stackTop = this.#stackPointer.value as number;
    exports._initialize();
    exports.corvo_begin();
    this.#result = exports.corvo_result() >>> 0;
    this.#look();
  }

  static async create(
    module: WebAssembly.Module,
    fill: (bytes: Uint8Array<ArrayBuffer>) => void,
  ): Promise<Engine> {
    const wasi = new Wasi(fill);
    const zones = new Zones();
    const { exports } = await WebAssembly.instantiate(module, {
      wasi_snapshot_preview1: wasi.imports,
      corvo: { offset_at: (zone: number, moment: number) => zones.offsetAt(zone, moment) },
    });
    return new Engine(exports as unknown as Exports, wasi, zones);
  }

  /** Runs a call of the module, and throws its error. A trap becomes an error, too. */
  run<T>(call: () => T): T {
    let returned: T;
    try {
      returned = call();
    } catch (trap) {
      throw this.#errorOf(trap);
    }
    this.#look();
    if (this.#view.getUint32(this.#result, true) === Kind.failure) throw this.#failure();
    return returned;
  }

  // What was on the stack is lost. What was being changed may be half changed, except after a stop,
  // which only happens where nothing is.
  #errorOf(trap: unknown): CorvoError {
    this.#stackPointer.value = this.#stackTop;
    const said = this.#wasi.said.trim();
    this.#wasi.said = '';
    const [, reason] = /^Corvo: (.*)$/.exec(said) ?? [];
    if (reason !== undefined && reason !== kOutOfMemory) return new CorvoError('stopped', reason);
    const message = reason ?? (said || String(trap));
    return new CorvoError('outOfMemory', message, undefined, { cause: trap });
  }

  #failure(): CorvoError {
    const name = this.#text(this.#result + kName) as CorvoErrorCase;
    const message = this.text();
    const offset = Number(this.#view.getBigInt64(this.#result + kPayload, true));
    this.#view.setUint32(this.#result, Kind.absent, true); // some calls leave the result as it is
    return new CorvoError(name, message, offset < 0 ? undefined : offset);
  }

  /** Memory that grows gets a new buffer. */
  #look(): void {
    if (this.#bytes.buffer === this.#memory.buffer) return;
    this.#bytes = new Uint8Array(this.#memory.buffer);
    this.#view = new DataView(this.#memory.buffer);
  }

  // --- Input -----------------------------------------------------------------------------------

  #room(size: number): Address {
    let at: Address;
    try {
      at = this.calls.corvo_input(size) >>> 0;
    } catch (trap) {
      throw this.#errorOf(trap);
    }
    this.#look();
    return at;
  }

  /** Writes a text as the next call's input; returns its size. */
  writeText(text: string): number {
    checkLength(text.length);
    return this.#write(text, this.#room(3 * text.length));
  }

  writeBytes(bytes: Uint8Array): number {
    checkLength(bytes.length);
    const at = this.#room(bytes.length);
    this.#bytes.set(bytes, at);
    return bytes.length;
  }

  /** Positions from 0. Those that no list has are passed as the highest one. */
  writePositions(positions: ArrayLike<number>): number {
    const count = positions.length;
    checkLength(4 * count);
    const at = this.#room(4 * count);
    const view = this.#view;
    for (let i = 0; i < count; ++i) {
      const position = positions[i];
      if (!Number.isInteger(position) || (position as number) < 0) {
        throw new TypeError(`a position must be an integer from 0, not ${String(position)}`);
      }
      view.setUint32(at + 4 * i, Math.min(position as number, 0xffffffff), true);
    }
    return count;
  }

  /**
   * Writes a context: a header, the sizes of all texts, and the texts. An absent text is undefined.
   * `engine/context.h` describes it.
   */
  writeContext(
    now: number,
    zone: number,
    locationCount: number,
    propertyCount: number,
    texts: readonly (string | undefined)[],
  ): void {
    let length = 0;
    for (const text of texts) if (text !== undefined) length += text.length;
    checkLength(length);
    const headerSize = 24;
    const at = this.#room(headerSize + 4 * texts.length + 3 * length);
    const view = this.#view;
    view.setFloat64(at, now, true);
    view.setUint32(at + 8, zone, true);
    view.setUint32(at + 12, locationCount, true);
    view.setUint32(at + 16, propertyCount, true);
    let sizeAt = at + headerSize;
    let textAt = sizeAt + 4 * texts.length;
    for (const text of texts) {
      const size = text === undefined ? 0 : this.#write(text, textAt);
      view.setUint32(sizeAt, text === undefined ? 0xffffffff : size, true);
      sizeAt += 4;
      textAt += size;
    }
  }

  // Unpaired surrogates become U+FFFD.
  #write(text: string, at: Address): number {
    const bytes = this.#bytes;
    const length = text.length;
    let i = 0;
    if (length < kShort) {
      for (; i < length; ++i) {
        const unit = text.charCodeAt(i);
        if (unit > 0x7f) break;
        bytes[at + i] = unit;
      }
      if (i === length) return length;
    }
    const room = bytes.subarray(at + i, at + i + 3 * (length - i));
    return i + encoder.encodeInto(i === 0 ? text : text.slice(i), room).written;
  }

  // --- Results ---------------------------------------------------------------------------------

  #text(at: Address): string {
    const start = this.#view.getUint32(at, true);
    return decoder.decode(this.#bytes.subarray(start, start + this.#view.getUint32(at + 4, true)));
  }

  kind(record: Address = this.#result): Kind {
    return this.#view.getUint32(record, true) as Kind;
  }
  text(record: Address = this.#result): string {
    return this.#text(record + kText);
  }
  name(record: Address = this.#result): string {
    return this.#text(record + kName);
  }
  position(record: Address): number {
    return this.#view.getUint32(record + kPosition, true);
  }
  nameAddress(record: Address): Address {
    return this.#view.getUint32(record + kName, true);
  }
  textAddress(record: Address): Address {
    return this.#view.getUint32(record + kText, true);
  }
  integer(record: Address = this.#result): bigint {
    return this.#view.getBigInt64(record + kPayload, true);
  }
  double(record: Address = this.#result): number {
    return this.#view.getFloat64(record + kPayload, true);
  }

  /** The elements of a list of records: the address of each. */
  records<T>(read: (record: Address) => T): T[] {
    return this.#elements(kRecordSize, read);
  }
  /** The elements of a list of addresses. */
  addresses<T>(read: (address: Address) => T): T[] {
    return this.#elements(4, (at) => read(this.#view.getUint32(at, true)));
  }
  /** The elements of a list of pairs of integers. */
  pairs<T>(read: (first: number, second: number) => T): T[] {
    const view = this.#view;
    return this.#elements(8, (at) => read(view.getUint32(at, true), view.getUint32(at + 4, true)));
  }

  #elements<T>(size: number, read: (at: Address) => T): T[] {
    const start = this.textAddress(this.#result);
    const count = this.#view.getUint32(this.#result + kText + 4, true);
    const elements = new Array<T>(count);
    for (let i = 0; i < count; ++i) elements[i] = read(start + i * size);
    return elements;
  }
}

function checkLength(length: number): void {
  if (length <= kMaxLength) return;
  throw new CorvoError('textTooLong', `${length} characters in one call; at most ${kMaxLength} are possible`);
}
