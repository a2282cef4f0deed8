// Makes everything that the tests of this folder read: installs playwright-core into FOLDER and writes the reports of
// tests/data/profiles and of the definitions in this folder to FOLDER/reports.
//
//   node prepare.js FOLDER RENDER_GOLDEN RENDER_PAGE
'use strict';

const fs = require('fs');
const path = require('path');
const { spawnSync } = require('child_process');

function fail(sentence) {
  process.stderr.write('prepare: ' + sentence + '\n');
  process.exit(1);
}

function run(program, args, folder, sentence) {
  const result = spawnSync(program, args, { cwd: folder, encoding: 'utf8' });
  if (result.error || result.status !== 0) {
    process.stderr.write((result.stdout || '') + (result.stderr || ''));
    fail(sentence);
  }
}

// npm runs again only when the list of packages has changed since it last succeeded.
function installPackages(folder) {
  const wanted = fs.readFileSync(path.join(__dirname, 'package-lock.json'), 'utf8');
  const stamp = path.join(folder, 'installed');
  if (fs.existsSync(stamp) && fs.readFileSync(stamp, 'utf8') === wanted) {
    return;
  }
  ['package.json', 'package-lock.json', '.npmrc'].forEach((file) => {
    fs.copyFileSync(path.join(__dirname, file), path.join(folder, file));
  });
  run('npm', ['ci', '--ignore-scripts', '--no-audit', '--no-fund'], folder, "npm couldn't install playwright-core");
  fs.writeFileSync(stamp, wanted);
}

const [folder, renderGolden, renderPage] = process.argv.slice(2);
if (!fs.existsSync(process.env.QUILLON_CHROMIUM)) {
  fail('there is no Chromium at ' + process.env.QUILLON_CHROMIUM +
    ': install the package chromium, or configure with -DQUILLON_CHROMIUM=PATH');
}
const reports = path.join(folder, 'reports');
fs.rmSync(reports, { recursive: true, force: true });
fs.mkdirSync(reports, { recursive: true });
installPackages(folder);
run(renderGolden, [reports], folder, 'the reports of tests/data/profiles could not be written');
const definitions = fs.readdirSync(__dirname).filter((file) => file.endsWith('.xml'));
run(renderPage, [reports].concat(definitions.map((file) => path.join(__dirname, file))), folder,
  'the reports of tests/page could not be written');
