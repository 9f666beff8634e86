#include "polytools/grouping/iso_grouping_engine.h"

#include "foundation/domain_error.h"
#include "platform/parallel.h"
#include "poly_fixture.h"
#include "support/fake_bwfmetaedit.h"

#include <QDateTime>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMap>
#include <QSet>
#include <gtest/gtest.h>
#include <random>

using namespace Qt::StringLiterals;

namespace ostrel {
namespace {

using testing::FakeBwfmetaedit;
using testing::fingerprint;
using testing::PrivateFolders;
using testing::readAll;
using testing::realTools;
using testing::TestFolder;
using testing::waveBytes;
using testing::WaveSpec;

// ffprobe's answers for a file, from its name: "{anything}.{channels}ch.{seconds}s.wav".
constexpr const char* kFakeProbe = R"(printf '%s|' "$@" >> "RECORD"; echo >> "RECORD"
for argument in "$@"; do file=$argument; done
case "$file" in *unreadable*) exit 1;; esac
name=${file##*/}; rest=${name%s.[wW]*}; seconds=${rest##*ch.}; rest=${rest%ch.*}; channels=${rest##*.}
case "$5 $6" in
*channels*) echo "$channels";;
*sample_rate*) case "$file" in *bare*) echo N/A;; *) echo 48000;; esac;;
*bits_per_sample*) case "$file" in *bare*) echo N/A;; *) echo 24;; esac;;
*duration*) case "$file" in *bare*) echo N/A;; *) echo "$seconds";; esac;;
esac)";

class FakeProbe {
public:
    explicit FakeProbe(const TestFolder& folder) : record_(folder.path(u"tools/ffprobe.calls"_s)) {
        path_ = folder.writeScript(u"tools/ffprobe"_s, QString::fromUtf8(kFakeProbe).replace(u"RECORD"_s, record_));
    }
    QString path() const { return path_; }
    QStringList calls() const { return QString::fromUtf8(readAll(record_)).split(u'\n', Qt::SkipEmptyParts); }

private:
    QString path_;
    QString record_;
};

QStringList described(const GroupingResult& result) {
    QStringList lines;
    for (const ISOGroupCandidate& group : result.groups) {
        lines << QStringLiteral("%1 %2 %3: %4")
                     .arg(rawText(group.confidence), rawText(group.groupingMethod), group.suggestedOutputName(),
                          testing::fileNames(group.isoFiles).join(u' '));
    }
    return lines << u"ungrouped: "_s + testing::fileNames(result.ungroupedFiles).join(u' ');
}

ISOFile record(const QString& url, double duration = 10) {
    ISOFile file;
    file.url = url;
    file.fileName = url.mid(url.lastIndexOf(u'/') + 1);
    file.duration = duration;
    return file;
}

class GroupingEngineTest : public ::testing::Test {
protected:
    QString put(const QString& name) { return folder_.write(u"rec/"_s + name, "x"); }
    QString rec() { return folder_.path(u"rec"_s); }
    ISOGroupingEngine engine() const { return {probe_.path(), tool_.path()}; }

    TestFolder folder_;
    PrivateFolders folders_{folder_};
    FakeBwfmetaedit tool_{folder_};
    FakeProbe probe_{folder_};
};

TEST_F(GroupingEngineTest, AnEmptyFolderGivesNoGroups) {
    QDir().mkpath(rec());
    const GroupingResult result = engine().groupISOFilesInFolder(rec(), true);
    EXPECT_EQ(result, GroupingResult());
    EXPECT_EQ(result.summary(), u"Found 0 groups"_s);
}

TEST_F(GroupingEngineTest, AFolderThatCannotBeOpenedIsAnError) {
    try {
        engine().groupISOFilesInFolder(folder_.path(u"missing"_s), false);
        FAIL();
    } catch (const DomainError& error) {
        EXPECT_EQ(error.domain, u"ScanError"_s);
        EXPECT_EQ(error.code, 1);
        EXPECT_EQ(error.errorDescription(), u"Failed to enumerate folder"_s);
    }
}

