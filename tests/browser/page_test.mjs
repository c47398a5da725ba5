// SPDX-License-Identifier: Apache-2.0

// Uses the page of `corvo serve` in a browser: `node page_test.mjs CHROMIUM CORVO [FOLDER]`. Writes screenshots
// to the folder, if there is one.

import assert from 'node:assert/strict';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { Served } from '../openfeature/served.mjs';
import { Page } from './browser.mjs';

const [chromium, corvo, pictures] = process.argv.slice(2);
const folder = await mkdtemp(join(tmpdir(), 'corvo-page-'));
const config = join(folder, 'config.json');

const rule = (value) => ({ is_default: true, value, conditional_statement: '-', conditions: [] });
const flag = (name, value) => ({ name, type: 'string', rules: [rule(value)] });
const plan = {
  name: 'plan', type: 'string',
  rules: [
    { is_default: false, value: 'gold', conditional_statement: 'AND',
      conditions: [{ name: 'custom.plan', condition_sign: 'equal', value: 'gold' }] },
    rule('free'),
  ],
};
const edit = (document) => writeFile(config, JSON.stringify(document));

const answerOf = (name) =>
  `[...document.querySelectorAll('.item')].find((item) => item.querySelector('.name').textContent === ${JSON.stringify(name)})` +
  `?.querySelector('.answer')?.textContent`;
const focused = 'document.activeElement.id || document.activeElement.querySelector?.(".name")?.textContent';

const tests = {
  async 'the form works by keyboard'(page, url) {
    await edit({ feature_flags: [plan] });
    await page.go(url);
    const reached = [];
    for (let i = 0; i < 5; ++i) {
      await page.press('Tab');
      reached.push(await page.evaluate(focused));
      if (reached.at(-1) === 'userId') await page.type('ann');
      if (reached.at(-1) === 'properties') await page.type('custom.plan=gold');
    }
    assert.deepEqual(reached, ['userId', 'now', 'zone', 'only', 'properties']);
    await page.press('Tab');
    await page.press('Enter');
    await page.until(`${answerOf('plan')} === '"gold"'`);
    assert.equal(await page.evaluate('userId.value + properties.value'), 'anncustom.plan=gold');
    assert.match(await page.evaluate(`document.querySelector('.decides').textContent`), /^> decides: rules: found/);
  },

  async 'edits show, and what is typed, open and focused stays'(page, url) {
    await edit({ feature_flags: [plan, flag('text', 'one')] });
    await page.go(`${url}/?userId=ann`);
    await page.evaluate(`userId.value = 'typed'; document.querySelectorAll('summary')[1].click(); document.querySelectorAll('summary')[1].focus()`);
    await edit({ feature_flags: [flag('new', 'x'), plan, flag('text', 'two')] });
    await page.until(`${answerOf('text')} === '"two"'`);
    assert.equal(await page.evaluate(answerOf('new')), '"x"');
    assert.equal(await page.evaluate('userId.value'), 'typed');
    assert.equal(await page.evaluate(focused), 'text');
    assert.equal(await page.evaluate(`document.querySelectorAll('details[open]').length`), 1);
    await page.until(`document.getElementById('renewal').textContent.startsWith('Updated')`);
    await page.evaluate('userId.focus()');
    await edit({ feature_flags: [flag('text', 'three')], experiments: {} });
    await page.until(`document.querySelector('.refusal') !== null`);
    assert.equal(await page.evaluate(focused), 'userId');
    assert.match(await page.evaluate(`findings.textContent`), /not-a-configuration/);
  },

  async 'a lost server is reported'(page, url, server) {
    await edit({ feature_flags: [plan] });
    await page.go(`${url}/?userId=ann`);
    server.process.kill('SIGSTOP');
    await server.end('SIGKILL');
    await page.until(`document.getElementById('renewal').textContent.startsWith('The server does not answer')`);
    assert.equal(await page.evaluate(answerOf('plan')), '"free"');
    page.complaints.length = 0;  // of the connection
  },

  async 'a hostile document stays text, also when it is renewed'(page, url) {
    const attack = `</style></script></textarea><script>window.hit=1</script><img src=x onerror="window.hit=1">"'` +
      `<svg onload="window.hit=1"><a href="javascript:window.hit=1">\u202e`;
    const hostile = {
      feature_flags: [flag(attack, attack), flag('long', 'x'.repeat(10_000_000)), { ...flag('b', attack), [attack]: attack }],
      experiments: [{ name: attack, salt: attack, allocation: 1, groups: [{ name: attack, label: attack, weight: 1 }] }],
    };
    const query = new URLSearchParams({ userId: attack, properties: `${attack}=${attack}`, only: '' });
    await edit({});
    await page.go(`${url}/?${query}`);
    await edit(hostile);
    for (const isRenewed of [true, false]) {
      if (!isRenewed) await page.go(`${url}/?${query}`);
      await page.until(`document.querySelectorAll('.item').length === 4`);
      assert.equal(await page.evaluate('window.hit'), undefined);
      assert.equal(await page.evaluate(`document.querySelectorAll('img, svg, a, main script, main style').length`), 0);
      assert.equal(await page.evaluate('userId.value'), attack);
      assert.ok(await page.evaluate('document.documentElement.scrollWidth <= window.innerWidth'), 'nothing sticks out');
    }
  },

  async 'it fits a phone and a desktop, light and dark, and can be read'(page, url) {
    await edit({
      feature_flags: [plan, flag('a-flag-with-a-name-that-is-much-longer-than-a-phone-is-wide', 'v'.repeat(300)), { name: 'none', type: 'boolean', rules: [] }],
      experiments: [{ name: 'page', salt: 's', allocation: 0.015, groups: [{ name: 'a', weight: 0.5 }, { name: 'b', weight: 0.5 }] }],
    });
    for (const width of [390, 1280]) {
      for (const scheme of ['light', 'dark']) {
        await page.show(width, scheme);
        await page.go(`${url}/?userId=ann&properties=x%3D1`);
        await page.evaluate(`for (const each of document.querySelectorAll('details')) each.open = true`);
        const where = `${width} ${scheme}`;
        assert.ok(await page.evaluate('document.documentElement.scrollWidth <= window.innerWidth'), where);
        assert.deepEqual(await page.evaluate(`(${tooFaint})()`), [], where);
        assert.deepEqual(await page.evaluate(`(${unnamed})()`), [], where);
        if (pictures) await writeFile(join(pictures, `${width}-${scheme}.png`), await page.screenshot());
      }
    }
  },

  async 'without scripts, the form works'(page, url) {
    await page.send('Emulation.setScriptExecutionDisabled', { value: true });
    await edit({ feature_flags: [plan] });
    await page.send('Page.navigate', { url: `${url}/?userId=ann&properties=custom.plan%3Dgold` });
    await page.until(`${answerOf('plan')} === '"gold"'`);
    assert.equal(await page.evaluate(`document.querySelector('noscript').textContent`), 'Reload the page to see edits.');
    await page.send('Emulation.setScriptExecutionDisabled', { value: false });
  },
};

