// docs/definition-format.md against the reader: its examples load, and it names every element, every
// attribute and every message.

#include "definitiontest.h"

#include <QFile>
#include <QRegularExpression>
#include <QSet>

using namespace quillon::report;
using namespace definitiontest;

namespace {

QString textOf(const QString &path)
{
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    return QString::fromUtf8(file.readAll());
}

QString document()
{
    return textOf(DOCS_DIR "/definition-format.md");
}

QList<QRegularExpressionMatch> matches(const QString &pattern, const QString &text)
{
    QList<QRegularExpressionMatch> result;
    auto found
        = QRegularExpression(pattern, QRegularExpression::DotMatchesEverythingOption).globalMatch(text);
    while (found.hasNext())
        result << found.next();
    return result;
}

// An example and the remark before it, which readers of the page don't see:
//     <!-- example of a PLACE[, with METRIC METRIC...][, gives: MESSAGE] -->
// PLACE is "document", "merger", or the element that the lines stand in. The metrics are declared for it.
struct Example {
    QString place;
    QStringList metrics;
    QString message; // without the location; empty where nothing is said
    QString xml;
};

QList<Example> examples()
{
    const QString remark = QStringLiteral(
        "<!-- example of a (\\w+)(?:, with ([\\w. ]+?))?(?:, gives: ([^\\n]+?))? -->\\n```xml\\n(.*?)\\n```");
    QList<Example> result;
    for (const QRegularExpressionMatch &match : matches(remark, document())) {
        result << Example{match.captured(1), match.captured(2).split(QLatin1Char(' '), Qt::SkipEmptyParts),
            match.captured(3), match.captured(4)};
    }
    return result;
}

QByteArray declarations(const QStringList &ids)
{
    QByteArray result;
    for (const QString &id : ids)
        result += "<reportMetric id=\"" + id.toUtf8() + "\" displayName=\"x\"/>";
    return result;
}

QByteArray wrapped(const Example &example)
{
    const QByteArray xml = example.xml.toUtf8();
    const QByteArray declared = OneMetric + declarations(example.metrics);
    if (example.place == QLatin1String("reportMetrics"))
        return fullReport(declared + xml);
    if (example.place == QLatin1String("report"))
        return fullReport(declared).replace(
            QByteArray("<summary>") + OneEntry + "</summary><subsections></subsections>", xml);
    if (example.place == QLatin1String("summary"))
        return fullReport(declared, OneEntry + xml);
    if (example.place == QLatin1String("subsections"))
        return fullReport(declared, OneEntry, xml);
    if (example.place == QLatin1String("subsection"))
        return fullReport(declared, OneEntry, "<subsection id=\"s\" heading=\"S\">" + xml + "</subsection>");
    return xml;
}

// What loading it says, without the location. A "merger" is a partial report for the full one that was loaded
// last.
QString messageOf(const Example &example, QByteArray *full)
{
    QString error;
    const QByteArray xml = wrapped(example);
    if (xml.startsWith("<partialReport")) {
        Loaded base = load(example.place == QLatin1String("merger") ? *full : baseReport());
        EXPECT_TRUE(base.definition) << base.error.toStdString();
        const bool ok = append(*base.definition, xml, &error, ReportDefinition::DefaultSchemaFilename);
        EXPECT_EQ(ok, error.isEmpty());
    } else {
        const Loaded loaded = load(xml, ReportDefinition::DefaultSchemaFilename);
        EXPECT_EQ(loaded.definition != nullptr, loaded.error.isEmpty());
        error = loaded.error;
        *full = xml;
    }
    return error.remove(QRegularExpression(QStringLiteral("^Error in \\S* at line \\d+ column \\d+: ")));
}

// The texts that a source hands to tr(), as they come out at run time.
QStringList messages(const QString &source)
{
    const QString literal = QStringLiteral("\"(?:[^\"\\\\]|\\\\.)*\"");
    const QString call
        = QStringLiteral("(?:\\btr\\(|QT_TRANSLATE_NOOP\\(\\s*\"QObject\",)\\s*((?:%1\\s*)+)").arg(literal);
    QStringList result;
    for (const QRegularExpressionMatch &match : matches(call, source)) {
        QString text;
        for (const QRegularExpressionMatch &piece : matches(literal, match.captured(1)))
            text += piece.captured().mid(1, piece.capturedLength() - 2);
        result << text.replace(QLatin1String("\\\""), QLatin1String("\""))
                      .remove(QLatin1String("\\n"))
                      .trimmed();
    }
    return result;
}

} // namespace

