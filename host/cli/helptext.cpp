#include "cli/helptext.h"

namespace {

constexpr int Columns = 80;
constexpr int DocumentationColumn = 24;

QString indentation(int columns)
{
    return QString(columns, QLatin1Char(' '));
}

QString wrapLine(const QString &line, int width, int hanging)
{
    int indent = 0;
    while (indent < line.size() && line.at(indent) == QLatin1Char(' '))
        ++indent;

    QString result = indentation(indent);
    int column = indent;
    bool isFirstOfLine = true;
    const QStringList words = line.mid(indent).split(QLatin1Char(' '), Qt::SkipEmptyParts);
    for (const QString &word : words) {
        if (!isFirstOfLine && column + 1 + word.size() > width) {
            result += QLatin1Char('\n') + indentation(indent + hanging);
            column = indent + hanging;
            isFirstOfLine = true;
        }
        if (!isFirstOfLine) {
            result += QLatin1Char(' ');
            ++column;
        }
        result += word;
        column += word.size();
        isFirstOfLine = false;
    }
    return words.isEmpty() ? QString() : result;
}

// "-o, --output=FILE"
QString spelling(const BaseArgParser::Option &option)
{
    QStringList names;
    for (const QString &shortName : option.shortNames)
        names.append(BaseArgParser::hyphenate(shortName));
    names.append(BaseArgParser::hyphenate(option.name));
    QString text = names.join(QLatin1String(", "));
    if (option.shortNames.isEmpty())
        text.prepend(indentation(4)); // long names stand below each other
    if (!option.parameter.isEmpty())
        text += QLatin1Char('=') + option.parameter;
    return text;
}

QString formatOption(const BaseArgParser::Option &option)
{
    const QString names = indentation(2) + spelling(option);
    const QString margin = indentation(DocumentationColumn);
    QString documentation = wrapText(option.documentation, Columns - DocumentationColumn);
    documentation.replace(QLatin1Char('\n'), QLatin1Char('\n') + margin);
    const bool fitsBeside = names.size() + 2 <= DocumentationColumn;
    return fitsBeside ? names.leftJustified(DocumentationColumn) + documentation + QLatin1Char('\n')
                      : names + QLatin1Char('\n') + margin + documentation + QLatin1Char('\n');
}

// Usage lines continue below their arguments, all else is plain text.
QString formatPrologue(const QString &prologue)
{
    const QLatin1String usage("Usage: ");
    QStringList lines = prologue.split(QLatin1Char('\n'));
    for (QString &line : lines) {
        const int margin = line.startsWith(QLatin1Char(' ')) ? 4 : usage.size() + 4;
        const bool isUsage = line.startsWith(QLatin1Char(' ')) || line.startsWith(usage);
        line = wrapLine(line, Columns, isUsage ? margin : 0);
    }
    return lines.join(QLatin1Char('\n'));
}

} // namespace

QString wrapText(const QString &text, int width, int hanging)
{
    QStringList lines = text.split(QLatin1Char('\n'));
    for (QString &line : lines)
        line = wrapLine(line, width, hanging);
    return lines.join(QLatin1Char('\n'));
}

QString formatHelp(const QString &prologue, const QList<BaseArgParser::Option> &options,
    const QList<BaseArgParser::Example> &examples, const QString &epilogue)
{
    QString text = formatPrologue(prologue) + BaseArgParser::tr("Options:") + QLatin1Char('\n');
    for (const BaseArgParser::Option &option : options) {
        if (option.shown)
            text += formatOption(option);
    }
    if (!examples.isEmpty())
        text += QLatin1Char('\n') + BaseArgParser::tr("Examples:") + QLatin1Char('\n');
    for (const BaseArgParser::Example &example : examples) {
        text += indentation(2) + example.command + QLatin1Char('\n');
        text += wrapText(indentation(6) + example.meaning, Columns) + QLatin1Char('\n');
    }
    return text + wrapText(epilogue, Columns);
}