/** On the page: the texts whose contrast with their ground is below 4.5 (WCAG 2.2, criterion 1.4.3). */
function tooFaint() {
  const numbers = (colour) => colour.match(/[\d.]+/g).map(Number);
  const luminance = (colour) => numbers(colour).slice(0, 3).map((each) => each / 255)
    .map((each) => (each <= 0.04045 ? each / 12.92 : ((each + 0.055) / 1.055) ** 2.4))
    .reduce((sum, each, i) => sum + each * [0.2126, 0.7152, 0.0722][i], 0);
  const groundOf = (element) => {
    const ground = getComputedStyle(element).backgroundColor;
    return numbers(ground)[3] === 0 ? groundOf(element.parentElement) : ground;
  };
  const found = [];
  for (const element of document.body.querySelectorAll('*')) {
    const hasText = [...element.childNodes].some((node) => node.nodeType === 3 && node.data.trim());
    if (!hasText || ['SCRIPT', 'NOSCRIPT'].includes(element.tagName)) continue;
    const [a, b] = [luminance(getComputedStyle(element).color), luminance(groundOf(element))];
    const contrast = (Math.max(a, b) + 0.05) / (Math.min(a, b) + 0.05);
    if (contrast < 4.5) found.push(`${element.className || element.tagName}: ${contrast.toFixed(2)}`);
  }
  return found;
}

/** On the page: the fields without a label, the regions without a name, and names of elements that occur twice. */
function unnamed() {
  const ids = [...document.querySelectorAll('[id]')].map(({ id }) => id);
  return [
    ...[...document.querySelectorAll('input, textarea')].filter(({ labels }) => labels.length !== 1).map(({ id }) => id),
    ...[...document.querySelectorAll('section')].filter((each) => !each.ariaLabel).map(({ id }) => id),
    ...ids.filter((id, i) => ids.indexOf(id) !== i),
  ];
}

let failed = 0;
const page = await Page.open(chromium);
try {
  for (const [name, test] of Object.entries(tests)) {
    await edit({});
    const server = await Served.start(corvo, { path: config }, { stderr: 'ignore' });
    try {
      await test(page, server.url, server);
      assert.deepEqual(page.complaints, []);
      console.log(`ok: ${name}`);
    } catch (error) {
      ++failed;
      console.log(`FAILED: ${name}\n${error.stack}`);
    } finally {
      page.complaints.length = 0;
      await server.end('SIGKILL');
    }
  }
} finally {
  await page.close();
  await rm(folder, { recursive: true });
}
process.exitCode = failed === 0 ? 0 : 1;
