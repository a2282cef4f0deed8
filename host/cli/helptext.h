#ifndef HOST_CLI_HELPTEXT_H
#define HOST_CLI_HELPTEXT_H

#include "cli/baseargparser.h"

// Breaks `text` between words so that no line is wider than `width` columns, unless a single word is.
// Line feeds in the text stay; a line's own indentation is kept, and its continuations get `hanging`
// columns more.
QString wrapText(const QString &text, int width, int hanging = 0);

// The help of a program: `prologue`, the shown ones of `options` as a table, `examples`, `epilogue`, in
// lines of at most 80 columns.
QString formatHelp(const QString &prologue, const QList<BaseArgParser::Option> &options,
    const QList<BaseArgParser::Example> &examples, const QString &epilogue);

#endif