TEST(DefinitionDocument, EveryExampleHasARemarkThatTheTestUnderstands)
{
    EXPECT_EQ(examples().size(), document().count(QLatin1String("```xml")));
    const QSet<QString> places
        = {"document", "merger", "report", "reportMetrics", "summary", "subsections", "subsection"};
    for (const Example &example : examples())
        EXPECT_TRUE(places.contains(example.place)) << example.place.toStdString();
}

TEST(DefinitionDocument, ExamplesLoadAsItSays)
{
    QByteArray full;
    for (const Example &example : examples())
        EXPECT_EQ(messageOf(example, &full), example.message) << example.xml.toStdString();
}

TEST(DefinitionDocument, NamesEveryElementAttributeAndValueOfTheSchema)
{
    const QString text = document();
    const QString schema = textOf(ReportDefinition::DefaultSchemaFilename);
    QSet<QString> names;
    for (const QRegularExpressionMatch &match :
        matches(QStringLiteral("<xs:(?:element|attribute) name=\"(\\w+)\"|<xs:enumeration value=\"(\\w+)\""),
            schema))
        names.insert(match.captured(1) + match.captured(2));
    EXPECT_GT(names.size(), 60);
    for (const QString &name : qAsConst(names)) {
        // Headings of markup stand as a range.
        const QRegularExpression heading(QStringLiteral("^h[2-5]$"));
        EXPECT_TRUE(
            heading.match(name).hasMatch() || text.contains(QLatin1Char('`') + name + QLatin1Char('`')))
            << name.toStdString();
    }
}

TEST(DefinitionDocument, ShowsEveryElementAndAttributeInAnExample)
{
    QString shown;
    for (const Example &example : examples())
        shown += example.xml + QLatin1Char('\n');
    const QString schema = textOf(ReportDefinition::DefaultSchemaFilename);
    const QString own = schema.left(schema.indexOf(QLatin1String("<xs:complexType name=\"markup\"")));
    for (const QRegularExpressionMatch &match :
        matches(QStringLiteral("<xs:(element|attribute) name=\"(\\w+)\""), own)) {
        const QString form = match.captured(1) == QLatin1String("element") ? QStringLiteral("<%1[ />]")
                                                                           : QStringLiteral("[ \\n]%1=\"");
        // An attribute of the tool's own metrics, which authors are told to leave out.
        const QString name = match.captured(2);
        EXPECT_TRUE(name == QLatin1String("brivaneMetricVersion")
            || QRegularExpression(form.arg(name)).match(shown).hasMatch())
            << name.toStdString();
    }
}

TEST(DefinitionDocument, HasEveryMessageOfTheReader)
{
    const QString text = document().remove(QLatin1Char('\\')).replace(QLatin1Char('\n'), QLatin1Char(' '));
    QStringList all;
    for (const char *source : {"reportdefinition", "reportdefinitionattributes", "reportdefinitionelements",
             "reportdefinitionloading", "reportdefinitionreader"})
        all += messages(textOf(QStringLiteral(SOURCE_DIR "/%1.cpp").arg(source)));
    EXPECT_GT(all.size(), 45);
    for (const QString &message : qAsConst(all)) {
        // Words that another message is filled with.
        if (message == QLatin1String("Full") || message == QLatin1String("Partial"))
            continue;
        EXPECT_TRUE(text.contains(message)) << message.toStdString();
    }
}
