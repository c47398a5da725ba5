// SPDX-License-Identifier: Apache-2.0

// Compiled, not run: what applications may write, and what the compiler must refuse.

import { type Context, type CorvoError, type Experiment, type JsonObject, loadCorvo, type Value } from '@corvo/engine';

const corvo = await loadCorvo();
const project = corvo.decode('{}', { filter: 'client' });
const context: Context = { properties: { userId: 'u', email: undefined }, now: new Date(), timeZone: 'UTC' };
const evaluation = project.evaluate(context);

export const boolean: boolean | undefined = evaluation.checkFlag('f', 'boolean');
export const integer: number = evaluation.checkFlag('f', 'integer') ?? 3;
export const bigint: bigint | undefined = evaluation.checkFlag('f', 'bigint');
export const json: JsonObject | undefined = evaluation.checkFlag('f', 'json');
export const any: Value | undefined = evaluation.flags().get('f');
export const experiment: Experiment | undefined = evaluation.experiment('e');
export const text: string = evaluation.explainFlag('f', 'text');
export const code: string | undefined = evaluation.explainFlag('f').steps[0]?.code;
export const isStop = (error: CorvoError): boolean => error.case === 'stopped';

export function briefly(): void {
  using other = corvo.decode('{}');
  other.evaluate().dispose();
}

// @ts-expect-error: no such type of values
evaluation.checkFlag('f', 'float');
// @ts-expect-error: a value may be absent
export const absent: string = evaluation.checkFlag('f', 'string');
// @ts-expect-error: a property belongs into "properties"
evaluation.reset({ userId: 'u' });
// @ts-expect-error: a property is a text
evaluation.reset({ properties: { 'custom.age': 7 } });
// @ts-expect-error: descriptions are immutable
project.flags[0]!.name = 'g';