TEST_F(GroupingEngineTest, ScansMonoWavFilesOnly) {
    put(u"12AT3_a.1ch.5.5s.wav"_s);
    put(u"12AT3_b.1ch.5.5s.WAV"_s);
    put(u"12AT3_poly.4ch.5.5s.wav"_s);
    put(u".hidden.1ch.5.5s.wav"_s);
    put(u"unreadable.1ch.5.5s.wav"_s);
    put(u"12AT3_c.mp3"_s);
    put(u"deeper/12AT3_d.1ch.5.5s.wav"_s);
    EXPECT_EQ(described(engine().groupISOFilesInFolder(rec(), false)),
              (QStringList{u"Medium Filename Pattern 12A-T3_poly: 12AT3_a.1ch.5.5s.wav 12AT3_b.1ch.5.5s.WAV"_s,
                           u"ungrouped: "_s}));
    const GroupingResult deep = engine().groupISOFilesInFolder(rec(), true);
    EXPECT_EQ(deep.totalFiles, 3);
    ASSERT_EQ(deep.groups.size(), 1u);
    const ISOFile& file = deep.groups[0].isoFiles[0];
    EXPECT_EQ(file.channelCount, 1);
    EXPECT_EQ(file.channelIndex, 1);
    EXPECT_TRUE(file.isSelected);
    EXPECT_EQ(file.sampleRate, 48000);
    EXPECT_EQ(file.bitDepth, 24);
    EXPECT_EQ(file.duration, 5.5);
    EXPECT_EQ(file.fileSize, 1u);
    EXPECT_FALSE(file.metadataChannelIndex || file.metadataInterleaveIndex);
}

TEST_F(GroupingEngineTest, ProbesOneValueARun) {
    const QString file = put(u"a.1ch.5.5s.wav"_s);
    engine().groupISOFiles({file});
    QStringList expected;
    for (const char* entry : {"channels", "sample_rate", "bits_per_sample", "duration"}) {
        expected << QStringLiteral("-v|error|-select_streams|a:0|-show_entries|stream=%1|-of|csv=p=0|%2|")
                        .arg(QLatin1String(entry), file);
    }
    EXPECT_EQ(probe_.calls(), expected);
}

TEST_F(GroupingEngineTest, ValuesThatCannotBeReadStayZeroAndTheFileStays) {
    const GroupingResult result = engine().groupISOFiles({put(u"bare.1ch.5.5s.wav"_s)});
    ASSERT_EQ(result.groups.size(), 1u);
    EXPECT_EQ(result.groups[0].isoFiles[0].sampleRate, 0);
    EXPECT_EQ(result.groups[0].isoFiles[0].bitDepth, 0);
    EXPECT_EQ(result.groups[0].isoFiles[0].duration, 0);
}

TEST_F(GroupingEngineTest, ASelectionTakesMonoWavFilesAndEachOnce) {
    const QString a = put(u"12AT3_a.1ch.5.5s.wav"_s);
    const GroupingResult result =
        engine().groupISOFiles({put(u"12AT3_b.1ch.5.5s.wav"_s), a, put(u"notes.txt"_s), put(u"p.2ch.5.5s.wav"_s),
                                put(u".h.1ch.5.5s.wav"_s), a, folder_.path(u"gone.1ch.1s.wav"_s)});
    EXPECT_EQ(result.totalFiles, 3) << "the fake probe answers for the missing file too";
    EXPECT_EQ(described(result),
              (QStringList{u"Medium Filename Pattern 12A-T3_poly: 12AT3_a.1ch.5.5s.wav 12AT3_b.1ch.5.5s.wav"_s,
                           u"ungrouped: gone.1ch.1s.wav"_s}));
    const QString log = testing::debugLog();
    if (log.isNull()) GTEST_SKIP() << "the debug log is another person's";
    EXPECT_TRUE(log.contains(u"⏭️ [Grouping] Skipping non-WAV file: notes.txt"_s));
    EXPECT_TRUE(log.contains(u"⏭️ [Grouping] Skipping poly file: p.2ch.5.5s.wav (2 channels)"_s));
}

TEST_F(GroupingEngineTest, WithoutFfprobeNothingIsFoundAndAListStillGroups) {
    const QString a = put(u"12AT3_a.wav"_s);
    const ISOGroupingEngine engine{QString(), QString()};
    EXPECT_EQ(engine.groupISOFiles({a}), GroupingResult());
    EXPECT_EQ(engine.groupISOFilesInFolder(rec(), true), GroupingResult());
    const GroupingResult result = engine.groupISOFilesFromList({record(a)});
    EXPECT_EQ(result.mediumConfidenceCount, 1);
    EXPECT_TRUE(tool_.calls().isEmpty());
}

