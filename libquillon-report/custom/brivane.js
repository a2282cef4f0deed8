// Small utilities that know nothing of reports.

// Declared here, so that asking for them is legal where there is no browser.
var document;
var window;

var brivane = (function () {
  var hasOwn = Object.prototype.hasOwnProperty;

  function isString(value) {
    return typeof value === 'string';
  }

  function isFunction(value) {
    return typeof value === 'function';
  }

  function isObject(value) {
    return value !== null && typeof value === 'object';
  }

  // To some script engines __proto__ is an object's own.
  function isOwn(obj, key) {
    return key !== '__proto__' && hasOwn.call(obj, key);
  }

  function isArrayLike(obj) {
    if (isString(obj) || Array.isArray(obj)) {
      return true;
    }
    return isObject(obj) && typeof obj.length === 'number' && obj.length >= 0
        && (obj.length === 0 || obj.length - 1 in obj);
  }

  // Calls visit(value, key) until it returns true.
  function walk(obj, visit) {
    var key;
    if (isArrayLike(obj)) {
      for (key = 0; key < obj.length; key++) {
        if ((isString(obj) || key in obj) && visit(obj[key], key)) {
          return;
        }
      }
    } else if (isObject(obj) || isFunction(obj)) {
      for (key in obj) {
        if (isFunction(obj) && (key === 'prototype' || key === 'length' || key === 'name')) {
          continue;
        }
        if (hasOwn.call(obj, key) && visit(obj[key], key)) {
          return;
        }
      }
    }
  }

  function forEach(obj, iterator, context) {
    if (isObject(obj) && !isArrayLike(obj) && isFunction(obj.forEach)) {
      obj.forEach(iterator, context);
    } else {
      walk(obj, function (value, key) {
        iterator.call(context, value, key, obj);
      });
    }
    return obj;
  }

  function find(obj, predicate, context) {
    var found;
    walk(obj, function (value, key) {
      if (predicate.call(context, value, key, obj)) {
        found = value;
        return true;
      }
      return false;
    });
    return found;
  }

  function replaceAll(inputStr, replaceStr, withStr) {
    return inputStr.split(replaceStr).join(withStr);
  }

  function remove(array, predicate) {
    var removed = [];
    for (var i = array.length - 1; i >= 0; i--) {
      if (predicate(array[i])) {
        removed.unshift(array[i]);
        array.splice(i, 1);
      }
    }
    return removed;
  }

  function removeCdata(s) {
    return s.replace(/<!\[CDATA\[([\s\S]*?)\]\]>/g, function (match, content) {
      return content;
    });
  }

  // The digits at the end go, so that a counter can't collide with a name that ended in one.
  function makeId(str) {
    var id = str.replace(/[^A-Za-z0-9_\-.]/g, '').toLowerCase().replace(/[0-9]+$/, '');
    if (!/^[a-z]/.test(id)) {
      id = 'x' + id;
    }
    if (hasOwn.call(brivane.idCounters, id)) {
      brivane.idCounters[id] += 1;
      return id + brivane.idCounters[id];
    }
    brivane.idCounters[id] = 1;
    return id;
  }

  function lookup(obj, path) {
    if (!path) {
      return obj;
    }
    var parts = path.split('.');
    var value = obj;
    for (var i = 0; i < parts.length && value !== undefined; i++) {
      value = isObject(value) && isOwn(value, parts[i]) ? value[parts[i]] : undefined;
    }
    return value;
  }

  function toBool(value) {
    return ['false', '0', 'null', 'undefined', 'NaN'].indexOf(value) < 0 && !!value;
  }

  return {
    isArray: Array.isArray,
    isString: isString,
    isFunction: isFunction,
    isObject: isObject,
    forEach: forEach,
    find: find,
    replaceAll: replaceAll,
    remove: remove,
    removeCdata: removeCdata,
    idCounters: {},
    makeId: makeId,
    lookup: lookup,
    toBool: toBool
  };
})();

if (document) {
  brivane.getElementJson = function (id) {
    var element = document.getElementById(id);
    return element ? JSON.parse(brivane.removeCdata(element.innerHTML)) : null;
  };

  brivane.setElementInnerHtml = function (id, html) {
    var element = document.getElementById(id);
    if (element) {
      element.innerHTML = html;
    }
  };

  // Takes the rules that are made while the page is drawn.
  brivane.sheet = (function () {
    var style = document.createElement('style');
    document.head.appendChild(style);
    return style.sheet;
  })();
}
