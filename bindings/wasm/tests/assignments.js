// SPDX-License-Identifier: Apache-2.0

import { equal } from './expect.js';
import { contextOf, makeProject, makeUsers } from './population.js';

/** A value as `corvo assign` writes it. Integers beyond 2^53 are read as doubles there. */
function written(value) {
  if (typeof value === 'bigint') return Number(value);
  if (typeof value !== 'number' || Number.isFinite(value)) return value;
  return Number.isNaN(value) ? 'nan' : value < 0 ? '-inf' : 'inf';
}

export const tests = {
  async 'assigns 10,000 users as the command does'({ corvo, read }) {
    const answers = (await read('made/answers.jsonl')).trimEnd().split('\n').map((line) => JSON.parse(line));
    const project = corvo.decode(JSON.stringify(makeProject()), { filter: 'client' });
    const texts = project.flags.map(({ name }) => name);
    const listed = [...project.experiments, ...project.holdouts].sort((a, b) => a.position - b.position);
    const names = listed.map(({ name }) => name);
    const positions = listed.map(({ position }) => position);
    const evaluation = project.evaluate();
    const users = makeUsers(10_000);
    equal(answers.length, users.length);
    users.forEach((user, i) => {
      evaluation.reset(contextOf(user));
      const flags = Object.fromEntries([...evaluation.flags()].map(([name, value]) => [name, written(value)]));
      equal(flags, answers[i].flags, `user ${i}`);
      equal(Object.keys(flags), Object.keys(answers[i].flags), `user ${i}`);
      equal(evaluation.flagTexts([...texts.keys()]).map(({ flag }) => texts[flag]), Object.keys(flags));
      const handles = evaluation.allExperiments();
      const experiments = handles.map(({ name, groupIndex, groupName }) => ({ name, groupIndex, groupName }));
      handles.forEach((handle) => handle.dispose());
      const native = [...answers[i].experiments, ...answers[i].holdouts];
      native.sort((a, b) => names.indexOf(a.name) - names.indexOf(b.name));
      equal(experiments, native, `user ${i}`);
      const memberships = evaluation.memberships(positions).map(({ experiment, group }) =>
        `${listed.find(({ position }) => position === experiment).name}.${group}`);
      equal(memberships.sort(), experiments.map(({ name, groupIndex }) => `${name}.${groupIndex}`).sort(), `user ${i}`);
      const holdouts = answers[i].holdouts.map(({ name, groupIndex }) => `${name}.${groupIndex}`).join('|');
      equal(evaluation.holdoutsText() ?? '', holdouts, `user ${i}`);
    });
  },
};
