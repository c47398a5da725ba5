// SPDX-License-Identifier: Apache-2.0

import { type CorvoErrorCase } from './error.js';
import { type Json } from './value.js';

/** Why a question has its answer. `docs/explain.md` of CorvoSDK lists all codes, outcomes and facts. */
export interface Explanation {
  readonly question: 'flag' | 'experiment';
  /** The name of the flag or the experiment. */
  readonly name: string;
  /** The text of the flag's value, or the name of the user's group; null if there is none. */
  readonly value: string | null;
  /** The error of the question, if it ends in one. */
  readonly error: { readonly code: CorvoErrorCase; readonly message: string } | null;
  /** In the order in which they were decided. */
  readonly steps: readonly Step[];
}

/** One decision, with the smaller decisions that it depended on. */
export interface Step {
  /** What was decided: "rule", "condition", "bucket". */
  readonly code: string;
  /** How: "holds", "found", "notReached". */
  readonly outcome: string;
  /** The inputs and results of the decision. */
  readonly facts: Readonly<Record<string, Json>>;
  readonly steps: readonly Step[];
}
