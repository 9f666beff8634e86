#include "foundation/logs/processing_log.h"

#include "platform/text/regular_expression.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

ProcessingLogEntry entry(LogLevel level, LogCategory category, const QString& message) {
    ProcessingLogEntry result;
    result.timestamp = QDateTime(QDate(2026, 3, 14), QTime(9, 5, 7));
    result.level = level;
    result.category = category;
    result.message = message;
    result.baseName = QStringLiteral("never printed");
    return result;
}

TEST(ProcessingLogEntry, LevelAndCategoryWords) {
    using Level = LogLevel;
    using Category = LogCategory;
    QStringList words;
    for (const Level level : {Level::info, Level::success, Level::warning, Level::error}) words << rawText(level);
    EXPECT_EQ(words.join(u' '), QStringLiteral("INFO OK WARN ERROR"));
    words.clear();
    for (const Category category :
         {Category::scan, Category::process, Category::metadata, Category::cleanup, Category::system})
        words << rawText(category);
    EXPECT_EQ(words.join(u' '), QStringLiteral("SCAN PROCESS META CLEANUP SYSTEM"));
}

TEST(ProcessingLogEntry, FormattedEntry) {
    EXPECT_EQ(entry(LogLevel::success, LogCategory::process, QStringLiteral("Created: %1.wav")).formattedEntry(),
              QStringLiteral("[09:05:07] [OK] [PROCESS] Created: %1.wav"));
}

TEST(ProcessingLogEntry, ALineBreakInANameLeavesOneLine) {
    EXPECT_EQ(entry(LogLevel::info, LogCategory::scan, QStringLiteral("Selected: a\nb\r.wav")).formattedEntry(),
              QStringLiteral("[09:05:07] [INFO] [SCAN] Selected: a b .wav"));
}

TEST(ProcessingLogEntry, TimeIsLocalWhateverZoneTheStampHas) {
    ProcessingLogEntry stamped = entry(LogLevel::info, LogCategory::scan, QStringLiteral("x"));
    const QString local = stamped.formattedEntry();
    stamped.timestamp = stamped.timestamp.toUTC();
    EXPECT_EQ(stamped.formattedEntry(), local);
}

TEST(ProcessingLogEntry, HasAnIdOfItsOwnAndTheTimeOfItsMaking) {
    const ProcessingLogEntry fresh;
    EXPECT_NE(fresh.id, ProcessingLogEntry().id);
    EXPECT_LT(fresh.timestamp.secsTo(QDateTime::currentDateTime()), 60);
}

TEST(ExportToText, HeadEmptyLineEntriesAndNoLineBreakAtTheEnd) {
    const QString text =
        exportToText({entry(LogLevel::info, LogCategory::scan, QStringLiteral("one")),
                      entry(LogLevel::error, LogCategory::metadata, QStringLiteral("two"))},
                     QStringLiteral("/takes"), QStringLiteral("Interleave"), QStringLiteral("Stereo (L/R)"));
    const QStringList lines = text.split(u'\n');
    ASSERT_EQ(lines.size(), 8);
    EXPECT_EQ(lines[0], QStringLiteral("Ostrel Log"));
    EXPECT_TRUE(
        RegularExpression(QStringLiteral("^Generated: \\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\dZ$")).matches(lines[1]))
        << lines[1].toStdString();
    const QDateTime generated = QDateTime::fromString(lines[1].mid(11), Qt::ISODate);
    EXPECT_LT(std::abs(generated.secsTo(QDateTime::currentDateTimeUtc())), 60);
    EXPECT_EQ(lines[2], QStringLiteral("Source: /takes"));
    EXPECT_EQ(lines[3], QStringLiteral("Mode: Interleave"));
    EXPECT_EQ(lines[4], QStringLiteral("Layout: Stereo (L/R)"));
    EXPECT_EQ(lines[5], QString());
    EXPECT_EQ(lines[6], QStringLiteral("[09:05:07] [INFO] [SCAN] one"));
    EXPECT_EQ(lines[7], QStringLiteral("[09:05:07] [ERROR] [META] two"));
}

TEST(ExportToText, AnEmptyLogEndsBehindItsHead) {
    EXPECT_TRUE(exportToText({}, QString(), QString(), QStringLiteral("x")).endsWith(QStringLiteral("\nLayout: x\n")));
}

} // namespace
} // namespace ostrel
