// SPDX-License-Identifier: Apache-2.0

/** Why an operation failed. The first group has the names that the errors have in C++. */
export type CorvoErrorCase =
  // A document cannot be decoded: `offset` says where. Or `details()` would repeat values of more than 64 MiB: no `offset`.
  | 'requestConfigFailed'
  | 'featureFlagNotFound'
  | 'featureFlagNoRules'
  | 'featureFlagRulesNotSatisfied'
  | 'experimentNotFound'
  | 'experimentGroupNotMatchingFeatureFlagGroup'
  | 'holdoutNotFound'
  // Only in JavaScript:
  | 'disposed' // the object has been disposed of
  | 'integerOutOfRange' // an integer that a number cannot hold exactly: ask for a bigint
  | 'textTooLong' // more than 64 Mi characters in one call
  | 'stopped' // the question reached an experiment that `Project.stops` lists
  | 'outOfMemory'; // the 4 GiB of WebAssembly, or what the system grants of them, are used up

/** The error of an operation. Arguments of a wrong type are a `TypeError` instead. */
export class CorvoError extends Error {
  override readonly name = 'CorvoError';

  /** Why, for programs. */
  readonly case: CorvoErrorCase;
  /** Where a document cannot be decoded, in bytes of UTF-8 from 0. */
  readonly offset: number | undefined;

  constructor(which: CorvoErrorCase, message: string, offset?: number, options?: ErrorOptions) {
    super(message, options);
    this.case = which;
    this.offset = offset;
  }
}
