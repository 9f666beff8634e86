#include "polytools/grouping/iso_grouping_strategies.h"

#include "support/test_folder.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using Files = std::vector<FileWithMetadata>;
using testing::TestFolder;

FileWithMetadata file(const QString& name, double duration = 10) {
    FileWithMetadata result;
    result.file.fileName = name;
    result.file.url = u"/rec/"_s + name;
    result.file.duration = duration;
    return result;
}

FileWithMetadata take(const QString& name, const QString& scene, const QString& number, double duration = 10) {
    FileWithMetadata result = file(name, duration);
    result.scene = scene;
    result.take = number;
    return result;
}

FileWithMetadata timed(const QString& name, const QString& timecode, double duration) {
    FileWithMetadata result = file(name, duration);
    result.timecode = timecode;
    return result;
}

QStringList names(const ISOGroupCandidate& group) {
    QStringList result;
    for (const ISOFile& iso : group.isoFiles) result << iso.fileName;
    return result;
}

QList<QStringList> names(const std::vector<ISOGroupCandidate>& groups) {
    QList<QStringList> result;
    for (const ISOGroupCandidate& group : groups) result << names(group);
    return result;
}

TEST(GroupByMetadata, EqualSceneAndTakeMakeAGroupWhateverTheLengths) {
    Files files{take(u"a"_s, u"2"_s, u"1"_s, 3), take(u"b"_s, u"10"_s, u"1"_s), take(u"c"_s, u"2"_s, u"1"_s, 300),
                file(u"d"_s)};
    files[0].timecode = u"01:00:00:00"_s;
    const auto groups = groupByMetadataSceneTake(files);
    EXPECT_EQ(names(groups), (QList<QStringList>{{u"a"_s, u"c"_s}, {u"b"_s}})) << "in the natural order of the scenes";
    EXPECT_EQ(groups[0].confidence, GroupConfidence::high);
    EXPECT_EQ(groups[0].groupingMethod, GroupingMethod::metadataSceneTake);
    EXPECT_EQ(groups[0].scene, u"2"_s);
    EXPECT_EQ(groups[0].take, u"1"_s);
    EXPECT_EQ(groups[0].timecode, u"01:00:00:00"_s);
    EXPECT_EQ(groups[0].duration, 3);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].file.fileName, u"d"_s);
}

TEST(GroupByMetadata, AFileWithASceneAndNoTakeFallsThrough) {
    Files files{take(u"a"_s, u"2"_s, QString()), take(u"b"_s, QString(), u"1"_s)};
    EXPECT_TRUE(groupByMetadataSceneTake(files).empty());
    EXPECT_EQ(files.size(), 2u);
}

TEST(GroupByName, EveryPatternIsKnown) {
    using Pair = std::pair<QString, QString>;
    EXPECT_EQ(extractSceneTakeFromFilename(u"12AT3"_s), Pair(u"12A"_s, u"3"_s));
    EXPECT_EQ(extractSceneTakeFromFilename(u"12A-T3"_s), Pair(u"12A"_s, u"3"_s));
    EXPECT_EQ(extractSceneTakeFromFilename(u"@12AT3"_s), Pair(u"12A"_s, u"3"_s));
    EXPECT_EQ(extractSceneTakeFromFilename(u"Kitchen-T07_Boom"_s), Pair(u"Kitchen"_s, u"07"_s));
    EXPECT_EQ(extractSceneTakeFromFilename(u"A-T1-T2"_s), Pair(u"A-T1"_s, u"2"_s));
    for (const QString& name : {u"12aT3"_s, u"12T3"_s, u"AT3"_s, u"-T3"_s, u"x-t3"_s, u"voice"_s, u""_s}) {
        EXPECT_FALSE(extractSceneTakeFromFilename(name)) << name.toStdString();
    }
}

TEST(GroupByName, FilesOfOneSceneAndTakeJoin) {
    Files files{file(u"12AT3_Boom.wav"_s), file(u"12AT3_Lav.wav"_s), file(u"12AT4_Lav.wav"_s), file(u"voice.wav"_s)};
    files[0].timecode = u"01:00:00:00"_s;
    const auto groups = groupByFilenamePattern(files);
    EXPECT_EQ(names(groups), (QList<QStringList>{{u"12AT3_Boom.wav"_s, u"12AT3_Lav.wav"_s}, {u"12AT4_Lav.wav"_s}}));
    EXPECT_EQ(groups[0].confidence, GroupConfidence::medium);
    EXPECT_EQ(groups[0].groupingMethod, GroupingMethod::filenamePattern);
    EXPECT_EQ(groups[0].scene, u"12A"_s);
    EXPECT_EQ(groups[0].take, u"3"_s);
    EXPECT_TRUE(groups[0].timecode.isEmpty());
    EXPECT_EQ(groups[0].duration, 10);
    EXPECT_EQ(files.size(), 1u);
}

