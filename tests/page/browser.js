// Chromium for the tests: one browser for a file of tests, a fresh context and a record of what happens for a page.
'use strict';

const fs = require('fs');
const os = require('os');
const path = require('path');
const { pathToFileURL } = require('url');
const { after, before } = require('node:test');
const { chromium } = require('playwright-core');

const SWITCHES = ['--headless', '--no-sandbox', '--disable-gpu', '--disable-quic', '--no-first-run',
  '--disable-background-networking', '--disable-component-update', '--disable-sync'];

// Where the prepared reports lie.
const REPORTS = process.env.QUILLON_PAGE_REPORTS;
const DEFAULT_SIZE = { width: 1200, height: 900 };

let browser;
let profile;

// To be called at the top of a file of tests.
function useBrowser() {
  before(async () => {
    profile = fs.mkdtempSync(path.join(os.tmpdir(), 'quillon-page-'));
    browser = await chromium.launchPersistentContext(profile, {
      executablePath: process.env.QUILLON_CHROMIUM, headless: true, args: SWITCHES, viewport: DEFAULT_SIZE
    });
  });
  after(async () => {
    await browser.close();
    fs.rmSync(profile, { recursive: true, force: true });
  });
}

// Opens a file, calls use(page, log) and closes the page. Nothing but the file itself can be fetched. The log holds
// what a reader of the report must not meet: errors (uncaught or on the console) and dialogs; and all addresses that
// were asked for.
async function withFile(file, use, size) {
  const address = pathToFileURL(file).href;
  const log = { errors: [], dialogs: [], requests: [] };
  const page = await browser.newPage();
  try {
    page.on('pageerror', (error) => log.errors.push(String(error)));
    page.on('console', (message) => {
      // The browser reports there that an address can't be reached; which ones, log.requests tells.
      if (message.type() === 'error' && !log.requests.includes(message.location().url)) {
        log.errors.push(message.text());
      }
    });
    page.on('dialog', (dialog) => {
      log.dialogs.push(dialog.message());
      dialog.dismiss();
    });
    await page.route('**', (route) => {
      const url = route.request().url();
      if (url === address) {
        return route.continue();
      }
      log.requests.push(url);
      return route.abort();
    });
    await page.setViewportSize(size || DEFAULT_SIZE);
    await page.goto(address);
    await use(page, log);
  } finally {
    await page.close();
  }
}

function reportFile(name, suffix) {
  return path.join(REPORTS, name + '.' + suffix);
}

function withReport(name, use, size) {
  return withFile(reportFile(name, 'html'), use, size);
}

// What the report `name` says as JSON.
function reportData(name) {
  return JSON.parse(fs.readFileSync(reportFile(name, 'json'), 'utf8'));
}

// Opens the page of `name` with data of its own: change(data) alters the document that the page carries.
async function withChangedReport(name, change, use) {
  const html = fs.readFileSync(reportFile(name, 'html'), 'utf8');
  const data = reportData(name);
  change(data);
  const json = JSON.stringify(data).replace(/</g, '\\u003c');
  // The page's policy is that of its own data.
  const policy = /<meta http-equiv="Content-Security-Policy"[^>]*>/;
  const element = /(<script id="brivane-report-data" type="application\/json">).*?(<\/script>)/s;
  const folder = fs.mkdtempSync(path.join(os.tmpdir(), 'quillon-page-'));
  const file = path.join(folder, 'changed.html');
  fs.writeFileSync(file, html.replace(policy, '').replace(element, (whole, begin, end) => begin + json + end));
  try {
    await withFile(file, use);
  } finally {
    fs.rmSync(folder, { recursive: true });
  }
}

// The names of the reports of tests/data/profiles.
function profileNames() {
  return fs.readdirSync(process.env.QUILLON_PROFILES)
    .filter((file) => file.endsWith('.profile')).map((file) => path.basename(file, '.profile')).sort();
}

module.exports = { useBrowser, withReport, withChangedReport, reportData, profileNames };
