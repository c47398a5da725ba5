// SPDX-License-Identifier: Apache-2.0

/**
 * Throws a `TypeError` for a name that is not a text.
 * @internal
 */
export function checkedName(name: string): string {
  if (typeof name !== 'string') throw new TypeError(`a name must be a text, not ${typeof name}`);
  return name;
}
