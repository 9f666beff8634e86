#include "polytools/records/channel_plan.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

std::vector<SourceTrack> fourTracks() {
    return {{1, 11, QStringLiteral("MixL")},
            {2, 12, QStringLiteral("Boom 1")},
            {3, 13, QStringLiteral("Lav Zoé")},
            {4, 14, QStringLiteral("boom 2")}};
}

ChannelFilterOptions filterNamed(const char* text) {
    ChannelFilterOptions filter;
    filter.nameContainsFilter = QString::fromUtf8(text);
    return filter;
}

ChannelFilterOptions numbered(const char* text) {
    ChannelFilterOptions filter;
    filter.selectedChannelIndices = parseChannelNumbers(QString::fromLatin1(text));
    return filter;
}

TEST(ChannelNumbers, TextIsReadPieceByPiece) {
    const auto numbers = [](const char* text) { return parseChannelNumbers(QString::fromLatin1(text)); };
    EXPECT_EQ(numbers("1, 2"), (std::set<int>{1, 2}));
    EXPECT_EQ(numbers("1-4"), (std::set<int>{1, 2, 3, 4}));
    EXPECT_EQ(numbers(" 2 - 3 ,7,x, ,5-"), (std::set<int>{2, 3, 7}));
    EXPECT_EQ(numbers("4-2"), std::set<int>{});
    EXPECT_EQ(numbers("0,-1,1-2-3"), std::set<int>{});
    EXPECT_EQ(numbers("65530-99999999999").size(), 6u);
    EXPECT_EQ(joinedNumbers({3, 1, 20}), QStringLiteral("1, 3, 20"));
}

TEST(SmartFilters, Words) {
    QStringList words;
    for (const auto filter : kAllSmartFilters) words << rawText(filter);
    EXPECT_EQ(words.join(u'|'),
              QStringLiteral("Select All|Select None|Mix Tracks Only|ISO Tracks Only (no mix)|Boom Only|"
                             "Lavs Only|Channel Range"));
}

TEST(OutputEncoding, FloatStaysFloatAndDepthsKeepTheirCodec) {
    const auto codec = [](int depth, const char* name) {
        return OutputEncoding::matchSource(depth, QString::fromLatin1(name));
    };
    EXPECT_EQ(codec(32, "pcm_f32le"), QStringLiteral("pcm_f32le"));
    EXPECT_EQ(codec(32, "FLOAT"), QStringLiteral("pcm_f32le"));
    EXPECT_EQ(codec(64, "pcm_f64le"), QStringLiteral("pcm_f64le"));
    EXPECT_EQ(codec(64, "float64 double"), QStringLiteral("pcm_f64le"));
    EXPECT_EQ(codec(16, "pcm_s16le"), QStringLiteral("pcm_s16le"));
    EXPECT_EQ(codec(24, ""), QStringLiteral("pcm_s24le"));
    EXPECT_EQ(codec(32, "pcm_s32le"), QStringLiteral("pcm_s32le"));
    EXPECT_EQ(codec(64, ""), QStringLiteral("pcm_f64le"));
    EXPECT_EQ(codec(8, "pcm_u8"), QStringLiteral("pcm_s24le"));
}

TEST(Removal, TheFirstCriterionThatAppliesDecides) {
    EXPECT_FALSE(decideRemoval({}, fourTracks(), {}, std::nullopt).has_value());
    EXPECT_EQ(decideRemoval({}, fourTracks(), {}, std::vector<int>{2, 1})->kind, RemovalKind::reorderOnly);
    EXPECT_EQ(decideRemoval({}, fourTracks(), {{1, QStringLiteral("x")}}, std::vector<int>{2, 1})->kind,
              RemovalKind::renameOnly);
}

TEST(Removal, NamesMatchInAnyCaseAndEveryTermCounts) {
    const auto removal = decideRemoval(filterNamed("boom, ZOÉ"), fourTracks(), {}, std::nullopt);
    EXPECT_EQ(removal->kind, RemovalKind::byName);
    EXPECT_EQ(removal->numbers, (std::set<int>{2, 3, 4}));
}