// A pile in which every strategy has its work.
class PileTest : public GroupingEngineTest {
protected:
    PileTest() {
        for (const QString& track : {u"Boom"_s, u"Lav"_s, u"MixL"_s}) {
            take(u"rec/scene9_"_s + track + u".wav"_s, u"<SCENE>9</SCENE><TAKE>1</TAKE>"_s);
            take(u"other/scene10_"_s + track + u".wav"_s, u"<SCENE>10</SCENE><TAKE>2</TAKE>"_s);
            files_.push_back(record(dated(u"rec/12AT3_"_s + track + u".wav"_s, 500)));
            take(u"rec/tc_"_s + track + u".wav"_s,
                 u"<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>96000</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>"
                 "<TIMESTAMP_SAMPLE_RATE>48000</TIMESTAMP_SAMPLE_RATE>"_s);
            files_.push_back(record(dated(u"rec/voice "_s + track + u".wav"_s, 900), 77));
        }
        files_.push_back(record(dated(u"rec/lone.wav"_s, 2000)));
        files_.push_back(record(folder_.path(u"rec/vanished.wav"_s)));
        take(u"rec/sceneOnly.wav"_s, u"<SCENE>9</SCENE>"_s);
    }

    void take(const QString& name, const QString& ixml) {
        files_.push_back(record(dated(name, 3000)));
        FakeBwfmetaedit::setIxml(files_.back().url, ixml);
    }

    QString dated(const QString& name, qint64 seconds) {
        const QString path = folder_.write(name, "x");
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadWrite));
        file.setFileTime(QDateTime::fromSecsSinceEpoch(1'700'000'000 + seconds), QFileDevice::FileModificationTime);
        return path;
    }

    std::vector<ISOFile> files_;
};

TEST_F(PileTest, EveryStrategyTakesWhatIsItsOwn) {
    const GroupingResult result = engine().groupISOFilesFromList(files_);
    EXPECT_EQ(
        described(result),
        (QStringList{u"High Metadata Scene/Take 9-T1_poly: scene9_Boom.wav scene9_Lav.wav scene9_MixL.wav"_s,
                     u"High Metadata Scene/Take 10-T2_poly: scene10_Boom.wav scene10_Lav.wav scene10_MixL.wav"_s,
                     u"Medium Filename Pattern 12A-T3_poly: 12AT3_Boom.wav 12AT3_Lav.wav 12AT3_MixL.wav"_s,
                     u"Medium Metadata Timecode + Duration tc_Boom: tc_Boom.wav tc_Lav.wav tc_MixL.wav"_s,
                     u"Medium File Timestamp + Duration voice Boom: voice Boom.wav voice Lav.wav voice MixL.wav"_s,
                     u"Low File Timestamp + Duration lone: lone.wav"_s,
                     u"Low File Timestamp + Duration sceneOnly: sceneOnly.wav"_s, u"ungrouped: vanished.wav"_s}));
    EXPECT_EQ(result.totalFiles, 18);
    EXPECT_EQ(result.highConfidenceCount, 2);
    EXPECT_EQ(result.mediumConfidenceCount, 3);
    EXPECT_EQ(result.lowConfidenceCount, 2);
    EXPECT_EQ(result.summary(), u"Found 7 groups, (2 low-confidence), 1 ungrouped"_s);
    EXPECT_EQ(result.groups[3].timecode, u"00:00:02:00"_s);
    EXPECT_EQ(testing::fileNames(result.groups[0].sortedISOs()).first(), u"scene9_MixL.wav"_s);
}

TEST_F(PileTest, ShuffledInputChangesNothing) {
    const QStringList expected = described(engine().groupISOFilesFromList(files_));
    std::mt19937 random(7);
    for (int run = 0; run < 3; ++run) {
        std::shuffle(files_.begin(), files_.end(), random);
        EXPECT_EQ(described(engine().groupISOFilesFromList(files_)), expected);
    }
}

TEST_F(PileTest, NoFileIsInTwoGroupsAndNoneIsLost) {
    const GroupingResult result = engine().groupISOFilesFromList(files_);
    QSet<QUuid> seen;
    std::size_t count = result.ungroupedFiles.size();
    for (const ISOGroupCandidate& group : result.groups) {
        for (const ISOFile& file : group.isoFiles) seen.insert(file.id);
        count += group.isoFiles.size();
    }
    for (const ISOFile& file : result.ungroupedFiles) seen.insert(file.id);
    EXPECT_EQ(count, files_.size());
    EXPECT_EQ(static_cast<std::size_t>(seen.size()), files_.size());
}

