// Rows with more information open and close; a report without a chart shows an error; a changed report still draws.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { useBrowser, withReport, withChangedReport, reportData, profileNames } = require('./browser');

useBrowser();

// The detail row of the first metric that has one: its toggle, its cell, and whether a reader sees what is in it.
async function firstDetail(page) {
  const toggle = page.locator('a.toggle').first();
  const cell = page.locator('.metricDetail').nth(
    await toggle.evaluate((element) => Array.from(document.querySelectorAll('.metricDetail'))
      .indexOf(element.closest('tr').nextElementSibling.cells[0])));
  return { toggle, cell, isOpen: () => cell.evaluate((element) => /\bshow\b/.test(element.className)) };
}

async function assertState(detail, open) {
  assert.strictEqual(await detail.isOpen(), open);
  assert.strictEqual(await detail.toggle.getAttribute('aria-expanded'), String(open));
  const content = detail.cell.locator('> div');
  await content.waitFor({ state: open ? 'visible' : 'hidden', timeout: 5000 });
}

// Minimum, maximum and deviation, which the page shows where a value has them.
function withRanges(data) {
  data.data.cpu.scalarNumPercent = { mean: 40, min: 25, max: 75, stdev: 5 };
}

test('by mouse', () => withReport('hostile-names', async (page) => {
  const detail = await firstDetail(page);
  await assertState(detail, false);
  await detail.toggle.click();
  await assertState(detail, true);
  await detail.toggle.click();
  await assertState(detail, false);
}));

for (const key of ['Enter', 'Space']) {
  test('by keyboard: ' + key, () => withReport('hostile-names', async (page) => {
    const detail = await firstDetail(page);
    const isFocused = () => detail.toggle.evaluate((element) => element === document.activeElement);
    for (let presses = 0; !(await isFocused()); presses++) {
      assert.ok(presses < 10, 'the tabulator key reaches the row');
      await page.keyboard.press('Tab');
    }
    assert.strictEqual(await detail.toggle.getAttribute('role'), 'button');
    await page.keyboard.press(key);
    await assertState(detail, true);
    await page.keyboard.press(key);
    await assertState(detail, false);
    assert.strictEqual(await page.evaluate(() => window.scrollY), 0);
  }));
}

test('closed rows are out of reach of the keyboard', () => withChangedReport('hostile-names', (data) => {
  data.subsections[0].metrics[0].descriptionHtmlTemplate = '<a href="#" id="inner">inner</a>';
}, async (page) => {
  assert.strictEqual(await page.locator('#inner').evaluate((link) => {
    link.focus();
    return document.activeElement === link;
  }), false);
}));

for (const name of profileNames()) {
  test('every row with more information opens and closes: ' + name, () => withReport(name, async (page) => {
    const toggles = await page.$$eval('a.toggle', (list) => list.map((toggle) => {
      const isOpen = () => /\bshow\b/.test(toggle.closest('tr').nextElementSibling.cells[0].className);
      const states = [isOpen()];
      for (let i = 0; i < 2; i++) {
        toggle.click();
        states.push(isOpen());
      }
      return states;
    }));
    assert.ok(toggles.length > 0);
    toggles.forEach((states) => assert.deepStrictEqual(states, [false, true, false]));
  }));
}

test('ranges are drawn into bars and listed in the row', () => withChangedReport('io-bound', withRanges,
  async (page, log) => {
    const row = page.locator('#subsection-metric-scalararithmetic');
    const box = await row.locator('.bar').boundingBox();
    const ticks = await row.locator('.barBox').evaluateAll((list) => list.map((tick) => {
      const rectangle = tick.getBoundingClientRect();
      return [rectangle.left, rectangle.width];
    }));
    // A tick is moved to the left by the width of its own stroke.
    const expected = [[25, 1], [75, 1], [25, 25]];
    ticks.forEach(([left, width], i) => {
      assert.ok(Math.abs(left - (box.x + box.width * expected[i][0] / 100 - 1)) < 1, `tick ${i} at ${left - box.x}`);
      assert.ok(Math.abs(width - expected[i][1]) < 0.5, `tick ${i} is ${width} wide`);
    });
    await row.locator('a.toggle').click();
    const table = page.locator('[id="Scalar arithmetic detail"] table');
    await table.waitFor({ state: 'visible' });
    assert.deepStrictEqual((await table.innerText()).split('\n').map((line) => line.trim().replace(/\s+/g, ' ')),
      ['Min 25.0% Rank on', 'Mean 40.0%', 'Max 75.0% Rank on', 'S.D. 5.0%']);
    assert.deepStrictEqual(log.errors, []);
  }));

test('fewer than three rows in the summary end in the error page', () => withReport('two-rows', async (page, log) => {
  assert.strictEqual(await page.locator('#content').count(), 0);
  const text = await page.innerText('body');
  assert.ok(/TypeError|Cannot read properties of null/.test(text), text);
  assert.strictEqual(log.errors.length, 1);
  assert.deepStrictEqual(log.dialogs, []);
}));

test('so do three rows of which one is hidden', () => withChangedReport('compute-bound', (data) => {
  data.summaryData.rows[1].visible = 'data.applicationDetails.nothing';
}, async (page) => {
  assert.strictEqual(await page.locator('#content').count(), 0);
}));

test('a row that can not be seen has no axis', () => withChangedReport('compute-bound', (data) => {
  data.summaryData.rows.push(Object.assign({}, data.summaryData.rows[0], { heading: 'Fourth' }));
  data.summaryData.rows[1].hidden = 'data.applicationDetails.exeName';
}, async (page) => {
  const axes = await page.$$eval('.axis text', (list) => list.map((label) => label.textContent));
  assert.deepStrictEqual(axes, ['CPU', 'I/O', 'CPU']);
  assert.deepStrictEqual(await page.$$eval('#summary h2', (list) => list.map((heading) => heading.textContent)),
    ['Compute', 'I/O', 'Fourth']);
}));

test('a value above 100 % stretches the chart', () => withChangedReport('compute-bound', (data) => {
  data.data.overview.cpu.percent = 200;
  data.data.overview.mpi.percent = 100;
}, async (page) => {
  const points = await page.getAttribute('#time_radar polygon', 'points');
  const distances = points.split(' ').map((point) => {
    const [x, y] = point.split(',').map(Number);
    return Math.round(Math.hypot(x - 100, y - 100));
  });
  assert.deepStrictEqual(distances.slice(0, 2), [70, 35]);
}));

test('a customer\'s logo comes with a credit', () => withChangedReport('compute-bound', (data) => {
  const [ours] = data.brandingData.logos;
  data.brandingData.logos.unshift({ image: 'https://customer.example/logo.png', height: 150 });
  ours.height = 30;
}, async (page, log) => {
  assert.deepStrictEqual(log.requests,
    ['https://customer.example/logo.png', reportData('compute-bound').brandingData.logos[0].image]);
  const heights = await page.$$eval('#logo img', (list) => list.map((image) => image.height));
  assert.strictEqual(heights[1], 30);
}));
