// The tables of tests/script in the browser, by the scripts that a page carries: the script engine gives the same
// answers to the same rows.
'use strict';

const assert = require('assert');
const fs = require('fs');
const path = require('path');
const { test } = require('node:test');
const { useBrowser, withReport } = require('./browser');

useBrowser();

const FOLDER = process.env.QUILLON_SCRIPT_TESTS;

for (const table of fs.readdirSync(FOLDER).filter((file) => file.endsWith('.json')).sort()) {
  test(table, () => withReport('compute-bound', async (page) => {
    await page.evaluate(fs.readFileSync(path.join(FOLDER, 'runner.js'), 'utf8') + '\nwindow.runCase = runCase; 0');
    const rows = JSON.parse(fs.readFileSync(path.join(FOLDER, table), 'utf8'));
    assert.ok(rows.length > 0);
    const failures = await page.evaluate((cases) => cases.map((row) => {
      try {
        window.runCase(row);
        return null;
      } catch (error) {
        return error.message;
      }
    }).filter(Boolean), rows);
    assert.deepStrictEqual(failures, []);
  }));
}