TEST_F(PileTest, WhatItDoesIsInTheDebugLog) {
    engine().groupISOFilesFromList(files_);
    const QString log = testing::debugLog();
    if (log.isNull()) GTEST_SKIP() << "the debug log is another person's";
    for (const QString& line : {u"🔍 [Grouping] Processing 18 ISO files from multiple sources"_s,
                                u"✅ [Grouping] Strategy 1: 2 groups from metadata Scene/Take"_s,
                                u"✅ [Grouping] Strategy 2: 1 groups from filename patterns"_s,
                                u"✅ [Grouping] Strategy 3: 1 groups from timecode + duration"_s,
                                u"✅ [Grouping] Strategy 4: 3 groups from timestamp + duration"_s,
                                u"⚠️ [Grouping] 1 files could not be grouped"_s,
                                u"✅ [Grouping] Complete: 7 groups (High: 2, Medium: 3, Low: 2)"_s}) {
        EXPECT_TRUE(log.contains(u"] [ISOGroupingEngine] "_s + line + u'\n')) << line.toStdString();
    }
}

TEST_F(PileTest, NoSourceIsTouched) {
    const QStringList before = fingerprint(rec());
    engine().groupISOFilesFromList(files_);
    EXPECT_EQ(fingerprint(rec()), before);
    EXPECT_TRUE(folders_.leftInTemporary().isEmpty());
    for (const QString& call : tool_.calls()) EXPECT_TRUE(call.startsWith(u"--out-"_s)) << call.toStdString();
}

TEST_F(GroupingEngineTest, WithoutSceneAndTakeTheLogNamesTheFirstThreeFiles) {
    std::vector<ISOFile> files;
    for (const QString& name : {u"m1.wav"_s, u"m2.wav"_s, u"m3.wav"_s, u"m4.wav"_s}) files.push_back(record(put(name)));
    ISOGroupingEngine(QString(), QString()).groupISOFilesFromList(files);
    const QString log = testing::debugLog();
    if (log.isNull()) GTEST_SKIP() << "the debug log is another person's";
    EXPECT_TRUE(log.contains(
        u"⚠️ [Grouping] Strategy 1 found 0 groups - 0 files have Scene/Take, 4 files missing Scene/Take\n"_s));
    EXPECT_TRUE(log.contains(u"⚠️ [Grouping] Files missing metadata: m1.wav, m2.wav, m3.wav\n"_s));
}

TEST_F(GroupingEngineTest, AnIxmlOfOneTrackNumbersAnyFile) {
    const QString file = put(u"whatever.wav"_s);
    FakeBwfmetaedit::setIxml(
        file,
        u"<TRACK><CHANNEL_INDEX>6</CHANNEL_INDEX><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX><NAME>Boom</NAME></TRACK>"_s);
    const GroupingResult result = engine().groupISOFilesFromList({record(file)});
    EXPECT_EQ(result.groups[0].isoFiles[0].metadataChannelIndex, 6);
    EXPECT_EQ(result.groups[0].isoFiles[0].metadataTrackName, u"Boom"_s);
}

TEST_F(GroupingEngineTest, RunsNoMoreToolsTogetherThanItSays) {
    const QString running = folder_.path(u"running"_s);
    const QString counts = folder_.path(u"counts"_s);
    QDir().mkpath(running);
    const QString slow = folder_.writeScript(
        u"tools/slow"_s,
        QStringLiteral("touch '%1/'$$; ls '%1' | wc -l >> '%2'; sleep 0.02; rm '%1/'$$").arg(running, counts));
    std::vector<ISOFile> files;
    for (int i = 0; i < 40; ++i) files.push_back(record(put(QStringLiteral("f%1.wav").arg(i))));
    ISOGroupingEngine(QString(), slow).groupISOFilesFromList(files);
    int most = 0;
    for (const QByteArray& line : readAll(counts).split('\n')) most = std::max(most, line.trimmed().toInt());
    EXPECT_LE(most, static_cast<int>(parallelWidth()));
    EXPECT_GE(most, 2);
}

TEST_F(GroupingEngineTest, StopsAheadOfTheNextFile) {
    std::atomic<int> asked{0};
    GroupingHooks hooks;
    hooks.isStopped = [&] { return ++asked > 3; };
    std::vector<ISOFile> files;
    for (int i = 0; i < 50; ++i) files.push_back(record(put(QStringLiteral("f%1.wav").arg(i))));
    EXPECT_LE(ISOGroupingEngine(QString(), tool_.path(), hooks).groupISOFilesFromList(files).totalFiles, 3);
    EXPECT_LE(tool_.calls().size(), 9);
}

