// The page's content security policy: what the page holds works, what somebody else put into it doesn't.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { useBrowser, withReport } = require('./browser');

useBrowser();

// What the browser says it refused, by the directive that forbade it.
function refused(log, directive) {
  return log.errors.filter((text) => text.includes('Content Security Policy') && text.includes(directive));
}

test('handlers and addresses that a definition brings do nothing', () => withReport('foreign-markup', async (page, log) => {
  const description = page.locator('#subsections .subsection > div').first();
  await description.locator('b').hover();
  await description.locator('b').click();
  await page.evaluate(() => document.getElementById('trap').click());
  assert.deepStrictEqual(log.dialogs, []);
  assert.strictEqual(await page.evaluate(() => window.foreign), undefined);
  assert.strictEqual(refused(log, 'script-src').length, log.errors.length, log.errors.join('\n'));
  assert.ok(log.errors.length >= 3, log.errors.join('\n'));
}));

test('templates that a definition brings make no functions', () => withReport('foreign-markup', async (page) => {
  assert.strictEqual(await page.locator('#subsections .subsection').last().locator('> div').first().textContent(), '[]');
  assert.strictEqual(await page.evaluate(() => window.foreign), undefined);
}));

test('pictures of the definition are shown, others are not', () => withReport('foreign-markup', async (page, log) => {
  assert.deepStrictEqual(log.requests.sort(), ['https://brivane.example/downloads/powered-by-quillon-reports-180.png',
    'https://site.example/a;b,%20c.png?size=1', 'https://site.example/picture.png'].sort());
  await page.evaluate(() => new Promise((resolve) => {
    const picture = new Image();
    picture.onerror = resolve;
    picture.src = 'https://elsewhere.example/picture.png';
  }));
  assert.strictEqual(log.requests.length, 3);
  assert.strictEqual(refused(log, 'img-src').length, 1);
}));

test('scripts reach no other place', () => withReport('hostile-names', async (page, log) => {
  const before = log.requests.length;
  assert.ok(await page.evaluate(() => fetch('https://elsewhere.example/').then(() => false, () => true)));
  await page.evaluate(() => {
    const script = document.createElement('script');
    script.textContent = 'window.foreign = true;';
    document.body.appendChild(script);
    const frame = document.createElement('iframe');
    frame.src = 'https://elsewhere.example/';
    document.body.appendChild(frame);
  });
  assert.strictEqual(await page.evaluate(() => window.foreign), undefined);
  assert.strictEqual(log.requests.length, before);
}));