TEST(GroupByTimecode, DurationsMustLieWithinATenthOfASecond) {
    Files apart{timed(u"a"_s, u"1"_s, 10.0), timed(u"b"_s, u"1"_s, 10.1)};
    EXPECT_EQ(groupByTimecodeAndDuration(apart).size(), 2u);
    Files together{timed(u"a"_s, u"1"_s, 10.0), timed(u"b"_s, u"1"_s, 10.09)};
    const auto groups = groupByTimecodeAndDuration(together);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].confidence, GroupConfidence::medium);
    EXPECT_EQ(groups[0].groupingMethod, GroupingMethod::metadataTimecode);
    EXPECT_EQ(groups[0].timecode, u"1"_s);
    EXPECT_TRUE(groups[0].scene.isEmpty());
    EXPECT_EQ(groups[0].duration, 10.0);
}

TEST(GroupByTimecode, TheFirstFileIsTheReference) {
    Files files{timed(u"a"_s, u"1"_s, 10.00), timed(u"b"_s, u"1"_s, 10.09), timed(u"c"_s, u"1"_s, 10.18),
                timed(u"d"_s, u"2"_s, 10.00), file(u"e"_s)};
    EXPECT_EQ(names(groupByTimecodeAndDuration(files)), (QList<QStringList>{{u"a"_s, u"b"_s}, {u"c"_s}, {u"d"_s}}));
    EXPECT_EQ(files.size(), 1u);
}

class GroupByDateTest : public ::testing::Test {
protected:
    FileWithMetadata dated(const QString& name, qint64 milliseconds, double duration = 10) {
        const QString path = folder_.write(name, "x");
        QFile onDisk(path);
        EXPECT_TRUE(onDisk.open(QIODevice::ReadWrite));
        EXPECT_TRUE(onDisk.setFileTime(QDateTime::fromMSecsSinceEpoch(1'700'000'000'000 + milliseconds),
                                       QFileDevice::FileModificationTime));
        FileWithMetadata result = file(name, duration);
        result.file.url = path;
        return result;
    }

    TestFolder folder_;
};

TEST_F(GroupByDateTest, FilesLessThanFiveSecondsApartJoin) {
    Files together{dated(u"a"_s, 0), dated(u"b"_s, 4900)};
    const auto groups = groupByTimestampAndDuration(together);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].confidence, GroupConfidence::medium);
    EXPECT_EQ(groups[0].groupingMethod, GroupingMethod::timestampDuration);
    EXPECT_TRUE(groups[0].scene.isEmpty() && groups[0].take.isEmpty() && groups[0].timecode.isEmpty());
    EXPECT_EQ(groups[0].duration, 10);
    Files apart{dated(u"c"_s, 0), dated(u"d"_s, 5000)};
    EXPECT_EQ(groupByTimestampAndDuration(apart).size(), 2u);
}

TEST_F(GroupByDateTest, OnlyTheReferenceCounts) {
    Files files{dated(u"c"_s, 9000), dated(u"a"_s, 0), dated(u"b"_s, 4100)};
    EXPECT_EQ(names(groupByTimestampAndDuration(files)), (QList<QStringList>{{u"a"_s, u"b"_s}, {u"c"_s}}));
}

TEST_F(GroupByDateTest, DurationsMustAgreeToo) {
    Files files{dated(u"a"_s, 0, 10.0), dated(u"b"_s, 1, 10.1), dated(u"c"_s, 2, 10.05), dated(u"d"_s, 3, 10.15)};
    EXPECT_EQ(names(groupByTimestampAndDuration(files)), (QList<QStringList>{{u"a"_s, u"c"_s}, {u"b"_s, u"d"_s}}));
}

TEST_F(GroupByDateTest, ALoneFileMakesALowGroupUnderItsOwnName) {
    Files files{dated(u"voice 1.wav"_s, 0)};
    const auto groups = groupByTimestampAndDuration(files);
    ASSERT_EQ(groups.size(), 1u);
    EXPECT_EQ(groups[0].confidence, GroupConfidence::low);
    EXPECT_EQ(groups[0].suggestedOutputName(), u"voice 1"_s);
}

TEST_F(GroupByDateTest, AFileWithoutADateStays) {
    Files files{dated(u"a"_s, 0), file(u"gone.wav"_s)};
    EXPECT_EQ(groupByTimestampAndDuration(files).size(), 1u);
    ASSERT_EQ(files.size(), 1u);
    EXPECT_EQ(files[0].file.fileName, u"gone.wav"_s);
}

} // namespace
} // namespace ostrel
