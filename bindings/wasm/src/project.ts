// SPDX-License-Identifier: Apache-2.0

import { type Context } from './context.js';
import { type Engine } from './engine.js';
import { Evaluation } from './evaluation.js';
import { Handle, kDispose } from './handle.js';
import { Texts } from './texts.js';

/** A flag of the configuration, or one that only an experiment carries. */
export interface Flag {
  /** The name to use in questions. */
  readonly name: string;
  /** The text in the document; no answer depends on it. */
  readonly type: string;
  /** Whether conditions compare digests of values. */
  readonly isPrivate: boolean;
  /** The experiment that decides it. */
  readonly carriedBy: string | null;
  /** Only experiments have the flag, so reports omit it. */
  readonly isOnlyCarried: boolean;
}

/** A group of an experiment. */
export interface Group {
  /** As in `Experiment.groupName`. */
  readonly name: string;
  /** A human-readable name. */
  readonly label: string | null;
  /** A fraction of the experiment's users. */
  readonly weight: number;
}

/** An experiment or a holdout of the configuration. */
export interface ExperimentDescription {
  /** The name to use in questions. */
  readonly name: string;
  /** As in `Detail`. */
  readonly type: string | null;
  /** The property that is hashed. */
  readonly splitBy: 'userId' | 'deviceId' | 'profileId';
  /** A fraction of all users. */
  readonly allocation: number;
  /** The name of its layer, if it is in one. */
  readonly layer: string | null;
  /** In the configuration's order. */
  readonly groups: readonly Group[];
  /** The names of the flags that it carries. */
  readonly flags: readonly string[];
  /** The names of its parameters. */
  readonly params: readonly string[];
  /** The names it lists, even if unknown. */
  readonly holdouts: readonly string[];
  /** Whether conditions compare digests of values. */
  readonly isPrivate: boolean;
  /** Among all experiments and holdouts, from 0. */
  readonly position: number;
}

/** An experiment with inverted layer bounds. A question that reaches it fails with `stopped`. */
export interface Stop {
  /** Its name. */
  readonly experiment: string;
  /** A short, human-readable reason. */
  readonly reason: string;
}

/** An element of the document that the reader or the filter dropped. */
export interface Drop {
  /** A JSON pointer (RFC 6901) to the element. */
  readonly pointer: string;
  /** A short, human-readable reason. */
  readonly reason: string;
  /** Where it begins in the document, in bytes of UTF-8 from 0. */
  readonly offset: number;
}

interface Description {
  readonly flags: readonly Flag[];
  readonly experiments: readonly ExperimentDescription[];
  readonly holdouts: readonly ExperimentDescription[];
  readonly properties: readonly string[];
  readonly stops: readonly Stop[];
  readonly drops: readonly Drop[];
}

/** A project's configuration, decoded and prepared for questions. Immutable. `Corvo.decode` creates one. */
export class Project {
  readonly #engine: Engine;
  readonly #handle: Handle;
  readonly #texts = new Texts();
  #description: Description | undefined;

  /** @internal */
  constructor(engine: Engine, address: number) {
    this.#engine = engine;
    this.#handle = new Handle(engine, address, 'project').ownedBy(this);
  }

  /** Each name once: first the configuration's own flags in its order, then those that only experiments carry. */
  get flags(): readonly Flag[] {
    return this.#describe().flags;
  }
  /** The experiments that are not holdouts, in the configuration's order. */
  get experiments(): readonly ExperimentDescription[] {
    return this.#describe().experiments;
  }
  /** The holdouts, in the configuration's order. */
  get holdouts(): readonly ExperimentDescription[] {
    return this.#describe().holdouts;
  }
  /** The names of the properties on which answers depend. */
  get properties(): readonly string[] {
    return this.#describe().properties;
  }
  /** The experiments that fail a question which reaches them. */
  get stops(): readonly Stop[] {
    return this.#describe().stops;
  }
  /** All dropped elements, in the document's order. */
  get drops(): readonly Drop[] {
    return this.#describe().drops;
  }

  /**
   * An object that answers questions about one context. Throws a `TypeError` for a context that is not
   * one, and a `RangeError` for an unknown time zone.
   */
  evaluate(context: Context = {}): Evaluation {
    return new Evaluation(this.#engine, this.#handle, this.#texts, context);
  }

  /** Frees the memory. Evaluations remain usable. */
  dispose(): void {
    this.#handle.free();
  }
  [kDispose](): void {
    this.dispose();
  }

  // Read once, and only on request, since reports and most applications need none of it.
  #describe(): Description {
    const { address } = this.#handle;
    if (!this.#description) {
      this.#engine.run(() => this.#engine.calls.corvo_describe(address));
      this.#description = deepFreeze(JSON.parse(this.#engine.text()) as Description);
    }
    return this.#description;
  }
}

function deepFreeze<T>(value: T): T {
  if (typeof value === 'object' && value !== null) Object.values(Object.freeze(value)).forEach(deepFreeze);
  return value;
}
