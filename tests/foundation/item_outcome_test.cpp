#include "foundation/records/item_outcome.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

QString textOf(const std::vector<SourceFate::Kind>& kinds) {
    ItemOutcome outcome;
    for (const SourceFate::Kind kind : kinds) outcome.sources.push_back({QStringLiteral("a"), kind, QString()});
    return outcome.sourcesText();
}

TEST(ItemOutcome, TellsItsSourcesByWhatHappened) {
    EXPECT_EQ(textOf({}), QStringLiteral("Kept"));
    EXPECT_EQ(textOf({SourceFate::Kind::kept}), QStringLiteral("Kept"));
    EXPECT_EQ(textOf({SourceFate::Kind::kept, SourceFate::Kind::kept, SourceFate::Kind::kept}), QStringLiteral("Kept"));
    EXPECT_EQ(textOf({SourceFate::Kind::moved, SourceFate::Kind::moved}), QStringLiteral("Moved"));
    EXPECT_EQ(textOf({SourceFate::Kind::deleted}), QStringLiteral("Deleted"));
    EXPECT_EQ(textOf({SourceFate::Kind::replaced}), QStringLiteral("Replaced"));
    EXPECT_EQ(textOf({SourceFate::Kind::kept, SourceFate::Kind::moved, SourceFate::Kind::moved}),
              QStringLiteral("Moved 2, Kept 1"));
    EXPECT_EQ(textOf({SourceFate::Kind::deleted, SourceFate::Kind::kept}), QStringLiteral("Deleted 1, Kept 1"));
    EXPECT_EQ(textOf({SourceFate::Kind::kept, SourceFate::Kind::replaced, SourceFate::Kind::deleted,
                      SourceFate::Kind::moved}),
              QStringLiteral("Moved 1, Deleted 1, Replaced 1, Kept 1"));
}

TEST(ItemOutcome, WordsOfTheFates) {
    EXPECT_EQ(caseName(SourceFate::Kind::kept), QStringLiteral("kept"));
    EXPECT_EQ(caseName(SourceFate::Kind::moved), QStringLiteral("moved"));
    EXPECT_EQ(caseName(SourceFate::Kind::deleted), QStringLiteral("deleted"));
    EXPECT_EQ(caseName(SourceFate::Kind::replaced), QStringLiteral("replaced"));
    EXPECT_EQ(reportName(SourceFate::Kind::deleted), QStringLiteral("Deleted"));
}

TEST(ItemOutcome, AFailureKeepsItsSources) {
    const ItemOutcome outcome =
        ItemOutcome::failure(QStringLiteral("no room"), {QStringLiteral("a"), QStringLiteral("b")});
    EXPECT_TRUE(outcome.failed());
    EXPECT_FALSE(outcome.succeeded() || outcome.skipped());
    EXPECT_EQ(outcome.message, QStringLiteral("no room"));
    EXPECT_EQ(outcome.status, ProcessingStatus::failed(QStringLiteral("no room")));
    EXPECT_TRUE(outcome.outputs.isEmpty());
    ASSERT_EQ(outcome.sources.size(), 2u);
    EXPECT_EQ(outcome.sources[1], (SourceFate{QStringLiteral("b"), SourceFate::Kind::kept, QString()}));
}

TEST(ItemOutcome, StandsWhateverElseIsToBeSaid) {
    ItemOutcome outcome;
    EXPECT_FALSE(outcome.succeeded() || outcome.failed() || outcome.skipped());
    for (const ProcessingStatus& status :
         {ProcessingStatus::completed(), ProcessingStatus::completedWithWarning(QStringLiteral("x")),
          ProcessingStatus::completedUncertified(QStringLiteral("x")),
          ProcessingStatus::completedCarbonCopyCertified()}) {
        outcome.status = status;
        EXPECT_TRUE(outcome.succeeded());
    }
    outcome.status = ProcessingStatus::skipped(QStringLiteral("there"));
    EXPECT_TRUE(outcome.skipped());
    EXPECT_FALSE(outcome.succeeded());
}

} // namespace
} // namespace ostrel
