// What a page has to show, worked out from the data document of its report.
'use strict';

function at(object, path) {
  return path.split('.').reduce((value, key) => (value ? value[key] : undefined), object);
}

// A number, or null for a metric that could not be measured.
function metricValue(data, metricId) {
  const found = at(data.data, data.metricData[metricId].value);
  return typeof found === 'number' ? found : null;
}

function isShown(data, item) {
  const holds = (path) => ![undefined, null, false, 0, '', 'false', '0'].includes(at(data, path));
  if (item.visible !== undefined) {
    return holds(item.visible);
  }
  return item.hidden === undefined || !holds(item.hidden);
}

function percentText(value) {
  if (value === null) {
    return 'not supported %';
  }
  return (value > 0 && value < 0.1 ? '<0.1' : value.toFixed(1)) + '%';
}

// 1234 and "B/s" as "1.23 kB/s".
function numberText(value, units, iec) {
  const scales = iec
    ? [[2 ** 30, 'Gi'], [2 ** 20, 'Mi'], [2 ** 10, 'ki'], [1, '']]
    : [[1e9, 'G'], [1e6, 'M'], [1e3, 'k'], [1, '']];
  const [factor, prefix] = scales.find(([size]) => value !== null && Math.abs(value) >= size) || scales[3];
  const words = { B: 'bytes', 'B/s': 'bytes/s' };
  const unit = prefix ? prefix + units : words[units] || units;
  if (value === null) {
    return 'not supported ' + unit;
  }
  const scaled = value / factor;
  return scaled.toFixed(scaled >= 100 ? 0 : scaled >= 10 ? 1 : 2) + ' ' + unit;
}

function summaryRows(data) {
  return data.summaryData.rows.filter((row) => isShown(data, row)).map((row) => {
    const value = metricValue(data, row.metricId);
    return {
      heading: row.heading, axis: row.chartLabel || row.heading, color: data.colorData[row.colorName], value,
      percent: value === null ? null : percentText(value), bar: value === null ? null : Math.min(100, value)
    };
  });
}

// The longest bar of an entry is its group's largest value, the value that the definition gives, or 100 percent.
function largestOf(data, section, entry) {
  if (!entry.group) {
    return entry.maxBarValue === undefined ? 100 : entry.maxBarValue;
  }
  const members = section.metrics.filter((other) => other.group === entry.group);
  const values = members.map((other) => Math.max(metricValue(data, other.metricId) || 0, other.maxBarValue || 0));
  return Math.max(...values) || 100;
}

function sectionRow(data, section, entry) {
  const definition = data.metricData[entry.metricId];
  const value = metricValue(data, entry.metricId);
  const isPercentage = entry.template === 'percentageTemplate';
  const alone = entry.group && section.metrics.filter((other) => other.group === entry.group).length === 1;
  return {
    name: entry.displayName || definition.displayName,
    value: isPercentage ? percentText(value) : numberText(value, definition.units, entry.useIEC),
    color: data.colorData[entry.colorName],
    bar: alone ? null : Math.min(100, 100 * (value || 0) / largestOf(data, section, entry))
  };
}

function sections(data) {
  return data.subsections.filter((section) => isShown(data, section)).map((section) => ({
    heading: section.heading,
    color: data.colorData[section.colorName],
    rows: section.metrics.filter((entry) => entry.metricId && entry.template && isShown(data, entry))
      .map((entry) => sectionRow(data, section, entry))
  }));
}

module.exports = { summaryRows, sections, percentText };
