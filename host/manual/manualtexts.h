#ifndef HOST_MANUAL_MANUALTEXTS_H
#define HOST_MANUAL_MANUALTEXTS_H

#include "cli/argparser.h"

#include <QString>
#include <QStringList>

// What is made of a program's table of options at build time.

// A program that has a manual.
struct Program {
    QString name;
    QString summary; // one line, for NAME
    const ArgParser *parser;
    QStringList metrics; // ids that options can name
};

// A page for man(1), in the macros of man(7).
QString manPage(const Program &program);

// Completions for the three shells: options, their values, and behind them programs and files.
QString bashCompletion(const Program &program);
QString zshCompletion(const Program &program);
QString fishCompletion(const Program &program);

// The documentation of an option up to its first pause, for a list of choices.
QString brief(const QString &documentation);

#endif
