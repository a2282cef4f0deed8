#ifndef QUILLON_REPORT_API_HTMLTOTEXT_H
#define QUILLON_REPORT_API_HTMLTOTEXT_H

#include "api/export.h"

#include <QString>

#include <limits>

namespace quillon::report {

// How a snippet of HTML becomes text. Each setter returns the object itself, so that calls can be chained.
class HtmlToTextOptions {
public:
    // The column, counted from 0, that no character of a line should reach. A value below 1 breaks at every
    // blank.
    HtmlToTextOptions &wrap(int column)
    {
        mWrapColumn = column;
        return *this;
    }
    HtmlToTextOptions &noWrap() { return wrap(std::numeric_limits<int>::max()); }
    int wrapColumn() const { return mWrapColumn; }

    // Whether a run of blanks, tabs and line ends counts as one blank.
    HtmlToTextOptions &collapseWhitespace(bool collapse)
    {
        mCollapseWhitespace = collapse;
        return *this;
    }
    bool doCollapseWhitespace() const { return mCollapseWhitespace; }

private:
    int mWrapColumn = 80;
    bool mCollapseWhitespace = true;
};

// A snippet is a small piece of HTML: bare text, or any number of elements one behind the other. It is read
// as XML, except that void elements such as br need no slash, and entities may be any of HTML 4; an unknown
// entity vanishes. Reading ends silently at the first place that isn't well-formed.

// The text of a snippet, as far as it could be read. It is wrapped at blanks only, so that a word longer than
// a line stays whole, and it isn't trimmed: each p ends with two line feeds.
QUILLON_REPORT_EXPORT QString htmlToText(const QString &html, const HtmlToTextOptions &options);

// Whether the snippet has only elements that reports know. It guards the vocabulary, not the syntax:
// attributes are not looked at, and what follows a syntax error goes unnoticed.
QUILLON_REPORT_EXPORT bool validateHtmlSnippet(const QString &html, const HtmlToTextOptions &options);

} // namespace quillon::report

#endif