TEST(Removal, AFilterOfBlanksAndCommasMatchesNothing) {
    const auto removal = decideRemoval(filterNamed(" , "), fourTracks(), {}, std::nullopt);
    EXPECT_EQ(removal->kind, RemovalKind::byName);
    EXPECT_TRUE(removal->numbers.empty());
}

TEST(Removal, WithNumbersAndANameFilterTheNameIsIgnored) {
    ChannelFilterOptions both = numbered("1");
    both.nameContainsFilter = QStringLiteral("boom");
    EXPECT_EQ(decideRemoval(both, fourTracks(), {}, std::nullopt)->numbers, std::set<int>{1});
}

TEST(ChannelPlan, RemovingChannelTwoOfFourGivesTheirPanFilter) {
    const auto tracks = reindexed(keptTracks(fourTracks(), {2}, std::nullopt), {}, false);
    EXPECT_EQ(panFilter(tracks, panLayout(static_cast<int>(tracks.size()), 4, {})),
              QStringLiteral("[0:a]pan=3c|c0=c0|c1=c2|c2=c3[out]"));
    EXPECT_EQ(tracks[1], (FinalTrack{3, 2, 13, QString::fromUtf8("Lav Zoé")}));
}

TEST(ChannelPlan, TheLayoutIsTheNumberOfChannelsUnlessFfmpegWouldMixOrRefuse) {
    const auto layout = [](int channels, int source, const char* declared) {
        return panLayout(channels, source, QString::fromLatin1(declared)).toStdString();
    };
    EXPECT_EQ(layout(3, 4, "4.0"), "3c");
    EXPECT_EQ(layout(4, 4, ""), "4c");
    EXPECT_EQ(layout(6, 6, "5.1"), "6c");
    EXPECT_EQ(layout(6, 6, "5.1(side)"), "5.1(side)");
    EXPECT_EQ(layout(5, 5, "5 channels (FL+FR+FC+LFE+BL)"), "FL+FR+FC+LFE+BL");
    EXPECT_EQ(layout(5, 5, "5 channels"), "5c");
    EXPECT_EQ(layout(10, 10, ""), "10C");
    EXPECT_EQ(layout(9, 10, ""), "9C");
    EXPECT_EQ(layout(16, 16, "unknown"), "16c");
}

TEST(ChannelPlan, RenameKeysAreThePositionsAfterRemoval) {
    const auto tracks =
        reindexed(keptTracks(fourTracks(), {2}, std::nullopt), {{2, QStringLiteral("Radio")}, {1, {}}}, false);
    EXPECT_EQ(tracks[0].name, QStringLiteral("MixL"));
    EXPECT_EQ(tracks[1].name, QStringLiteral("Radio"));
    EXPECT_EQ(tracks[1].originalInterleaveIndex, 3);
}

TEST(ChannelPlan, RenameKeepsChannelIndicesAndReorderRewritesThem) {
    EXPECT_EQ(reindexed(fourTracks(), {{1, QStringLiteral("x")}}, false)[3].channelIndex, 14);
    EXPECT_EQ(reindexed(fourTracks(), {}, true)[3].channelIndex, 4);
}

TEST(ChannelPlan, AReorderListThatOmitsATrackKeepsItAtTheEnd) {
    const auto tracks = reindexed(keptTracks(fourTracks(), {}, std::vector<int>{4, 9, 2, 4}), {}, true);
    EXPECT_EQ(panFilter(tracks, panLayout(static_cast<int>(tracks.size()), 4, {})),
              QStringLiteral("[0:a]pan=4c|c0=c3|c1=c1|c2=c0|c3=c2[out]"));
}

TEST(ChannelPlan, ANumberThatNamesNoTrackKeepsThemAll) {
    const auto removal = decideRemoval(numbered("9"), fourTracks(), {}, std::nullopt);
    EXPECT_EQ(removal->numbers, std::set<int>{9});
    EXPECT_EQ(keptTracks(fourTracks(), removal->numbers, std::nullopt).size(), 4u);
}

} // namespace
} // namespace ostrel