// Real recordings, through ffprobe and the delivered tool.
class RealSetsTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (testing::samplesFolder().isEmpty()) GTEST_SKIP() << "no sample recordings here";
        if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
        facts_ = QJsonDocument::fromJson(readAll(testing::samplesFolder() + u"/samples.json"_s)).object();
    }

    QJsonObject fact(const QString& file) const {
        for (const QJsonValue value : facts_[u"files"_s].toArray()) {
            if (value[u"file"_s] == file) return value.toObject();
        }
        return {};
    }

    bool isMono(const QString& file) const { return fact(file)[u"fmt"_s][u"channels"_s].toInt() == 1; }

    // A copy, dated as the recorder left it: the files of one take together, those of different takes apart.
    QString copy(const QString& file, int take) {
        const QString target = folder_.path(file);
        EXPECT_TRUE(QFile::copy(testing::samplesFolder() + u'/' + file, target));
        QFile onDisk(target);
        onDisk.setPermissions(QFile::ReadOwner | QFile::WriteOwner);
        EXPECT_TRUE(onDisk.open(QIODevice::ReadWrite));
        onDisk.setFileTime(QDateTime::fromSecsSinceEpoch(1'700'000'000 + take * 3600),
                           QFileDevice::FileModificationTime);
        return target;
    }

    TestFolder folder_;
    PrivateFolders folders_{folder_};
    QJsonObject facts_;
};

TEST_F(RealSetsTest, TheIsosOfATakeComeOutAsOneGroup) {
    QList<QStringList> expected;
    QStringList selection;
    int number = 0;
    for (const QJsonValue set : facts_[u"sets"_s].toArray()) {
        QStringList members;
        for (const QJsonValue member : set[u"files"_s].toArray()) {
            if (isMono(member.toString()) && !QFile::exists(folder_.path(member.toString())))
                members << copy(member.toString(), number);
        }
        ++number;
        // Files of one name whose lengths differ have nothing in common that grouping knows.
        if (set[u"evidence"_s].toString().contains(u"lengths differ"_s)) continue;
        selection << members;
        if (!members.isEmpty()) expected << members;
    }
    ASSERT_GE(expected.size(), 3);
    const QStringList before = fingerprint(folder_.path());
    const auto tools = realTools();
    std::mt19937 random(3);
    const ISOGroupingEngine engine(tools.ffprobePath, tools.bwfmetaeditPath);
    std::vector<ISOFile> records; // of the first run: to probe the files again would tell nothing new
    for (int run = 0; run < 2; ++run) {
        std::shuffle(selection.begin(), selection.end(), random);
        std::shuffle(records.begin(), records.end(), random);
        const GroupingResult result =
            run == 0 ? engine.groupISOFiles(selection) : engine.groupISOFilesFromList(records);
        QSet<QSet<QString>> found;
        for (const ISOGroupCandidate& group : result.groups) {
            QSet<QString> urls;
            for (const ISOFile& file : group.isoFiles) urls.insert(file.url);
            found.insert(urls);
            if (run == 0) records.insert(records.end(), group.isoFiles.begin(), group.isoFiles.end());
        }
        for (const QStringList& members : expected) {
            EXPECT_TRUE(found.contains(QSet<QString>(members.begin(), members.end())))
                << members.join(u' ').toStdString();
        }
        EXPECT_EQ(found.size(), expected.size());
        EXPECT_TRUE(result.ungroupedFiles.empty());
    }
    EXPECT_EQ(fingerprint(folder_.path()), before);
}

TEST_F(RealSetsTest, TheIsosOfAMetacorderTakeComeInChannelOrderWithTheirNames) {
    QStringList selection;
    for (const int number : {4, 2, 5, 1, 3}) {
        selection << copy(QStringLiteral("recorders/metacorder-isos-take-2C-01/Sr001-2C-01_0%1.WAV").arg(number), 0);
    }
    const auto tools = realTools();
    const GroupingResult result = ISOGroupingEngine(tools.ffprobePath, tools.bwfmetaeditPath).groupISOFiles(selection);
    ASSERT_EQ(result.groups.size(), 1u);
    EXPECT_EQ(result.groups[0].confidence, GroupConfidence::high);
    EXPECT_EQ(result.groups[0].suggestedOutputName(), u"2C-T01_poly"_s);
    std::vector<ISOFile> sorted = result.groups[0].sortedISOs();
    ASSERT_EQ(sorted.size(), 5u);
    for (std::size_t i = 0; i < sorted.size(); ++i) {
        EXPECT_EQ(sorted[i].fileName, QStringLiteral("Sr001-2C-01_0%1.WAV").arg(i + 1));
        const QJsonValue track =
            fact(u"recorders/metacorder-isos-take-2C-01/"_s + sorted[i].fileName)[u"ixml"_s][u"TRACK_LIST"_s][0];
        EXPECT_EQ(sorted[i].metadataTrackName, track[u"NAME"_s].toString());
        EXPECT_EQ(sorted[i].metadataChannelIndex, track[u"CHANNEL_INDEX"_s].toString().toInt());
    }
}

} // namespace
} // namespace ostrel
