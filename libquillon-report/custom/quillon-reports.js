// What is particular to these reports: how numbers read, where a metric's value stands, bars, colours, the chart.

// Declared here, so that asking for them is legal where there is no browser.
var document;
var window;

if (!Math.fround) {
  Math.fround = function (x) {
    return Math.round(x * 1000000000) / 1000000000;
  };
}

var quillonReports = (function () {
  var NOT_SUPPORTED = 'not supported ';
  var BLACK = 'rgb(0, 0, 0)';

  var siFactors = [
    { value: Math.pow(10, 9), prefix: 'G' },
    { value: Math.pow(10, 6), prefix: 'M' },
    { value: Math.pow(10, 3), prefix: 'k' },
    { value: 1, prefix: '' }
  ];
  // "ki" in lower case is the report's own form.
  var iecFactors = [
    { value: Math.pow(2, 30), prefix: 'Gi' },
    { value: Math.pow(2, 20), prefix: 'Mi' },
    { value: Math.pow(2, 10), prefix: 'ki' },
    { value: 1, prefix: '' }
  ];
  var SYMBOL_OF_UNITS = { bytes: 'B', 'bytes/s': 'B/s' };
  var UNITS_OF_SYMBOL = { B: 'bytes', 'B/s': 'bytes/s' };

  function check(condition, message) {
    if (!condition) {
      throw new Error(message);
    }
  }

  function isMissing(value) {
    return value === null || value === undefined;
  }

  function toText(value) {
    return isMissing(value) ? '' : String(value);
  }

  // ---- Numbers

  function isNumber(value) {
    return value !== null && value !== '' && isFinite(value);
  }

  function formatNumber(num) {
    if (!isNumber(num)) {
      return NOT_SUPPORTED;
    }
    return (+num).toFixed(num >= 100 ? 0 : num >= 10 ? 1 : 2);
  }

  // Six significant digits, and no fewer characters than formatNumber.
  function formatPreciseNumber(num) {
    if (!isNumber(num)) {
      return NOT_SUPPORTED;
    }
    var precise = String((+num).toPrecision(6) / 1);
    var usual = formatNumber(num);
    return precise.length >= usual.length ? precise : usual;
  }

  function percent(value) {
    if (!isNumber(value)) {
      return NOT_SUPPORTED;
    }
    return value > 0 && value < 0.1 ? '<0.1' : (+value).toFixed(1);
  }

  function barWidth(value) {
    return isNumber(value) ? Math.min(100, +value) : '0';
  }

  // One sign shorter than a tenth of the value: the layout of the text report rests on it.
  function percentToBar(value) {
    var size = Math.max(0, +value || 0);
    var signs = Math.min(20, Math.round(size / 10)) - 1;
    return '|' + new Array(Math.max(0, signs) + 1).join('=') + (size > 0 ? '|' : '');
  }

  // ---- Units

  function chooseFactor(value, factors) {
    for (var i = 0; i < factors.length - 1; i++) {
      if (factors[i].value <= Math.abs(value)) {
        break;
      }
    }
    return factors[i];
  }

  function factorValue(value, factors) {
    return isMissing(value) ? value : value / chooseFactor(value, factors).value;
  }

  // options: symbol, units; each stands in for the other.
  function factorUnits(value, factors, options) {
    var prefix = chooseFactor(value, factors).prefix;
    if (prefix) {
      return prefix + (options.symbol || SYMBOL_OF_UNITS[options.units] || options.units || '');
    }
    return options.units || UNITS_OF_SYMBOL[options.symbol] || options.symbol || '';
  }

  function singular(word) {
    if (word.length === 1) {
      return word;
    }
    return /ses$/.test(word) ? word.slice(0, -2) : word.replace(/s$/, '');
  }

  function customUnits(value, units) {
    return value === 1 ? toText(units).split('/').map(singular).join('/') : units;
  }

  // ---- Metrics

  function metricDefinition(metricId, options) {
    return (options.data.root.metricData || {})[metricId];
  }

  function lookupMetric(metricId, options) {
    check(arguments.length === 2, 'lookupMetric requires one argument');
    var def = metricDefinition(metricId, options);
    if (!def || !def.value) {
      return undefined;
    }
    var result = brivane.lookup(options.data.root.data, def.value);
    if (brivane.isObject(result) && result.plain !== undefined) {
      result = result.plain;
    }
    // A metric of double precision.
    if (brivane.isObject(result) && result.value !== undefined) {
      result = result.value;
    }
    return result;
  }

  function lookupMetricText(name, key) {
    return function (metricId, options) {
      check(arguments.length === 2, name + ' requires one argument');
      var def = metricDefinition(metricId, options);
      return def && def[key] || '';
    };
  }

  function isVisible(ctx, options) {
    function judge(condition) {
      return brivane.isString(condition)
        ? brivane.toBool(brivane.lookup(options.data.root, condition))
        : !!condition;
    }
    if (ctx.visible !== undefined) {
      return judge(ctx.visible);
    }
    return ctx.hidden === undefined || !judge(ctx.hidden);
  }

  function finiteOrNull(value) {
    return typeof value === 'number' && isFinite(value) ? value : null;
  }

  function readStatistics(def, data) {
    var result = brivane.lookup(data, def && def.value);
    if (!brivane.isObject(result)) {
      result = { mean: result };
    }
    return {
      mean: finiteOrNull(result.mean),
      min: finiteOrNull(result.min),
      max: finiteOrNull(result.max),
      stdev: finiteOrNull(result.stdev)
    };
  }

  function percentOf(maximum, statistics) {
    var result = {};
    brivane.forEach(statistics, function (value, key) {
      result[key] = value === null ? null : 100 * value / maximum;
    });
    return result;
  }

  function addToGroup(groups, entry) {
    var group = groups[entry.group] || { maximum: 0, count: 0 };
    group.maximum = Math.max(group.maximum, entry.value.min || 0, entry.value.mean || 0, entry.value.max || 0,
      entry.maxBarValue || 0);
    group.count += 1;
    groups[entry.group] = group;
  }

  // Gives each entry of a subsection its definition, its value, and the value as a percentage of the longest bar.
  function normaliseMetrics(metrics, options) {
    var groups = {};
    brivane.forEach(metrics, function (entry) {
      entry.def = metricDefinition(entry.metricId, options);
      if (entry.metricId && !entry.def) {
        console.warn('unknown metric: ' + entry.metricId);
      }
      entry.value = readStatistics(entry.def, options.data.root.data);
      if (entry.group) {
        addToGroup(groups, entry);
      }
    });
    brivane.forEach(metrics, function (entry) {
      entry.normalisedValue = entry.value;
      if (entry.group) {
        var group = groups[entry.group];
        if (group.maximum > 0) {
          entry.normalisedValue = percentOf(group.maximum, entry.value);
        }
        entry.noBar = group.count <= 1;
      } else if (entry.maxBarValue !== undefined) {
        entry.normalisedValue = percentOf(entry.maxBarValue, entry.value);
      }
    });
    return metrics;
  }

  // ---- Text

  // fn(text, width), as a block around the text or as a function of it.
  function padding(name, fn) {
    return function (value, maxLength) {
      var options = arguments[arguments.length - 1];
      var usage = 'invalid usage of ' + name;
      check(arguments.length <= 3, usage);
      if (options.fn) {
        check(arguments.length === 2, usage + ', an argument is required when used as a block');
        maxLength = value;
        value = options.fn(this);
      } else {
        check(arguments.length === 3, usage + ', two arguments are required when used as a function');
      }
      var width = isFinite(maxLength) ? Math.max(0, Math.floor(+maxLength)) : 0;
      return fn(toText(value), width, new Array(width + 1).join(' '));
    };
  }

  function csvEscape(value) {
    var options = arguments[arguments.length - 1];
    check(arguments.length <= 2, 'invalid usage of csvEscape');
    if (options.fn) {
      check(arguments.length === 1,
        'invalid usage of csvEscape, no arguments should be passed when used as a block');
      value = options.fn(this);
    } else {
      check(arguments.length === 2,
        'invalid usage of csvEscape, an argument is required when used as a function');
    }
    var text = brivane.replaceAll(toText(value), '"', '""');
    return /[, \r\n"]/.test(text) ? '"' + text + '"' : text;
  }

  // A text as it stands between single quotes in a script, whatever it holds.
  function scriptString(text) {
    return toText(text).replace(/[\\'"<>&\u0000-\u001f\u2028\u2029]/g, function (c) {
      return '\\u' + ('000' + c.charCodeAt(0).toString(16)).slice(-4);
    });
  }

  // ---- Colours: [hue, saturation, lightness], of 360, 100 and 100

  function mergeColor(c1, c2) {
    function component(i, maximum) {
      var sum = [c1, c2].reduce(function (total, colour) {
        return total + (brivane.isArray(colour) && +colour[i] || 0);
      }, 0);
      return Math.min(maximum, Math.max(0, sum));
    }
    return [component(0, 360), component(1, 100), component(2, 100)];
  }

  function hueToChannel(p, q, t) {
    if (t < 0) {
      t += 1;
    }
    if (t > 1) {
      t -= 1;
    }
    if (t < 1 / 6) {
      return p + (q - p) * 6 * t;
    }
    if (t < 1 / 2) {
      return q;
    }
    return t < 2 / 3 ? p + (q - p) * (2 / 3 - t) * 6 : p;
  }

  function hslToRgb(h, s, l) {
    var q = l < 0.5 ? l * (1 + s) : l + s - l * s;
    var p = 2 * l - q;
    var channels = [h + 1 / 3, h, h - 1 / 3].map(function (t) {
      return Math.round(Math.fround(hueToChannel(p, q, t)) * 255);
    });
    return 'rgb(' + channels.join(', ') + ')';
  }

  function colorToRgb(color) {
    return hslToRgb(color[0] / 360, color[1] / 100, color[2] / 100);
  }

  // A name is a key, or a dotted path down a tree of colours that add up.
  function computeColor(colorData, colorName) {
    if (!colorData) {
      return BLACK;
    }
    if (brivane.isArray(colorData[colorName])) {
      return colorToRgb(colorData[colorName]);
    }
    var color = [0, 0, 0];
    var node = colorData;
    var parts = String(colorName).split('.');
    for (var i = 0; i < parts.length; i++) {
      node = brivane.isObject(node) ? node[parts[i]] : undefined;
      if (!node) {
        return BLACK;
      }
      color = mergeColor(color, brivane.isArray(node) ? node : node['default']);
    }
    return colorToRgb(color);
  }

  // A rule matches the whole class attribute: what is coloured has the colour's name as its only class.
  function makeCssColorRules(colorData, colorName, colorValue) {
    if (brivane.isArray(colorData)) {
      var color = colorToRgb(mergeColor(colorValue));
      brivane.sheet.insertRule("[class='" + colorName + "'] " + '{ color : ' + color + '; }', 0);
      brivane.sheet.insertRule(
        "[class='bar'] [class='" + colorName + "'] " + '{ background-color : ' + color + '; }', 0);
    } else if (brivane.isObject(colorData)) {
      var merged = mergeColor(colorValue, colorData['default']);
      brivane.forEach(colorData, function (value, key) {
        if (key === 'default') {
          makeCssColorRules(value, colorName, merged);
        } else {
          makeCssColorRules(value, colorName ? colorName + '.' + key : key, mergeColor(merged, value));
        }
      });
    }
  }

  function setDocumentTitleFromTemplate(context) {
    if (ReportEngine.hasPartial('titleTemplate')) {
      // The title is text: what the template escaped must not show.
      document.title = ReportEngine.htmlToText(ReportEngine.render('titleTemplate', 'html', context));
    }
  }

  return {
    formatNumber: formatNumber,
    formatPreciseNumber: formatPreciseNumber,
    siFactors: siFactors,
    iecFactors: iecFactors,
    chooseFactor: chooseFactor,
    factorValue: factorValue,
    factorUnits: factorUnits,
    mergeColor: mergeColor,
    computeColor: computeColor,
    hslToRgb: hslToRgb,
    setDocumentTitleFromTemplate: setDocumentTitleFromTemplate,
    makeCssColorRules: makeCssColorRules,
    templateHelpers: {
      number: function (num) {
        return formatNumber(num);
      },
      preciseNumber: function (num) {
        return formatPreciseNumber(num);
      },
      percent: percent,
      barWidth: barWidth,
      isVisible: isVisible,
      normaliseMetrics: normaliseMetrics,
      lookupMetric: lookupMetric,
      lookupMetricDisplayName: lookupMetricText('lookupMetricDisplayName', 'displayName'),
      lookupMetricUnits: lookupMetricText('lookupMetricUnits', 'units'),
      siValue: function (value) {
        return factorValue(value, siFactors);
      },
      iecValue: function (value) {
        return factorValue(value, iecFactors);
      },
      siUnits: function (value, options) {
        return factorUnits(value, siFactors, options.hash);
      },
      iecUnits: function (value, options) {
        return factorUnits(value, iecFactors, options.hash);
      },
      customUnits: customUnits,
      percentToBar: percentToBar,
      padLeft: padding('padLeft', function (text, width, blanks) {
        return (blanks + text).slice(text.length);
      }),
      padRight: padding('padRight', function (text, width, blanks) {
        return (text + blanks).slice(0, width);
      }),
      csvEscape: csvEscape,
      scriptString: scriptString
    }
  };
})();

if (window && window.d3) {
  // The axes of the chart are the visible rows of the summary; null when there are fewer than three.
  quillonReports.makeRadarData = function (jsonData) {
    if (!jsonData.summaryData || !jsonData.summaryData.rows) {
      return null;
    }
    var helpers = quillonReports.templateHelpers;
    var options = { data: { root: jsonData } };
    var data = [];
    var axisColors = [];
    var maxAxis = null;
    var maxValue = null;
    jsonData.summaryData.rows.forEach(function (row) {
      if (!helpers.isVisible(row, options)) {
        return;
      }
      var value = helpers.lookupMetric(row.metricId, options);
      if (maxAxis === null || value > maxValue) {
        maxValue = value || 0;
        maxAxis = data.length;
      }
      data.push({ axis: row.chartLabel || row.heading, value: value });
      axisColors.push(quillonReports.computeColor(jsonData.colorData, row.colorName));
    });

    var color = '#bb58d6';
    if (jsonData.summaryData.primaryBound) {
      var bound = brivane.lookup(jsonData.data, jsonData.summaryData.primaryBound);
      if (bound) {
        color = quillonReports.computeColor(jsonData.colorData, bound);
      }
    } else if (maxAxis !== null) {
      color = axisColors[maxAxis];
    }
    if (data.length < 3) {
      return null;
    }
    return {
      data: data,
      axisColors: axisColors,
      maxAxis: maxAxis,
      options: {
        w: 200,
        h: 200,
        factor: 0.7,
        fontSize: 16,
        radius: 0,
        opacityArea: 0.64,
        maxValue: 100,
        color: function () {
          return color;
        }
      }
    };
  };
}

if (document) {
  quillonReports.toggleMetric = function (event, id) {
    event.preventDefault();
    var element = document.getElementById(id);
    var classes = element.className.split(/\s+/);
    var shown = brivane.remove(classes, function (name) {
      return name === 'show';
    });
    if (!shown.length) {
      classes.push('show');
    }
    element.className = classes.join(' ');
  };

  // What the layout leaves unsaid to those who don't see the page, or who use it without a mouse.
  quillonReports.makeAccessible = function (jsonData) {
    function forEachElement(selector, fn) {
      Array.prototype.forEach.call(document.querySelectorAll(selector), fn);
    }

    function setAttributes(element, attributes) {
      brivane.forEach(attributes, function (value, name) {
        element.setAttribute(name, value);
      });
    }

    // The name of a metric opens the row behind its own.
    function makeButton(toggle) {
      var row = toggle.parentNode.parentNode;
      var detail = row.parentNode.rows[row.sectionRowIndex + 1].cells[0];

      function tell() {
        toggle.setAttribute('aria-expanded', /\bshow\b/.test(detail.className) ? 'true' : 'false');
      }
      toggle.setAttribute('role', 'button');
      tell();
      toggle.addEventListener('click', tell);
      toggle.addEventListener('keydown', function (event) {
        if (event.key === ' ') {
          event.preventDefault();
          toggle.click();
        }
      });
    }

    function describeChart(radarData) {
      return 'Chart: ' + radarData.data.map(function (point) {
        var percent = quillonReports.templateHelpers.percent(point.value).trim();
        return point.axis + ' ' + percent + (percent === 'not supported' ? '' : '%');
      }).join(', ');
    }

    forEachElement('#summary > .heading', function (heading) {
      setAttributes(heading, { role: 'heading', 'aria-level': '1' });
    });
    forEachElement('#logo img', function (image) {
      image.setAttribute('alt', 'Logo');
    });
    forEachElement('#time_radar svg', function (chart) {
      setAttributes(chart, { role: 'img', 'aria-label': describeChart(quillonReports.makeRadarData(jsonData)) });
    });
    forEachElement('a.toggle', makeButton);
  };
}

ReportEngine.registerHelpers({ all: quillonReports.templateHelpers });

if (ReportEngine.afterRender) {
  ReportEngine.afterRender(quillonReports.setDocumentTitleFromTemplate);

  ReportEngine.afterRender(function createColorCss(jsonData) {
    if (jsonData.colorData) {
      quillonReports.makeCssColorRules(jsonData.colorData);
    }
  });

  // Fewer than three rows end in the error page: there is no chart to draw then.
  ReportEngine.afterRender(function renderRadarChar(jsonData) {
    if (!quillonReports.makeRadarData) {
      return;
    }
    var radarData = quillonReports.makeRadarData(jsonData);
    radarData.axisColors.forEach(function (color, i) {
      brivane.sheet.insertRule('#time_radar .legend_axis' + i + '{ fill: ' + color + '}', 0);
    });
    RadarChart.draw('#time_radar', [radarData.data], radarData.options);
  });

  ReportEngine.afterRender(quillonReports.makeAccessible);
}
