// What old engines lack of ECMAScript 5, and a console where there is none.

if (!Array.prototype.indexOf) {
  Array.prototype.indexOf = function (element, from) {
    var i = Math.floor(+from || 0);
    if (i < 0) {
      i = Math.max(0, this.length + i);
    }
    for (; i < this.length; i++) {
      if (i in this && this[i] === element) {
        return i;
      }
    }
    return -1;
  };
}

if (!Array.isArray) {
  Array.isArray = function (value) {
    return Object.prototype.toString.call(value) === '[object Array]';
  };
}

if (!String.prototype.trim) {
  // Nothing defines wsRegexChars, so an engine without trim stops here: none such is served.
  String.prototype.trim = (function () {
    var leading = new RegExp('^[' + wsRegexChars + ']+');
    var trailing = new RegExp('[' + wsRegexChars + ']+$');
    return function () {
      return String(this).replace(leading, '').replace(trailing, '');
    };
  })();
}

if (!Array.prototype.map) {
  Array.prototype.map = function (fn, context) {
    var result = new Array(this.length);
    for (var i = 0; i < this.length; i++) {
      if (i in this) {
        result[i] = fn.call(context, this[i], i, this);
      }
    }
    return result;
  };
}

if (typeof console === 'undefined') {
  var console = (function () {
    function describe(value) {
      if (typeof value === 'function') {
        return String(value).split('{')[0] + '{...}';
      }
      return JSON.stringify(value, null, 2);
    }

    function log() {
      print(Array.prototype.slice.call(arguments).map(describe).join(' '));
    }

    return {
      print: function () {
        print.apply(null, arguments);
      },
      log: log,
      debug: log,
      info: log,
      warn: log,
      error: log
    };
  })();
}
