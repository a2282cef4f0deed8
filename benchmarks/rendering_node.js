// node rendering_node.js FOLDER
//
// Renders the text report as the library does, with its own scripts and templates in FOLDER, and with the document
// in report.json there. For each line that comes in it makes a fresh context, as the library makes a fresh script
// engine, and answers with a line of JSON: the milliseconds of CPU time that each stage took, and their total. Stops
// with a message if the text isn't that of report.txt.

'use strict';

const fs = require('fs');
const path = require('path');
const readline = require('readline');
const vm = require('vm');

const folder = process.argv[2];
const read = (name) => fs.readFileSync(path.join(folder, name), 'utf8');

const LIBRARIES = ['polyfill.js', 'handlebars.min-v4.0.5.js', 'htmlparser.js', 'brivane.js', 'report-engine.js'];
const names = fs.readdirSync(folder).sort();
const partials = names.filter((name) => name.endsWith('.html') && name !== 'header.html')
  .map((name) => [name, 'html'])
  .concat(names.filter((name) => name.endsWith('.txt') && name !== 'report.txt').map((name) => [name, 'text']))
  .map(([name, format]) => ({ name: name.split('.')[0], format, source: read(name) }));
const libraries = LIBRARIES.map((name) => [read(name), name]);
const helpers = read('quillon-reports.js');
const json = read('report.json');
const expected = read('report.txt');

function renderOnce() {
  const milliseconds = {};
  let last = process.cpuUsage();
  const stop = (stage) => {
    const used = process.cpuUsage(last);
    milliseconds[stage] = (used.user + used.system) / 1e3;
    last = process.cpuUsage();
  };
  const context = vm.createContext({ print: () => {} });
  stop('engine');
  libraries.forEach(([source, name]) => vm.runInContext(source, context, name));
  stop('libraries');
  context.partials = partials;
  vm.runInContext(
    'partials.forEach(function (p) { ReportEngine.registerPartial(p.name, p.format, p.source); });', context);
  stop('templates');
  vm.runInContext(helpers, context, 'quillon-reports.js');
  stop('helpers');
  context.json = json;
  const render = "ReportEngine.render('text_template', 'text', JSON.parse(json))";
  const text = vm.runInContext(render, context);
  stop('render');
  if (text !== expected) {
    console.error('rendering_node.js: this is another report than the library makes');
    process.exit(1);
  }
  milliseconds.total = Object.values(milliseconds).reduce((sum, value) => sum + value);
  vm.runInContext(render, context);
  stop('render_again');
  return milliseconds;
}

readline.createInterface({ input: process.stdin }).on('line', () => {
  process.stdout.write(JSON.stringify(renderOnce()) + '\n');
});
