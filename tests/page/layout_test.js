// The page for everybody and everywhere: readers of screens, narrow windows, paper.
'use strict';

const assert = require('assert');
const { test } = require('node:test');
const { useBrowser, withReport, withChangedReport, reportData, profileNames } = require('./browser');
const report = require('./report');

useBrowser();

// ---- Structure

test('a language, a size, one main landmark, and headings in order', () => withReport('openmp', async (page) => {
  assert.strictEqual(await page.getAttribute('html', 'lang'), 'en');
  assert.match(await page.getAttribute('meta[name=viewport]', 'content'), /width=device-width/);
  assert.strictEqual(await page.locator('main').count(), 1);
  const headings = await page.$$eval('h1, h2, h3, [role=heading]', (list) => list.map((heading) =>
    [+(heading.getAttribute('aria-level') || heading.localName[1]), heading.textContent.trim()]));
  const data = reportData('openmp');
  assert.deepStrictEqual(headings.map(([level]) => level), headings.map((heading, i) => (i === 0 ? 1 : 2)));
  assert.deepStrictEqual(headings.slice(1).map(([, text]) => text),
    report.summaryRows(data).concat(report.sections(data)).map((part) => part.heading));
}));

for (const name of ['compute-bound', 'missing']) {
  test('the chart says in words what it draws: ' + name, () => withReport(name, async (page) => {
    const chart = page.locator('#time_radar svg');
    assert.strictEqual(await chart.getAttribute('role'), 'img');
    const expected = report.summaryRows(reportData(name))
      .map((row) => row.axis + ' ' + report.percentText(row.value).replace('supported %', 'supported'));
    assert.strictEqual(await chart.getAttribute('aria-label'), 'Chart: ' + expected.join(', '));
  }));
}

test('pictures have a text', () => withReport('compute-bound', async (page) => {
  const texts = await page.$$eval('img', (list) => list.map((image) => image.alt));
  assert.ok(texts.length > 0 && texts.every(Boolean), texts.join());
}));

test('ids are there once', () => withReport('accelerators', async (page) => {
  const ids = await page.$$eval('[id]:not([id=""])', (list) => list.map((element) => element.id));
  assert.deepStrictEqual(ids.filter((id, i) => ids.indexOf(id) !== i), []);
}));

// ---- Contrast: 4.5 to 1, or 3 to 1 for large letters (WCAG 2, success criterion 1.4.3). Captions of the header are
// pale by design.

function readTexts() {
  function background(element) {
    for (let node = element; node; node = node.parentElement) {
      const color = getComputedStyle(node).backgroundColor;
      if (!/, 0\)$|transparent/.test(color)) {
        return color;
      }
    }
    return 'rgb(255, 255, 255)';
  }
  const walker = document.createTreeWalker(document.body, NodeFilter.SHOW_TEXT);
  const texts = [];
  while (walker.nextNode()) {
    const element = walker.currentNode.parentElement;
    if (walker.currentNode.data.trim() && !element.closest('script, noscript, .details_key')) {
      const style = getComputedStyle(element);
      const size = parseFloat(style.fontSize);
      texts.push({
        text: walker.currentNode.data.trim(),
        color: element.closest('svg') ? style.fill : style.color,
        background: background(element),
        large: size >= 24 || (size >= 18.66 && +style.fontWeight >= 700)
      });
    }
  }
  return texts;
}

function luminance(color) {
  const [red, green, blue] = color.match(/\d+/g).slice(0, 3).map((channel) => {
    const share = channel / 255;
    return share <= 0.04045 ? share / 12.92 : ((share + 0.055) / 1.055) ** 2.4;
  });
  return 0.2126 * red + 0.7152 * green + 0.0722 * blue;
}

function contrast(one, other) {
  const [dark, light] = [luminance(one), luminance(other)].sort((a, b) => a - b);
  return (light + 0.05) / (dark + 0.05);
}

for (const name of ['accelerators', 'openmp', 'trapped-budget', 'hostile']) {
  test('text stands out from its background: ' + name, () => withReport(name, async (page) => {
    const texts = await page.evaluate(readTexts);
    assert.ok(texts.length > 50);
    const pale = texts.filter((text) => contrast(text.color, text.background) < (text.large ? 3 : 4.5));
    assert.deepStrictEqual(pale, []);
  }));
}

// ---- Narrow windows

for (const width of [400, 320]) {
  for (const name of profileNames().concat('hostile-names')) {
    test(`nothing is cut off at ${width} pixels: ${name}`, () => withReport(name, async (page) => {
      await page.$$eval('a.toggle', (list) => list.forEach((toggle) => toggle.click()));
      assert.strictEqual(await page.evaluate(() => document.documentElement.scrollWidth), width);
      // An element of its own scroll bar, or one that cuts, would hide what doesn't fit.
      const cut = await page.evaluate(() => Array.from(document.querySelectorAll('main *'))
        .filter((element) => !element.closest('.metricDetail, svg') && element.clientWidth > 0 &&
          getComputedStyle(element).overflowX !== 'visible' && element.scrollWidth > element.clientWidth)
        .map((element) => element.outerHTML.slice(0, 80)));
      assert.deepStrictEqual(cut, []);
    }, { width, height: 800 }));
  }
}

test('subsections stand two abreast on a wide window, one below the other on a narrow one', async () => {
  for (const [width, columns] of [[1200, 2], [700, 1], [400, 1]]) {
    await withReport('openmp', async (page) => {
      const lefts = await page.$$eval('.subsection', (list) =>
        list.map((section) => Math.round(section.getBoundingClientRect().left)));
      assert.strictEqual(new Set(lefts).size, columns, `${width} pixels wide`);
    }, { width, height: 900 });
  }
});

test('the page is 960 pixels wide and in the middle of a wide window', () => withReport('openmp', async (page) => {
  const content = await page.locator('#content').boundingBox();
  assert.strictEqual(content.width, 960);
  assert.strictEqual(content.x, (await page.evaluate(() => document.documentElement.clientWidth) - 960) / 2);
}));

// ---- Paper

function countPages(pdf) {
  return (pdf.toString('latin1').match(/\/Type\s*\/Page\b/g) || []).length;
}

for (const name of profileNames()) {
  const data = reportData(name);
  const hasAccelerators = data.data.applicationDetails.hasAcceleratorMetricsEnabled;
  test('a page of A4 holds the report: ' + name, { skip: hasAccelerators && 'has accelerators' },
    () => withReport(name, async (page) => {
      assert.strictEqual(countPages(await page.pdf({ format: 'A4', preferCSSPageSize: true })), 1);
    }));
}

test('what does not fit goes to a second page', () => withChangedReport('openmp', (data) => {
  data.subsections = data.subsections.concat(JSON.parse(JSON.stringify(data.subsections)));
}, async (page) => {
  assert.strictEqual(countPages(await page.pdf({ format: 'A4', preferCSSPageSize: true })), 2);
}));

test('bars are printed in their colours', () => withReport('openmp', async (page) => {
  await page.emulateMedia({ media: 'print' });
  const adjust = await page.$eval('.bar > div', (bar) => getComputedStyle(bar).printColorAdjust);
  assert.strictEqual(adjust, 'exact');
}));
