#include "foundation/records/processing_status.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <set>

namespace ostrel {
namespace {

using Status = ProcessingStatus;
using Color = ProcessingStatus::Color;

struct Row {
    Status status;
    const char* caseName;
    const char* display;
    const char* shortDisplay;
    const char* icon;
    Color color;
};

std::vector<Row> rows() {
    const QString reason = QStringLiteral("C, LFE found");
    return {
        {Status::pending(), "pending", "Pending", "Pending", "circle", Color::secondary},
        {Status::ready(), "ready", "Ready", "Ready", "checkmark.circle", Color::blue},
        {Status::missingChannels({QStringLiteral("C"), QStringLiteral("LFE")}), "missingChannels", "Missing: C, LFE",
         "Missing", "exclamationmark.triangle", Color::orange},
        {Status::mismatchSampleRate(), "mismatchSampleRate", "Sample Rate Mismatch", "Rate Mismatch",
         "exclamationmark.triangle", Color::orange},
        {Status::mismatchBitDepth(), "mismatchBitDepth", "Bit Depth Mismatch", "Bit Mismatch",
         "exclamationmark.triangle", Color::orange},
        {Status::mismatchDuration(1.25, 61.0005), "mismatchDuration", "Duration Mismatch (1.250s vs 61.001s)",
         "Duration Mismatch", "exclamationmark.triangle", Color::orange},
        {Status::outputExists(), "outputExists", "Output Exists", "Exists", "doc.on.doc", Color::yellow},
        {Status::processing(), "processing", "Processing...", "Processing", "arrow.triangle.2.circlepath",
         Color::purple},
        {Status::completed(), "completed", "Completed", "Completed", "checkmark.circle.fill", Color::green},
        {Status::completedWithWarning(QStringLiteral("no BEXT")), "completedWithWarning", "Done (no BEXT)", "Done",
         "info.circle.fill", Color::blue},
        {Status::failed(QStringLiteral("disk full")), "failed", "Failed: disk full", "Failed", "xmark.circle.fill",
         Color::red},
        {Status::skipped(QStringLiteral("exists")), "skipped", "Skipped: exists", "Skipped", "minus.circle",
         Color::secondary},
        {Status::readyLRMerge(), "readyLRMerge", "✅ Ready (L/R Merge)", "Ready (L/R)", "checkmark.circle", Color::blue},
        {Status::protectedSurround(reason, 6), "protectedSurround",
         "🛡️ Protected: Surround Set (6 files) - C, LFE found", "Protected (Surround)", "shield.fill",
         Color::cyan},
        {Status::protectedAmbisonics(reason, 4), "protectedAmbisonics",
         "🛡️ Protected: Ambisonics (4 files) - C, LFE found", "Protected (Ambi)", "shield.fill", Color::cyan},
        {Status::incompletePair(reason, 1), "incompletePair", "Incomplete Pair (1 files) - C, LFE found", "Incomplete",
         "exclamationmark.triangle", Color::orange},
        {Status::notLRPair(reason), "notLRPair", "Not L/R Pair - C, LFE found", "Not L/R", "exclamationmark.circle",
         Color::orange},
        {Status::completedUncertified(reason), "completedUncertified", "⚠️ Safe Merge (Uncertified) - C, LFE found",
         "⚠️ Uncertified", "checkmark.circle", Color::blue},
        {Status::completedCarbonCopyCertified(), "completedCarbonCopyCertified", "✅ Completed", "✅ Completed",
         "checkmark.seal.fill", Color::green},
    };
}

TEST(ProcessingStatus, EveryCaseHasItsWords) {
    const auto table = rows();
    ASSERT_EQ(table.size(), 19u);
    for (const Row& row : table) {
        EXPECT_EQ(row.status.caseName(), QString::fromUtf8(row.caseName));
        EXPECT_EQ(row.status.displayText(), QString::fromUtf8(row.display));
        EXPECT_EQ(row.status.shortDisplayText(), QString::fromUtf8(row.shortDisplay));
        EXPECT_EQ(row.status.icon(), QString::fromUtf8(row.icon));
        EXPECT_EQ(row.status.statusColor(), row.color) << row.caseName;
    }
}

TEST(ProcessingStatus, ExactlyThreeStatesAreProcessable) {
    std::set<QString> processable;
    for (const Row& row : rows()) {
        if (row.status.isProcessable()) processable.insert(row.status.caseName());
    }
    EXPECT_EQ(processable,
              (std::set<QString>{QStringLiteral("pending"), QStringLiteral("ready"), QStringLiteral("readyLRMerge")}));
}

TEST(ProcessingStatus, EqualityComparesCaseAndPayload) {
    const auto table = rows();
    for (std::size_t a = 0; a < table.size(); ++a) {
        for (std::size_t b = 0; b < table.size(); ++b) EXPECT_EQ(table[a].status == table[b].status, a == b);
    }
    EXPECT_NE(Status::failed(QStringLiteral("a")), Status::failed(QStringLiteral("b")));
    EXPECT_NE(Status::missingChannels({QStringLiteral("L")}), Status::missingChannels({QStringLiteral("R")}));
    EXPECT_NE(Status::mismatchDuration(1, 2), Status::mismatchDuration(2, 1));
    EXPECT_NE(Status::incompletePair(QStringLiteral("a"), 1), Status::incompletePair(QStringLiteral("a"), 2));
    EXPECT_EQ(Status(), Status::pending());
}

TEST(ProcessingStatus, PercentSignsInAUsersTextStayWhatTheyAre) {
    const QString text = QStringLiteral("100%2 %1 %n");
    EXPECT_EQ(Status::failed(text).displayText(), QStringLiteral("Failed: 100%2 %1 %n"));
    EXPECT_EQ(Status::protectedSurround(text, 5).displayText(),
              QStringLiteral("🛡️ Protected: Surround Set (5 files) - 100%2 %1 %n"));
    EXPECT_EQ(Status::missingChannels({text}).displayText(), QStringLiteral("Missing: 100%2 %1 %n"));
}

} // namespace
} // namespace ostrel
