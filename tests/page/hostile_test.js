// Texts that try to become markup or script arrive as texts.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { useBrowser, withReport, reportData } = require('./browser');

useBrowser();

async function assertQuiet(page, log, data) {
  assert.deepStrictEqual(log.errors, []);
  assert.deepStrictEqual(log.dialogs, []);
  assert.deepStrictEqual(log.requests, data.brandingData.logos.map((logo) => logo.image));
  // What the templates make, and nothing that a text brought with it.
  const foreign = await page.evaluate(() => Array.from(
    document.querySelectorAll('main script, main img:not(#logo img), main i, main svg:not(#time_radar svg), main ' +
      '[onload], main [onmouseover], main [onerror]:not(#logo img)'), (element) => element.outerHTML));
  assert.deepStrictEqual(foreign, []);
}

// Of the row of the header with that caption.
function headerText(page, caption) {
  return page.evaluate((wanted) => {
    const row = Array.from(document.querySelectorAll('#applicationDetails tr'))
      .find((candidate) => candidate.cells[0].textContent === wanted + ':');
    return row.cells[1].textContent;
  }, caption);
}

// Places where a long path may wrap and blanks at the ends count for nothing.
function plain(text) {
  return text.replace(/\u200b/g, '').trim();
}

test('what the job brings', () => withReport('hostile', async (page, log) => {
  const data = reportData('hostile');
  const details = data.data.applicationDetails;
  for (const [caption, text] of [['Command', details.commandLine], ['Machine', details.hostname],
    ['Full path', details.exePath], ['Notes', details.notes], ['Profiled ranks', details.profiledRanks]]) {
    assert.strictEqual(plain(await headerText(page, caption)), plain(text), caption);
  }
  const heading = await page.textContent('#summary .heading');
  assert.ok(heading.includes(details.exeName), heading);
  assert.ok((await page.title()).startsWith(details.exeName));
  await assertQuiet(page, log, data);
}));

test('reasons why something could not be measured', () => withReport('hostile', async (page) => {
  const shown = await page.locator('#subsections').textContent();
  for (const text of ['</script><script>alert(2)</script> {{data}} ${overview.mpi.percent} %1, "quoted"',
    '<b onmouseover="alert(3)">Not</b> permitted ]]> <!--', 'not <script>alert(4)</script>, {{energy}}',
    'first line\nsecond line\u2028third']) {
    assert.ok(shown.includes(text), text);
  }
}));

test('what a definition brings', () => withReport('hostile-names', async (page, log) => {
  const data = reportData('hostile-names');
  const metrics = Object.values(data.metricData).filter((metric) => /\.(share|rate)$/.test(metric.value));
  const rows = await page.$$eval('.subsection tr[id^=subsection-metric]', (list) => list.map((row) => {
    const [, units] = row.cells[1].querySelectorAll('span');
    return {
      name: row.cells[0].textContent.trim(),
      tooltip: row.querySelector('abbr').title,
      units: units ? units.textContent : '%',
      detail: row.nextElementSibling.cells[0].id
    };
  }));
  assert.deepStrictEqual(rows.map((row) => row.tooltip), data.subsections[0].metrics.map((entry) => entry.tooltip));
  assert.deepStrictEqual(rows.map((row) => row.detail), metrics.map((metric) => metric.displayName + ' detail'));
  assert.deepStrictEqual(rows.map((row) => row.name),
    metrics.map((metric) => metric.displayName).slice(0, 4).concat('<i>e</i>'));
  assert.deepStrictEqual(rows.map((row) => row.units), ['%', '%', '%', 'k<b>/s', '{{units}}']);
  assert.deepStrictEqual(await page.$$eval('#summary h2', (list) => list.map((heading) => heading.textContent)),
    metrics.slice(0, 3).map((metric) => metric.displayName));
  assert.deepStrictEqual(await page.$$eval('.axis text', (list) => list.map((label) => label.textContent)),
    ['<svg onload=alert(7)>', metrics[1].displayName, "it's"]);
  assert.strictEqual(await page.textContent('.subsection h2'), '</h2><img src=x onerror=alert(8)>');
  assert.strictEqual(await page.title(), 'a\'"<b>&amp; - Quillon Report');
  await assertQuiet(page, log, data);
}));

// The name stands in a script, in an attribute.
test('rows open whatever their names are', () => withReport('hostile-names', async (page, log) => {
  for (const toggle of await page.$$('a.toggle')) {
    await toggle.click();
  }
  assert.strictEqual(await page.locator('.metricDetail').count(), 5);
  assert.strictEqual(await page.locator('.metricDetail.show').count(), 5);
  await assertQuiet(page, log, reportData('hostile-names'));
}));
