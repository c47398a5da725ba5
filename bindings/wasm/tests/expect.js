// SPDX-License-Identifier: Apache-2.0

// Expectations for node and for a browser.

/** A value as a text that shows the type of every part. */
export function shown(value) {
  if (value instanceof Map) return `Map ${shown([...value])}`;
  if (Array.isArray(value)) return `[${value.map(shown).join(', ')}]`;
  if (typeof value === 'bigint') return `${value}n`;
  if (typeof value === 'number') return Object.is(value, -0) ? '-0' : String(value);
  if (typeof value !== 'object' || value === null) return JSON.stringify(value) ?? 'undefined';
  const members = Object.entries(value).sort(([a], [b]) => (a < b ? -1 : 1));
  return `{${members.map(([name, member]) => `${JSON.stringify(name)}: ${shown(member)}`).join(', ')}}`;
}

export function equal(actual, expected, what = '') {
  if (shown(actual) === shown(expected)) return;
  throw new Error(`${what}\n  expected ${shown(expected)}\n  found    ${shown(actual)}`);
}

/** The error that an action throws. */
export function errorOf(action) {
  try {
    action();
  } catch (error) {
    return error;
  }
  throw new Error(`no error: ${action}`);
}

/** Expects an error by its name and its case, if it has one: "CorvoError disposed", "TypeError". */
export function fails(expected, action) {
  const { name, case: which } = errorOf(action);
  equal(which === undefined ? name : `${name} ${which}`, expected, String(action));
}

/** The rows of a table of cases in `tests`: fields between bars, without surrounding blanks. */
export function tableOf(text) {
  const lines = text.split('\n').filter((line) => line !== '' && !line.startsWith('#'));
  return lines.map((line) => line.split('|').map((field) => field.trim()));
}
