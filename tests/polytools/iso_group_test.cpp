#include "polytools/records/iso_group.h"

#include "poly_fixture.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

ISOFile named(const QString& name, std::optional<int> channel = std::nullopt) {
    ISOFile file;
    file.fileName = name;
    file.url = u"/rec/"_s + name;
    file.metadataChannelIndex = channel;
    return file;
}

ISOGroupCandidate groupOf(std::vector<ISOFile> files) {
    ISOGroupCandidate group;
    group.isoFiles = std::move(files);
    return group;
}

QStringList sortedByName(const QStringList& input) {
    std::vector<ISOFile> files;
    for (const QString& name : input) files.push_back(named(name));
    return testing::fileNames(sortISOsByTrackName(files));
}

TEST(ISOGroup, WordsOfConfidenceAndMethod) {
    QStringList words;
    for (const GroupConfidence confidence : kAllGroupConfidences) words << rawText(confidence);
    for (const GroupingMethod method : kAllGroupingMethods) words << rawText(method);
    EXPECT_EQ(words, (QStringList{u"High"_s, u"Medium"_s, u"Low"_s, u"Metadata Scene/Take"_s,
                                  u"Metadata Timecode + Duration"_s, u"Filename Pattern"_s,
                                  u"File Timestamp + Duration"_s, u"Manual"_s}));
}

TEST(ISOGroup, SuggestedNameComesFromSceneAndTake) {
    ISOGroupCandidate group = groupOf({named(u"x_1.wav"_s)});
    EXPECT_EQ(group.suggestedOutputName(), u"x_1"_s);
    group.take = u"3"_s;
    EXPECT_EQ(group.suggestedOutputName(), u"x_1"_s) << "a take alone says nothing";
    group.scene = u"12A"_s;
    EXPECT_EQ(group.suggestedOutputName(), u"12A-T3_poly"_s);
    group.take.clear();
    EXPECT_EQ(group.suggestedOutputName(), u"12A_poly"_s);
    EXPECT_EQ(groupOf({}).suggestedOutputName(), u"unknown_poly"_s);
}

TEST(ISOGroup, FilesWithChannelIndicesSortByThem) {
    EXPECT_EQ(
        testing::fileNames(
            groupOf({named(u"a_Boom.wav"_s, 3), named(u"b_Lav.wav"_s, 1), named(u"c_MixL.wav"_s, 2)}).sortedISOs()),
        (QStringList{u"b_Lav.wav"_s, u"c_MixL.wav"_s, u"a_Boom.wav"_s}));
}

TEST(ISOGroup, FilesWithoutChannelIndicesFollowInNameOrder) {
    EXPECT_EQ(testing::fileNames(groupOf({named(u"a_Boom.wav"_s), named(u"b_Lav.wav"_s, 9), named(u"c_MixL.wav"_s),
                                          named(u"d_X.wav"_s, 4)})
                                     .sortedISOs()),
              (QStringList{u"d_X.wav"_s, u"b_Lav.wav"_s, u"c_MixL.wav"_s, u"a_Boom.wav"_s}));
}

TEST(ISOGroup, AMixPairComesFirstAndBoomsLast) {
    EXPECT_EQ(sortedByName({u"T_Boom1.wav"_s, u"T_Anna.wav"_s, u"T_MixR.wav"_s, u"T_B2.wav"_s, u"T_Mix.wav"_s,
                            u"T_MixL.wav"_s, u"T_Tom.wav"_s}),
              (QStringList{u"T_MixL.wav"_s, u"T_MixR.wav"_s, u"T_Mix.wav"_s, u"T_Anna.wav"_s, u"T_Tom.wav"_s,
                           u"T_Boom1.wav"_s, u"T_B2.wav"_s}));
}

TEST(ISOGroup, EveryWordOfASideCounts) {
    for (const QString& left : {u"mixl2"_s, u"Paul"_s, u"left 1"_s, u"SALTY"_s}) {
        EXPECT_EQ(sortedByName({u"T_Anna.wav"_s, u"T_"_s + left + u".wav"_s}).first(), u"T_"_s + left + u".wav"_s);
    }
    for (const QString& right : {u"mixr2"_s, u"Peter"_s, u"right 1"_s, u"ART2"_s}) {
        EXPECT_EQ(sortedByName({u"T_Anna.wav"_s, u"T_"_s + right + u".wav"_s, u"T_L.wav"_s}),
                  (QStringList{u"T_L.wav"_s, u"T_"_s + right + u".wav"_s, u"T_Anna.wav"_s}));
    }
}

TEST(ISOGroup, OnlyThePartBehindTheLastUnderscoreCounts) {
    EXPECT_EQ(sortedByName({u"Boom_Anna.wav"_s, u"Tom_Boom.wav"_s, u"Mix_Tom.wav"_s}),
              (QStringList{u"Boom_Anna.wav"_s, u"Mix_Tom.wav"_s, u"Tom_Boom.wav"_s}));
    EXPECT_EQ(sortedByName({u"Anna.wav"_s, u"MixL.wav"_s}), (QStringList{u"MixL.wav"_s, u"Anna.wav"_s}));
}

TEST(ISOGroup, FourLettersWithABAreNoBoom) {
    EXPECT_EQ(sortedByName({u"T_B12.wav"_s, u"T_Beth.wav"_s, u"T_BAND.wav"_s}),
              (QStringList{u"T_Beth.wav"_s, u"T_BAND.wav"_s, u"T_B12.wav"_s}));
}

TEST(GroupingResult, SummaryNamesOnlyWhatThereIs) {
    GroupingResult result;
    EXPECT_EQ(result.summary(), u"Found 0 groups"_s);
    result.groups.resize(3);
    EXPECT_EQ(result.summary(), u"Found 3 groups"_s);
    result.lowConfidenceCount = 1;
    EXPECT_EQ(result.summary(), u"Found 3 groups, (1 low-confidence)"_s);
    result.ungroupedFiles.resize(2);
    EXPECT_EQ(result.summary(), u"Found 3 groups, (1 low-confidence), 2 ungrouped"_s);
    result.lowConfidenceCount = 0;
    EXPECT_EQ(result.summary(), u"Found 3 groups, 2 ungrouped"_s);
}

} // namespace
} // namespace ostrel
