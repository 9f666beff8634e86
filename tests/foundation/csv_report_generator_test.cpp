#include "foundation/logs/csv_report_generator.h"

#include "platform/text/regular_expression.h"
#include "support/captured_output.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using Status = ProcessingStatus;

QString generate(const QString& folder, const QVector<QStringList>& rows, const CSVReportGenerator::Pairs& summary) {
    return CSVReportGenerator::generate(
        QStringLiteral("Interleave"),
        {{QStringLiteral("Source"), QStringLiteral("/takes")}, {QStringLiteral("Layout"), QStringLiteral("5.1, film")}},
        {QStringLiteral("Group"), QStringLiteral("Name, full")}, rows, summary, folder);
}

// The lines of a report, its date left out.
QStringList linesOf(const QString& path) {
    QStringList lines = QString::fromUtf8(testing::readAll(path)).split(u'\n');
    EXPECT_TRUE(RegularExpression(QStringLiteral("^# Date: \\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d$"))
                    .matches(lines.value(1)));
    lines[1].clear();
    return lines;
}

TEST(CSVReport, TheWholeForm) {
    const TestFolder folder;
    const QString path =
        generate(folder.path(), {{QStringLiteral("Take1"), QStringLiteral("x")}, {QStringLiteral("Take2"), QString()}},
                 {{QStringLiteral("Total"), QStringLiteral("2")}, {QStringLiteral("Errors"), QStringLiteral("0")}});
    EXPECT_EQ(linesOf(path), QStringList({QStringLiteral("# Tessarine — Interleave Report"), QString(),
                                          QStringLiteral("# Source: /takes"), QStringLiteral("# Layout: 5.1, film"),
                                          QStringLiteral("#"), QStringLiteral("Group,\"Name, full\""),
                                          QStringLiteral("Take1,x"), QStringLiteral("Take2,"), QString(),
                                          QStringLiteral("# Total: 2"), QStringLiteral("# Errors: 0")}));
}

TEST(CSVReport, TheNameHasTheOperationAndTheTimeOfTheDateLine) {
    const TestFolder folder;
    const QString path = generate(folder.path(), {}, {});
    const auto name =
        RegularExpression(
            QStringLiteral("/Tessarine_Interleave_(\\d{4}-\\d\\d-\\d\\d)T(\\d\\d)-(\\d\\d)-(\\d\\d)\\.csv$"))
            .firstMatch(path);
    ASSERT_TRUE(name) << path.toStdString();
    const QString date =
        QStringLiteral("# Date: %1 %2:%3:%4").arg(name->text(1), name->text(2), name->text(3), name->text(4));
    EXPECT_EQ(QString::fromUtf8(testing::readAll(path)).section(u'\n', 1, 1), date);
}

TEST(CSVReport, NoSummaryMeansNoBlankLineAtTheEnd) {
    const TestFolder folder;
    EXPECT_EQ(linesOf(generate(folder.path(), {{QStringLiteral("a"), QStringLiteral("b")}}, {})).last(),
              QStringLiteral("a,b"));
    EXPECT_EQ(linesOf(generate(folder.path(), {}, {})).last(), QStringLiteral("Group,\"Name, full\""));
}

TEST(CSVReport, ACommaIsQuotedADoubleQuoteDoubledALineBreakKeptInItsCell) {
    const TestFolder folder;
    const QString path = generate(folder.path(),
                                  {{QStringLiteral("Take 1, best"), QStringLiteral("the \"good\" one")},
                                   {QStringLiteral("two\nlines"), QStringLiteral("plain; 'text' 🎬")}},
                                  {});
    EXPECT_TRUE(
        testing::readAll(path).endsWith("\"Take 1, best\",\"the \"\"good\"\" one\"\n\"two\nlines\",plain; 'text' 🎬"));
}

TEST(CSVReport, ALineBreakInACommentBeginsNoRow) {
    const TestFolder folder;
    const QString path = CSVReportGenerator::generate(QStringLiteral("PolySplit"),
                                                      {{QStringLiteral("Source"), QStringLiteral("/a\nb\rc")}},
                                                      {QStringLiteral("H")}, {}, {}, folder.path());
    EXPECT_EQ(linesOf(path)[2], QStringLiteral("# Source: /a b c"));
}

TEST(CSVReport, AFailedWriteIsPrintedAndGivesNothing) {
    const TestFolder folder;
    testing::CapturedOutput output(STDOUT_FILENO);
    const QString path = generate(folder.path() + QStringLiteral("/none"), {}, {});
    const QString printed = QString::fromUtf8(output.finish());
    EXPECT_EQ(path, QString());
    EXPECT_TRUE(RegularExpression(
                    QStringLiteral("^❌ CSVReportGenerator: Failed to save Tessarine_Interleave_[0-9T-]+\\.csv: .+\n$"))
                    .matches(printed))
        << printed.toStdString();
}

TEST(CSVReport, TwoOfTheSameSecondOverwriteEachOther) {
    const TestFolder folder;
    for (int attempt = 0; attempt < 10; ++attempt) {
        const QString first = generate(folder.path(), {{QStringLiteral("first"), QString()}}, {});
        const QString second = generate(folder.path(), {{QStringLiteral("second"), QString()}}, {});
        if (first != second) continue; // the second went by in between
        EXPECT_TRUE(testing::readAll(second).endsWith("second,"));
        return;
    }
    FAIL() << "no two reports in one second";
}

TEST(CSVReport, Durations) {
    EXPECT_EQ(CSVReportGenerator::formatDuration(59.9), QStringLiteral("0:59"));
    EXPECT_EQ(CSVReportGenerator::formatDuration(3599.9), QStringLiteral("59:59"));
    EXPECT_EQ(CSVReportGenerator::formatDuration(3600), QStringLiteral("1:00:00"));
}

TEST(CSVReport, StatusWords) {
    const QString text = QStringLiteral("100%1");
    const std::pair<Status, const char*> rows[] = {
        {Status::pending(), "Pending"},
        {Status::ready(), "Ready"},
        {Status::readyLRMerge(), "Ready (L/R)"},
        {Status::missingChannels({text}), "Missing"},
        {Status::mismatchSampleRate(), "Rate Mismatch"},
        {Status::mismatchBitDepth(), "Bit Mismatch"},
        {Status::mismatchDuration(1, 2), "Duration Mismatch"},
        {Status::outputExists(), "Exists"},
        {Status::processing(), "Processing"},
        {Status::completed(), "Success"},
        {Status::completedCarbonCopyCertified(), "Success"},
        {Status::completedWithWarning(text), "Success (100%1)"},
        {Status::completedUncertified(text), "Success (Uncertified: 100%1)"},
        {Status::failed(text), "Error: 100%1"},
        {Status::skipped(text), "Skipped: 100%1"},
        {Status::protectedSurround(text, 6), "Protected (Surround)"},
        {Status::protectedAmbisonics(text, 4), "Protected (Ambi)"},
        {Status::incompletePair(text, 1), "Incomplete"},
        {Status::notLRPair(text), "Not L/R"},
    };
    EXPECT_EQ(std::size(rows), 19u);
    for (const auto& [status, words] : rows)
        EXPECT_EQ(CSVReportGenerator::statusString(status), QString::fromUtf8(words));
}

} // namespace
} // namespace ostrel
