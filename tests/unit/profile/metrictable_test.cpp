// The table of metrics and their sources: sound, and told by docs/sampler.md as it is.

#include "profile/metrictable.h"

#include "qtprinters.h"

#include <QFile>
#include <QSet>
#include <QStringList>

#include <gtest/gtest.h>

namespace {

using MetricTable::Row;
using MetricTable::Source;

QString cell(const QString &text)
{
    return text.isEmpty() ? QStringLiteral(" |") : QStringLiteral(" %1 |").arg(text);
}

// The two tables of the document as they should be.
QString documented()
{
    QString text = "| metric | unit | of a | read from | how often |\n|---|---|---|---|---|\n";
    for (const Row &row : MetricTable::rows()) {
        const Source &source = MetricTable::sourceOf(row.metric.id);
        text += "|" + cell("`" + row.metric.id + "`") + cell(row.metric.units)
            + cell(row.metric.scope == Metric::PerNode ? "node" : "process") + cell(source.how)
            + cell(source.often) + "\n";
    }
    text += "\n| read from | what a user is told where it can't be |\n|---|---|\n";
    for (const Source &source : MetricTable::sources()) {
        QStringList sentences(std::begin(source.whyNot), std::end(source.whyNot));
        sentences.removeAll(QString());
        sentences.removeDuplicates();
        text += "|" + cell(source.how) + cell(sentences.join("<br>")) + "\n";
    }
    return text;
}

} // namespace

TEST(MetricTable, HasEveryIdAndEveryFigureOnce)
{
    QSet<QString> ids;
    QSet<int> figures;
    for (const Row &row : MetricTable::rows()) {
        EXPECT_FALSE(ids.contains(row.metric.id)) << qPrintable(row.metric.id);
        ids.insert(row.metric.id);
        EXPECT_FALSE(figures.contains(row.figure)) << qPrintable(row.metric.id);
        if (row.figure != MetricTable::NoFigure)
            figures.insert(row.figure);
        EXPECT_LT(row.figure, int(fern::spool::FigureCount));
    }
}

TEST(MetricTable, HasARowForEverySource)
{
    for (int i = 0; i < MetricTable::sources().size(); ++i) {
        const Source &source = MetricTable::sources()[i];
        EXPECT_EQ(int(source.id), i) << "sources stand in the order of their enumeration";
        EXPECT_FALSE(source.how.isEmpty());
        EXPECT_FALSE(source.often.isEmpty());
        EXPECT_FALSE(source.whyNot[fern::spool::SourceUnknown].isEmpty()) << qPrintable(source.how);
    }
    for (const Row &row : MetricTable::rows())
        EXPECT_EQ(MetricTable::sourceOf(row.metric.id).id, row.source) << qPrintable(row.metric.id);
    EXPECT_EQ(MetricTable::sourceOf("site.fans").id, fern::spool::SourceNone);
}

// Only these go on in sentences of the report.
TEST(MetricTable, HasReasonsThatReportsCanQuote)
{
    for (const Source &source : MetricTable::sources()) {
        for (const QString &sentence : source.whyNot) {
            EXPECT_TRUE(sentence.isEmpty() || sentence.startsWith("Requires ") || sentence.startsWith("Not "))
                << qPrintable(sentence);
            EXPECT_TRUE(sentence.isEmpty() || sentence.endsWith('.')) << qPrintable(sentence);
        }
    }
}

TEST(MetricTable, IsWhatTheManualShows)
{
    QFile manual(SAMPLER_MANUAL);
    ASSERT_TRUE(manual.open(QIODevice::ReadOnly));
    EXPECT_TRUE(QString::fromUtf8(manual.readAll()).contains(documented()))
        << "docs/sampler.md should have this:\n"
        << qPrintable(documented());
}
