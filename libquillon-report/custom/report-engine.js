// The report engine proper: two instances of Handlebars, one that makes HTML and one that makes text, with the
// partials and functions that templates use, and the conversion between the two forms.
//
// Nothing here is strict code: the script engine of a text report ignores 'use strict', and a helper that is strict
// in the browser alone would see another `this` there.

// Declared here, so that asking for them is legal where there is no browser.
var document;
var window;

var ReportEngine = (function () {
  var hasOwn = Object.prototype.hasOwnProperty;
  var FORMATS = ['html', 'text'];
  var MIME_TYPES = { html: 'text/html', text: 'text/plain', all: 'text/x.brivane-template' };
  var BLOCK_ELEMENTS = ['p', 'div', 'h1', 'h2', 'h3', 'h4', 'h5', 'h6', 'ul', 'ol', 'pre'];

  // The named entities of HTML 4, and apos.
  var ENTITIES = (
    'quot=34 amp=38 apos=39 lt=60 gt=62 ' +
    'nbsp=160 iexcl=161 cent=162 pound=163 curren=164 yen=165 brvbar=166 sect=167 uml=168 copy=169 ' +
    'ordf=170 laquo=171 not=172 shy=173 reg=174 macr=175 deg=176 plusmn=177 sup2=178 sup3=179 acute=180 ' +
    'micro=181 para=182 middot=183 cedil=184 sup1=185 ordm=186 raquo=187 frac14=188 frac12=189 frac34=190 ' +
    'iquest=191 Agrave=192 Aacute=193 Acirc=194 Atilde=195 Auml=196 Aring=197 AElig=198 Ccedil=199 ' +
    'Egrave=200 Eacute=201 Ecirc=202 Euml=203 Igrave=204 Iacute=205 Icirc=206 Iuml=207 ETH=208 Ntilde=209 ' +
    'Ograve=210 Oacute=211 Ocirc=212 Otilde=213 Ouml=214 times=215 Oslash=216 Ugrave=217 Uacute=218 ' +
    'Ucirc=219 Uuml=220 Yacute=221 THORN=222 szlig=223 agrave=224 aacute=225 acirc=226 atilde=227 ' +
    'auml=228 aring=229 aelig=230 ccedil=231 egrave=232 eacute=233 ecirc=234 euml=235 igrave=236 ' +
    'iacute=237 icirc=238 iuml=239 eth=240 ntilde=241 ograve=242 oacute=243 ocirc=244 otilde=245 ouml=246 ' +
    'divide=247 oslash=248 ugrave=249 uacute=250 ucirc=251 uuml=252 yacute=253 thorn=254 yuml=255 ' +
    'OElig=338 oelig=339 Scaron=352 scaron=353 Yuml=376 fnof=402 circ=710 tilde=732 Alpha=913 Beta=914 ' +
    'Gamma=915 Delta=916 Epsilon=917 Zeta=918 Eta=919 Theta=920 Iota=921 Kappa=922 Lambda=923 Mu=924 ' +
    'Nu=925 Xi=926 Omicron=927 Pi=928 Rho=929 Sigma=931 Tau=932 Upsilon=933 Phi=934 Chi=935 Psi=936 ' +
    'Omega=937 alpha=945 beta=946 gamma=947 delta=948 epsilon=949 zeta=950 eta=951 theta=952 iota=953 ' +
    'kappa=954 lambda=955 mu=956 nu=957 xi=958 omicron=959 pi=960 rho=961 sigmaf=962 sigma=963 tau=964 ' +
    'upsilon=965 phi=966 chi=967 psi=968 omega=969 thetasym=977 upsih=978 piv=982 ensp=8194 emsp=8195 ' +
    'thinsp=8201 zwnj=8204 zwj=8205 lrm=8206 rlm=8207 ndash=8211 mdash=8212 lsquo=8216 rsquo=8217 ' +
    'sbquo=8218 ldquo=8220 rdquo=8221 bdquo=8222 dagger=8224 Dagger=8225 bull=8226 hellip=8230 ' +
    'permil=8240 prime=8242 Prime=8243 lsaquo=8249 rsaquo=8250 oline=8254 frasl=8260 euro=8364 image=8465 ' +
    'weierp=8472 real=8476 trade=8482 alefsym=8501 larr=8592 uarr=8593 rarr=8594 darr=8595 harr=8596 ' +
    'crarr=8629 lArr=8656 uArr=8657 rArr=8658 dArr=8659 hArr=8660 forall=8704 part=8706 exist=8707 ' +
    'empty=8709 nabla=8711 isin=8712 notin=8713 ni=8715 prod=8719 sum=8721 minus=8722 lowast=8727 ' +
    'radic=8730 prop=8733 infin=8734 ang=8736 and=8743 or=8744 cap=8745 cup=8746 int=8747 there4=8756 ' +
    'sim=8764 cong=8773 asymp=8776 ne=8800 equiv=8801 le=8804 ge=8805 sub=8834 sup=8835 nsub=8836 ' +
    'sube=8838 supe=8839 oplus=8853 otimes=8855 perp=8869 sdot=8901 lceil=8968 rceil=8969 lfloor=8970 ' +
    'rfloor=8971 lang=9001 rang=9002 loz=9674 spades=9824 clubs=9827 hearts=9829 diams=9830'
  ).split(' ').reduce(function (table, entry) {
    var pair = entry.split('=');
    table[pair[0]] = String.fromCharCode(+pair[1]);
    return table;
  }, {});

  function check(condition, message) {
    if (!condition) {
      throw new Error(message);
    }
  }

  function checkFormat(format) {
    check(FORMATS.indexOf(format) >= 0, 'Invalid format "' + format + '"');
  }

  function isStringOrFalsy(value) {
    return !value || brivane.isString(value);
  }

  // Templates come from definitions, too. What they name is what the data holds, never what every object has from
  // birth: by way of a constructor a template could run any script.
  Handlebars.JavaScriptCompiler.prototype.nameLookup = function (parent, name) {
    // To some script engines it is an object's own.
    if (name === '__proto__') {
      return 'undefined';
    }
    var key = this.quotedString(name);
    return ['(Object.prototype.hasOwnProperty.call(', parent, ',', key, ')?', parent, '[', key, ']:undefined)'];
  };

  // ---- HTML to text

  function fromCodePoint(code) {
    if (code > 0x10ffff) {
      return '\ufffd';
    }
    if (code > 0xffff) {
      code -= 0x10000;
      return String.fromCharCode(0xd800 + (code >> 10), 0xdc00 + (code & 0x3ff));
    }
    return String.fromCharCode(code);
  }

  // An unknown name becomes the word "undefined".
  function decodeEntities(text) {
    return text
      .replace(/&([a-zA-Z0-9]+);/g, function (match, name) {
        return hasOwn.call(ENTITIES, name) ? ENTITIES[name] : 'undefined';
      })
      .replace(/&#([0-9]+);/g, function (match, digits) {
        return fromCodePoint(parseInt(digits, 10));
      })
      .replace(/&#x([0-9a-fA-F]+);/g, function (match, digits) {
        return fromCodePoint(parseInt(digits, 16));
      });
  }

  function isBreakable(c) {
    return c === ' ' || c === '\t' || (c >= '\u2000' && c <= '\u200b') || c === '\u205f' || c === '\u3000';
  }

  function wrapText(string, wrapColumn) {
    var chars = string.split('');
    var lineStart = 0;
    var breakAt = -1;
    for (var i = 0; i < chars.length; i++) {
      if (chars[i] === '\n') {
        lineStart = i + 1;
        breakAt = -1;
        continue;
      }
      if (isBreakable(chars[i])) {
        breakAt = i;
      }
      if (i - lineStart + 1 > wrapColumn && breakAt >= 0) {
        chars[breakAt] = '\n';
        lineStart = breakAt + 1;
        breakAt = -1;
      }
    }
    return chars.join('');
  }

  function textNodeToText(data, options) {
    var text = decodeEntities(data);
    if (options.collapseWhitespace) {
      text = text.replace(/[ \r\n\t]+/g, ' ');
    }
    return options.wrap ? wrapText(text, options.wrap) : text;
  }

  function endsInNewline(text) {
    return text.charAt(text.length - 1) === '\n';
  }

  function tagToText(node, text, options) {
    var isBlock = BLOCK_ELEMENTS.indexOf(node.name) >= 0;
    if (node.name === 'br') {
      text += '\n';
    } else if (isBlock && text && !endsInNewline(text)) {
      text += '\n';
    }
    text += nodesToText(node.children || [], options);
    if (node.name === 'p') {
      text += '\n\n';
    } else if (isBlock && !endsInNewline(text)) {
      text += '\n';
    }
    return text;
  }

  // Tags and text alone count, so that comments, directives, scripts and styles vanish.
  function nodesToText(nodes, options) {
    return nodes.reduce(function (text, node) {
      if (node.type === 'tag') {
        return tagToText(node, text, options);
      }
      return node.type === 'text' ? text + textNodeToText(node.data, options) : text;
    }, '');
  }

  function parseHtml(html) {
    var builder = new htmlparser.HtmlBuilder(function (error) {
      if (error) {
        throw new Error(error);
      }
    });
    new htmlparser.Parser(builder).parseComplete(html);
    return builder.dom;
  }

  // ---- The class

  function ReportEngineObject() {
    this.engines = { html: Handlebars.create(), text: Handlebars.create() };
    this.partials = { html: {}, text: {} };
    this.initFunctions = [];
    this.afterRenderFunctions = [];

    var self = this;
    this.registerHelpers(builtInHelpers(this));
    FORMATS.forEach(function (format) {
      self.engines[format].registerHelper('eval', evalHelper(self.engines[format]));
    });
    if (document) {
      document.addEventListener('DOMContentLoaded', function () {
        self.invokeInitFunctions();
      });
    }
    this.registerPartial('errorTemplate', 'text', '{{{message}}}\n\n{{#if stack}}<pre>{{{stack}}}</pre>{{/if}}');
    if (this.loadHtmlTemplates) {
      this.onInit(this.loadHtmlTemplates);
    }
  }

  ReportEngineObject.prototype.create = function () {
    return new ReportEngineObject();
  };

  ReportEngineObject.prototype.textToHtml = function (string) {
    check(brivane.isString(string), 'textToHtml expected string argument');
    return '<span style="white-space:pre-line">' + Handlebars.escapeExpression(string) + '</span>';
  };

  // options: wrap, the column to wrap at (none), and collapseWhitespace (true).
  ReportEngineObject.prototype.htmlToText = function (string, options) {
    if (brivane.isObject(string) && brivane.isFunction(string.toString)) {
      string = string.toString();
    }
    check(brivane.isString(string), 'htmlToText expected string argument');
    check(options === undefined || brivane.isObject(options), 'htmlToText options must be object');
    options = options || {};
    return nodesToText(parseHtml(string), {
      wrap: options.wrap === undefined ? false : options.wrap,
      collapseWhitespace: options.collapseWhitespace === undefined ? true : options.collapseWhitespace
    });
  };

  function compilePartial(engine, name, format, source) {
    var template = engine.engines[format].compile(source);
    engine.partials[format][name] = template;
    engine.engines[format].registerPartial(name, template);
  }

  // What is escaped in HTML must not be in text.
  function templateHtmlToText(engine, source) {
    return engine.htmlToText(source.replace(/\{\{([^>#\/{}][^{}]*?)\}\}(?!})/g, function (match, expression) {
      return expression === 'else' ? match : '{{{' + expression + '}}}';
    }));
  }

  function templateTextToHtml(engine, source) {
    return engine.textToHtml(source.replace(/\{\{\{(.*?)\}\}\}/g, '{{$1}}'));
  }

  // A partial of one format serves the other one too, converted, until that has one of its own.
  ReportEngineObject.prototype.registerPartial = function (name, format, partial) {
    check(brivane.isString(name), 'name must be a string');
    check(brivane.isString(format), 'format must be a string');
    check(brivane.isString(partial), 'partial must be a string');
    if (format === 'all') {
      compilePartial(this, name, 'html', partial);
      compilePartial(this, name, 'text', partial);
      return;
    }
    checkFormat(format);
    compilePartial(this, name, format, partial);
    if (format === 'html' && !this.hasPartial(name, 'text')) {
      compilePartial(this, name, 'text', templateHtmlToText(this, partial));
    } else if (format === 'text' && !this.hasPartial(name, 'html')) {
      compilePartial(this, name, 'html', templateTextToHtml(this, partial));
    }
  };

  ReportEngineObject.prototype.hasPartial = function (name, format) {
    check(brivane.isString(name), 'name must be a string');
    if (format === undefined) {
      return this.hasPartial(name, 'html') && this.hasPartial(name, 'text');
    }
    check(brivane.isString(format), 'format must be a string');
    return hasOwn.call(this.partials, format) && hasOwn.call(this.partials[format], name);
  };

  // fns: { all|html|text: { name: function } }. A format's own function wins over the one for all.
  ReportEngineObject.prototype.registerHelpers = function (fns) {
    check(brivane.isObject(fns), 'fns must be an object');
    var engines = this.engines;
    FORMATS.forEach(function (format) {
      engines[format].registerHelper(fns.all || {});
      engines[format].registerHelper(fns[format] || {});
    });
  };

  ReportEngineObject.prototype.render = function (templateName, format, data) {
    check(brivane.isString(templateName), 'templateName must be a string');
    check(brivane.isString(format), 'format must be a string');
    check(brivane.isObject(data), 'data must be an object');
    checkFormat(format);
    check(this.hasPartial(templateName, format), 'Invalid template "' + templateName + '" for ' + format);
    return this.partials[format][templateName](data);
  };

  if (document) {
    ReportEngineObject.prototype.onInit = function (fn) {
      check(brivane.isFunction(fn), 'fn must be a function');
      this.initFunctions.push(fn);
    };

    ReportEngineObject.prototype.afterRender = function (fn) {
      check(brivane.isFunction(fn), 'fn must be a function');
      this.afterRenderFunctions.push(fn);
    };

    ReportEngineObject.prototype.invokeInitFunctions = function (config) {
      invokeFunctions(this, this.initFunctions, config, Array.prototype.slice.call(arguments, 1));
    };

    ReportEngineObject.prototype.invokeAfterRenderFunctions = function (config) {
      invokeFunctions(this, this.afterRenderFunctions, config, Array.prototype.slice.call(arguments, 1));
    };

    // The partials of the page stand in script elements, which have done their work then.
    ReportEngineObject.prototype.loadHtmlTemplates = function () {
      var self = this;
      var scripts = Array.prototype.slice.call(document.getElementsByTagName('script'));
      scripts.forEach(function (script) {
        var format = brivane.find(['html', 'text', 'all'], function (name) {
          return MIME_TYPES[name] === script.type;
        });
        if (format && script.id && script.innerHTML) {
          self.registerPartial(script.id, format, script.innerHTML.trim());
          script.parentNode.removeChild(script);
        }
      });
    };
  }

  // A failure while the page is drawn turns it into an error page.
  function showError(engine, error, config) {
    if (!(config && config.quiet)) {
      console.error(error);
    }
    if (document.body && engine.hasPartial('errorTemplate', 'html')) {
      document.body.innerHTML
        = engine.render('errorTemplate', 'html', brivane.isObject(error) ? error : { message: String(error) });
    }
  }

  function invokeFunctions(engine, functions, config, args) {
    check(config === undefined || brivane.isObject(config), 'config must be an object');
    try {
      functions.forEach(function (fn) {
        fn.apply(engine, args);
      });
    } catch (error) {
      showError(engine, error, config);
    }
  }

  // ---- Functions for templates. Each is called with the arguments of the template and, behind them, the options of
  // Handlebars; options.fn is there when it is used as a block.

  function number(value) {
    return +value || 0;
  }

  // fn with a test of how many arguments the template gave.
  function counted(name, count, fn) {
    return function () {
      check(arguments.length === count + 1, 'invalid usage of ' + name);
      return fn.apply(this, arguments);
    };
  }

  // A function of a text that is also a block around it.
  function textFunction(name, fn) {
    return function (value) {
      var options = arguments[arguments.length - 1];
      var usage = 'invalid usage of ' + name;
      check(arguments.length <= 2, usage);
      if (options.fn) {
        check(arguments.length === 1, usage + ', no arguments should be passed when used as a block');
        return fn(options.fn(this));
      }
      check(arguments.length === 2, usage + ', an argument is required when used as a function');
      return fn(value === null || value === undefined ? '' : String(value));
    };
  }

  function trim(text) {
    return text.trim();
  }

  function condenseSpace(options) {
    check(arguments.length === 1 && options.fn, 'invalid usage of condenseSpace');
    return options.fn(this).trim().replace(/\s+/g, ' ');
  }

  function toPrecision(value, precision) {
    return isFinite(precision)
      ? number(value).toPrecision(Math.min(21, Math.max(1, +precision)))
      : number(value).toPrecision();
  }

  function anyNotNull() {
    return Array.prototype.slice.call(arguments, 0, -1).some(function (value) {
      return value !== null && value !== undefined;
    });
  }

  function increment(key, options) {
    var scope = hasOwn.call(options.hash, 'scope') ? options.hash.scope : this;
    check(brivane.isObject(scope), 'scope for increment must be an object');
    scope[key] = typeof scope[key] === 'number' ? scope[key] + 1 : 0;
  }

  function find(array, keyPath, value, resultPath) {
    check(arguments.length === 4 || arguments.length === 5, 'invalid usage of find');
    if (arguments.length === 4) {
      resultPath = undefined;
    }
    check(brivane.isArray(array), 'array parameter to find must be an array');
    check(isStringOrFalsy(keyPath), 'keyPath parameter to find must be a string or falsy');
    check(isStringOrFalsy(resultPath), 'resultPath parameter to find must be a string or falsy');
    return brivane.lookup(brivane.find(array, function (element) {
      return brivane.lookup(element, keyPath) === value;
    }), resultPath);
  }

  function lookup(object, path) {
    check(isStringOrFalsy(path), 'path for lookup must be a string or falsy value');
    return brivane.lookup(object, path);
  }

  function wrappableHtmlPath(string) {
    return new Handlebars.SafeString(brivane.replaceAll(Handlebars.escapeExpression(string), '/', '/&#x200b;'));
  }

  function builtInHelpers(engine) {
    return {
      all: {
        condenseSpace: condenseSpace,
        trim: textFunction('trim', trim),
        trimLeft: textFunction('trimLeft', function (text) {
          return text.replace(/^\s+/, '');
        }),
        toFixed: counted('toFixed', 2, function (value, precision) {
          return number(value).toFixed(number(precision));
        }),
        toPrecision: counted('toPrecision', 2, toPrecision),
        makeId: function (options) {
          return brivane.makeId(options.fn(this));
        },
        toBool: function (value) {
          return brivane.toBool(value);
        },
        greater: counted('greater', 2, function (a, b) {
          return a > b;
        }),
        less: counted('less', 2, function (a, b) {
          return a < b;
        }),
        isEqual: function (lhs, rhs) {
          return lhs === rhs;
        },
        add: counted('add', 2, function (x, y) {
          return number(x) + number(y);
        }),
        sub: counted('sub', 2, function (x, y) {
          return number(x) - number(y);
        }),
        div: counted('div', 2, function (x, y) {
          return number(x) / number(y);
        }),
        anyNotNull: anyNotNull,
        allNull: function () {
          return !anyNotNull.apply(this, arguments);
        },
        increment: counted('increment', 1, increment),
        // The text names another function; that is how it has always been.
        isOdd: counted('increment', 1, function (value) {
          return Math.abs(value) % 2 === 1;
        }),
        lookup: counted('lookup', 2, lookup),
        find: find,
        textToHtml: function (string) {
          return new Handlebars.SafeString(engine.textToHtml(string));
        },
        htmlToText: function (string, options) {
          return engine.htmlToText(string, options.hash);
        },
        isHtml: function () {
          return false;
        },
        wrappablePath: counted('wrappablePath', 1, function (string) {
          return string;
        }),
        formatToMimeType: counted('formatToMimeType', 1, function (format) {
          return hasOwn.call(MIME_TYPES, format) ? MIME_TYPES[format] : '';
        })
      },
      html: {
        isHtml: function () {
          return true;
        },
        wrappablePath: counted('wrappablePath', 1, wrappableHtmlPath)
      }
    };
  }

  // Renders template text that the data holds, as {{eval text [context] key=value...}}. The keys are written into the
  // context, where they stay.
  function evalHelper(handlebars) {
    return function (templateText, context, options) {
      check(arguments.length === 2 || arguments.length === 3, 'invalid usage of eval');
      if (arguments.length === 2) {
        options = context;
        context = this;
      }
      check(isStringOrFalsy(templateText) || brivane.isArray(templateText),
        'template text for eval must be a string or falsy');
      brivane.forEach(options.hash, function (value, key) {
        context[key] = value;
      });

      function render(text) {
        return text
          ? new Handlebars.SafeString(handlebars.compile(text)(context, { data: { root: options.data.root } }))
          : '';
      }
      return brivane.isArray(templateText) ? templateText.map(render) : render(templateText);
    };
  }

  return new ReportEngineObject();
})();
