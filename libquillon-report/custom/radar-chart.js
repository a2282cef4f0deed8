// A radar chart. RadarChart.draw(id, d, options): id is a selector, d an array of series, each an array of
// { axis, value }. The axes are those of the first series.
var RadarChart = (function () {
  function settings(options) {
    var cfg = {
      radius: 5,
      w: 600,
      h: 600,
      factor: 0.95,
      factorLegend: 1,
      levels: 3,
      maxValue: 0,
      radians: 2 * Math.PI,
      opacityArea: 0.5,
      color: d3.scale.category10(),
      fontSize: 10
    };
    for (var key in options) {
      if (options[key] !== undefined) {
        cfg[key] = options[key];
      }
    }
    return cfg;
  }

  function draw(id, d, options) {
    var cfg = settings(options);
    var axes = d[0].map(function (point) {
      return point.axis;
    });
    cfg.maxValue = Math.max(cfg.maxValue, d3.max(d, function (series) {
      return d3.max(series, function (point) {
        return point.value;
      });
    }) || 0);

    // Along axis i, within twice the range; the first axis points up.
    function horizontal(i, range, factor) {
      return range * (1 - factor * Math.sin(i * cfg.radians / axes.length));
    }

    function vertical(i, range, factor) {
      return range * (1 - factor * Math.cos(i * cfg.radians / axes.length));
    }

    d3.select(id).select('svg').remove();
    var g = d3.select(id).append('svg').attr('width', cfg.w).attr('height', cfg.h).append('g');

    drawRings(g, cfg, axes, horizontal, vertical);
    drawAxes(g, cfg, axes, horizontal, vertical);

    var places = d.map(function (series) {
      return series.map(function (point, i) {
        var value = Math.max(point.value, 0) || 0;
        var factor = value / cfg.maxValue * cfg.factor;
        return {
          axis: point.axis,
          value: value,
          x: horizontal(i, cfg.w / 2, factor),
          y: vertical(i, cfg.h / 2, factor)
        };
      });
    });
    drawSeries(g, cfg, places);
  }

  function drawRings(g, cfg, axes, horizontal, vertical) {
    var radius = cfg.factor * Math.min(cfg.w / 2, cfg.h / 2);
    for (var j = 0; j < cfg.levels; j++) {
      drawRing(g, cfg, axes, horizontal, vertical, radius * (j + 1) / cfg.levels);
    }
  }

  function drawRing(g, cfg, axes, horizontal, vertical, range) {
    axes.forEach(function (axis, i) {
      g.append('line')
        .attr('x1', horizontal(i, range, 1))
        .attr('y1', vertical(i, range, 1))
        .attr('x2', horizontal(i + 1, range, 1))
        .attr('y2', vertical(i + 1, range, 1))
        .attr('class', 'line')
        .style('stroke', 'grey')
        .style('stroke-width', '0.5px')
        .attr('transform', 'translate(' + (cfg.w / 2 - range) + ', ' + (cfg.h / 2 - range) + ')');
    });
  }

  function drawAxes(g, cfg, axes, horizontal, vertical) {
    var axis = g.selectAll('.axis').data(axes).enter().append('g').attr('class', 'axis');
    axis.append('line')
      .attr('x1', cfg.w / 2)
      .attr('y1', cfg.h / 2)
      .attr('x2', function (name, i) {
        return horizontal(i, cfg.w / 2, cfg.factor);
      })
      .attr('y2', function (name, i) {
        return vertical(i, cfg.h / 2, cfg.factor);
      })
      .attr('class', 'line')
      .style('stroke', 'grey')
      .style('stroke-width', '1px');
    axis.append('text')
      .attr('class', function (name, i) {
        return 'legend_axis' + i;
      })
      .text(function (name) {
        return name;
      })
      .style('font-size', cfg.fontSize + 'px')
      .style('text-anchor', function (name, i) {
        var p = horizontal(i, 0.5, 1);
        return p < 0.4 ? 'start' : p > 0.6 ? 'end' : 'middle';
      })
      .attr('transform', function (name, i) {
        var p = vertical(i, cfg.h / 2, cfg.factorLegend);
        return p < cfg.fontSize ? 'translate(0, ' + (cfg.fontSize - p) + ')' : null;
      })
      .attr('x', function (name, i) {
        return horizontal(i, cfg.w / 2, cfg.factorLegend);
      })
      .attr('y', function (name, i) {
        return vertical(i, cfg.h / 2, cfg.factorLegend);
      });
  }

  function drawSeries(g, cfg, places) {
    function raise(polygon) {
      g.selectAll('polygon').transition(200).style('fill-opacity', 0.1);
      g.selectAll(polygon).transition(200).style('fill-opacity', 0.7);
    }

    function restore() {
      g.selectAll('polygon').transition(200).style('fill-opacity', cfg.opacityArea);
    }

    places.forEach(function (points, series) {
      var name = 'radar-chart-serie' + series;
      g.append('polygon')
        .attr('class', name)
        .style('stroke-width', '2px')
        .style('stroke', cfg.color(series))
        .style('fill', cfg.color(series))
        .style('fill-opacity', cfg.opacityArea)
        .attr('points', points.map(function (point) {
          return point.x + ',' + point.y;
        }).join(' '))
        .on('mouseover', function () {
          raise('polygon.' + name);
        })
        .on('mouseout', restore);
    });

    var tooltip = g.append('text').style('opacity', 0).style('font-family', 'sans-serif').style('font-size', '13px');
    places.forEach(function (points, series) {
      var name = 'radar-chart-serie' + series;
      g.selectAll('.nodes').data(points).enter().append('circle')
        .attr('class', name)
        .attr('r', cfg.radius)
        .attr('alt', function (point) {
          return point.value;
        })
        .attr('cx', function (point) {
          return point.x;
        })
        .attr('cy', function (point) {
          return point.y;
        })
        .attr('data-id', function (point) {
          return point.axis;
        })
        .style('fill', cfg.color(series))
        .style('fill-opacity', 0.9)
        .on('mouseover', function (point) {
          tooltip.attr('x', point.x - 10).attr('y', point.y - 5).text(point.value)
            .transition(200).style('opacity', 1);
          raise('polygon.' + name);
        })
        .on('mouseout', function () {
          tooltip.transition(200).style('opacity', 0);
          restore();
        })
        .append('title')
        .text(function (point) {
          return point.value;
        });
    });
  }

  return { draw: draw };
})();
