// Runs one row of the tables in this folder where our scripts are loaded, be it the script engine or a browser; throws
// when it comes out otherwise. A row has a name and either
//   template  rendered with data (default: an empty object) in format (default: "text"), or
//   script    an expression that may use data;
// and yields, what comes out, or throws, the text of the exception.
//
// What comes out is compared as JSON, whatever the order of its keys.
function runCase(row) {
  brivane.idCounters = {};
  var data = row.data || {};

  function run() {
    if (row.script !== undefined) {
      return new Function('data', 'return ' + row.script + ';')(data);
    }
    var format = row.format || 'text';
    ReportEngine.registerPartial('case', format, row.template);
    return ReportEngine.render('case', format, data);
  }

  function canonical(value) {
    if (!brivane.isObject(value) || brivane.isArray(value)) {
      return brivane.isArray(value) ? value.map(canonical) : value;
    }
    var sorted = {};
    Object.keys(value).sort().forEach(function (key) {
      sorted[key] = canonical(value[key]);
    });
    return sorted;
  }

  var actual;
  try {
    actual = { yields: run() };
  } catch (error) {
    actual = { 'throws': error.message };
  }
  var expected = row['throws'] === undefined ? { yields: row.yields } : { 'throws': row['throws'] };
  if (JSON.stringify(canonical(actual)) !== JSON.stringify(canonical(expected))) {
    throw new Error(row.name + ': expected ' + JSON.stringify(expected) + ', got ' + JSON.stringify(actual));
  }
}
