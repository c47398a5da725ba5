// SPDX-License-Identifier: Apache-2.0

// Parts of configurations.

export function rule(isDefault, value, statement, conditions) {
  return { is_default: isDefault, value, conditional_statement: statement, conditions };
}

/** The rules of a value for everybody. */
export const always = (value) => [rule(true, value, '-', [])];
