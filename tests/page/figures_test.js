// The page of every profile shows what its data document says, fetches nothing, and reads as tests/data/golden says.
'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const { test } = require('node:test');
const { useBrowser, withReport, reportData, profileNames } = require('./browser');
const report = require('./report');

useBrowser();

// Both run in the page.

function readSummary() {
  return Array.from(document.querySelectorAll('.summary_table tr'), (row) => {
    const bar = row.querySelector('.bar > div');
    return {
      heading: row.querySelector('h2').textContent,
      headingColor: getComputedStyle(row.querySelector('h2')).color,
      percent: bar && row.querySelector('.percent').textContent,
      bar: bar && bar.getBoundingClientRect().width,
      barColor: bar && getComputedStyle(bar).backgroundColor
    };
  });
}

function readSections() {
  return Array.from(document.querySelectorAll('.subsection'), (section) => ({
    heading: section.querySelector('h2').textContent,
    headingColor: getComputedStyle(section.querySelector('h2')).color,
    rows: Array.from(section.querySelectorAll('tr[id^=subsection-metric]'), (row) => {
      const bar = row.querySelector('.bar > :not(.barBox)');
      return {
        name: row.cells[0].textContent.trim(),
        value: row.cells[1].textContent.trim().replace(/\s+/g, ' '),
        valueColor: getComputedStyle(row.cells[1].querySelector('span')).color,
        bar: bar && bar.getBoundingClientRect().width,
        barColor: bar && getComputedStyle(bar).backgroundColor
      };
    })
  }));
}

function readChart() {
  const svg = document.querySelector('#time_radar svg');
  return {
    polygons: Array.from(svg.querySelectorAll('polygon'), (polygon) => ({
      color: getComputedStyle(polygon).fill,
      points: polygon.getAttribute('points').trim().split(/\s+/).map((point) => point.split(',').map(Number))
    })),
    axes: Array.from(svg.querySelectorAll('.axis'), (axis) => ({
      label: axis.querySelector('text').textContent,
      color: getComputedStyle(axis.querySelector('text')).fill
    }))
  };
}

function assertNear(actual, expected, tolerance, what) {
  assert.ok(Math.abs(actual - expected) <= tolerance, `${what}: ${actual} instead of ${expected}`);
}

// hsl: what the data document says; the browser turns it into red, green and blue by itself.
async function assertColor(page, actual, [hue, saturation, lightness], what) {
  const expected = await page.evaluate((color) => {
    const context = document.createElement('canvas').getContext('2d');
    context.fillStyle = color;
    return [1, 3, 5].map((i) => parseInt(context.fillStyle.substr(i, 2), 16));
  }, `hsl(${Math.max(0, hue)}, ${saturation}%, ${lightness}%)`);
  const channels = actual.match(/\d+/g).map(Number);
  expected.forEach((channel, i) => assertNear(channels[i], channel, 1, what + ' in ' + actual));
}

// width: of the whole track, in pixels. No bar is thinner than a pixel.
function assertBar(actual, percent, width, what) {
  assertNear(actual, Math.max(1, width * percent / 100), 0.5, what);
}

async function checkSummary(page, data) {
  const expected = report.summaryRows(data);
  const shown = await page.evaluate(readSummary);
  assert.deepStrictEqual(shown.map((row) => [row.heading, row.percent]),
    expected.map((row) => [row.heading, row.percent]));
  for (const [i, row] of shown.entries()) {
    await assertColor(page, row.headingColor, expected[i].color, row.heading);
    if (expected[i].bar !== null) {
      assertBar(row.bar, expected[i].bar, 200, 'bar of ' + row.heading);
      await assertColor(page, row.barColor, expected[i].color, 'bar of ' + row.heading);
    }
  }
}

async function checkSections(page, data) {
  const expected = report.sections(data);
  const shown = await page.evaluate(readSections);
  assert.deepStrictEqual(
    shown.map((section) => [section.heading, section.rows.map((row) => [row.name, row.value])]),
    expected.map((section) => [section.heading, section.rows.map((row) => [row.name, row.value])]));
  for (const [i, section] of shown.entries()) {
    await assertColor(page, section.headingColor, expected[i].color, section.heading);
    for (const [j, row] of section.rows.entries()) {
      const wanted = expected[i].rows[j];
      await assertColor(page, row.valueColor, wanted.color, row.name);
      if (wanted.bar === null) {
        assert.strictEqual(row.bar, null, row.name);
      } else {
        assertBar(row.bar, wanted.bar, 50, 'bar of ' + row.name);
        await assertColor(page, row.barColor, wanted.color, 'bar of ' + row.name);
      }
    }
  }
}

async function checkChart(page, data) {
  const expected = report.summaryRows(data);
  const chart = await page.evaluate(readChart);
  assert.deepStrictEqual(chart.axes.map((axis) => axis.label), expected.map((row) => row.axis));
  for (const [i, axis] of chart.axes.entries()) {
    await assertColor(page, axis.color, expected[i].color, 'axis ' + axis.label);
  }
  assert.strictEqual(chart.polygons.length, 1);
  assert.strictEqual(chart.polygons[0].points.length, expected.length);
  // The corner of a value lies as far from the middle of the chart, at 100, as the value is of 100 %.
  chart.polygons[0].points.forEach(([x, y], i) => {
    assertNear(Math.hypot(x - 100, y - 100), 70 * (expected[i].value || 0) / 100, 0.1, 'corner ' + i);
  });
  await assertColor(page, chart.polygons[0].color, data.colorData[data.data.overview.bound1.type], 'the area');
}

async function checkLogos(page, data, log) {
  const addresses = data.brandingData.logos.map((logo) => logo.image);
  assert.deepStrictEqual(log.requests, addresses);
  const images = page.locator('#logo img');
  assert.strictEqual(await images.count(), addresses.length);
  for (const [i, logo] of data.brandingData.logos.entries()) {
    const image = images.nth(i);
    await image.evaluate((element) => element.decode());
    assert.strictEqual(await image.evaluate((element) => element.src), logo.altData);
    assert.ok(await image.evaluate((element) => element.naturalWidth) > 0);
  }
}

// What the browser shows, as a file can hold it: halves of surrogate pairs have no UTF-8. Blanks at the ends of lines
// and several empty lines depend on the layout alone.
async function pageText(page) {
  const text = Buffer.from(await page.evaluate(() => document.body.innerText)).toString();
  return text.replace(/[ \t]+$/gm, '').replace(/\n{3,}/g, '\n\n').trim() + '\n';
}

// With QUILLON_PAGE_TEXTS=FOLDER the texts are written there, as scripts/accept-golden asks.
async function checkText(page, name) {
  const text = await pageText(page);
  const folder = process.env.QUILLON_PAGE_TEXTS;
  const filename = path.join(folder || process.env.QUILLON_GOLDEN, name + '.page.txt');
  if (folder) {
    fs.writeFileSync(filename, text);
  }
  assert.strictEqual(text, fs.readFileSync(filename, 'utf8'));
}

for (const name of profileNames()) {
  test(name, () => withReport(name, async (page, log) => {
    await checkText(page, name);
    const data = reportData(name);
    await checkLogos(page, data, log);
    const title = data.data.applicationDetails.exeName + ' - Quillon Report';
    assert.strictEqual(await page.title(), title.replace(/\s+/g, ' ').trim());
    await checkSummary(page, data);
    await checkSections(page, data);
    await checkChart(page, data);
    assert.deepStrictEqual(log.errors, []);
    assert.deepStrictEqual(log.dialogs, []);
  }));
}
