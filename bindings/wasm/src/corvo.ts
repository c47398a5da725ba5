// SPDX-License-Identifier: Apache-2.0

import { Engine } from './engine.js';
import { Project } from './project.js';

export { type Context, type Device, type Properties } from './context.js';
export { CorvoError, type CorvoErrorCase } from './error.js';
export {
  type Detail,
  type Evaluation,
  type FlagText,
  type HoldoutOptions,
  type Membership,
} from './evaluation.js';
export { type Experiment } from './experiment.js';
export { type Explanation, type Step } from './explanation.js';
export {
  type Drop,
  type ExperimentDescription,
  type Flag,
  type Group,
  type Project,
  type Stop,
} from './project.js';
export { type Json, type JsonObject, type Value, type ValueType, type ValueTypes } from './value.js';

/** A problem in a configuration document. */
export interface Finding {
  /** In kebab-case; `docs/lint.md` of CorvoSDK lists all. */
  readonly code: string;
  /** An error: something is dropped or cannot work. A warning: valid, but probably not intended. */
  readonly severity: 'error' | 'warning';
  /** A JSON pointer (RFC 6901) to the value. */
  readonly pointer: string;
  /** Where the value (or the offending key) begins, in bytes of UTF-8 from 0. */
  readonly offset: number;
  /** From 1. */
  readonly line: number;
  /** From 1, in code points. */
  readonly column: number;
  /** One human-readable line. */
  readonly message: string;
}

/** How to decode a document. */
export interface DecodeOptions {
  /** "client" keeps only the flags and experiments that a client keeps. By default "none". */
  readonly filter?: 'none' | 'client';
}

// Applications for Node.js need not have the types of a browser.
type WasmModule = typeof globalThis extends { WebAssembly: { Module: { prototype: infer Module } } } ? Module : object;

/** The module `corvo.wasm`: its bytes, or a compiled `WebAssembly.Module`. */
export type ModuleSource = ArrayBuffer | Uint8Array | WasmModule;

/** The engine, ready for documents. `loadCorvo` creates one. Each has its own memory. */
export class Corvo {
  readonly #engine: Engine;

  private constructor(engine: Engine) {
    this.#engine = engine;
  }

  /** @internal */
  static async create(
    source: ModuleSource,
    fill: (bytes: Uint8Array<ArrayBuffer>) => void,
  ): Promise<Corvo> {
    const module =
      source instanceof WebAssembly.Module ? source : await WebAssembly.compile(source as BufferSource);
    return new Corvo(await Engine.create(module, fill));
  }

  /**
   * Decodes a configuration document, a JSON text or its bytes in UTF-8, as tolerantly as a client does.
   * Throws `requestConfigFailed` with an offset if it cannot be read. In a text, unpaired surrogates are
   * replaced with U+FFFD.
   */
  decode(document: string | Uint8Array, { filter = 'none' }: DecodeOptions = {}): Project {
    if (filter !== 'none' && filter !== 'client') {
      throw new TypeError(`there is no filter "${String(filter)}"`);
    }
    const size = this.#write(document);
    const forClient = Number(filter === 'client');
    return new Project(this.#engine, this.#engine.run(() => this.#engine.calls.corvo_decode(size, forClient)));
  }

  /** Checks a configuration document for mistakes. Accepts any text; no finding means that all is well. */
  lint(document: string | Uint8Array): Finding[] {
    const size = this.#write(document);
    this.#engine.run(() => this.#engine.calls.corvo_lint(size));
    return JSON.parse(this.#engine.text()) as Finding[];
  }

  #write(document: string | Uint8Array): number {
    if (typeof document === 'string') return this.#engine.writeText(document);
    if (document instanceof Uint8Array) return this.#engine.writeBytes(document);
    throw new TypeError('a document must be a string or a Uint8Array');
  }
}
