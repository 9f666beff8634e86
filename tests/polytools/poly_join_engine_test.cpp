#include "polytools/join/batch_join.h"
#include "polytools/join/poly_join_engine.h"

#include "platform/paths.h"
#include "poly_fixture.h"
#include "polytools/records/poly_names.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::entryWith;
using testing::messages;
using testing::TestFolder;
using testing::WaveSpec;
using testing::writeISO;

class PolyJoin : public ::testing::Test {
protected:
    std::vector<ISOFile> isos(int count, WaveSpec spec = {}) {
        std::vector<ISOFile> result;
        for (int i = 0; i < count; ++i) {
            spec.firstSignal = i;
            result.push_back(
                writeISO(folder_.path(QStringLiteral("isos/T1_%1.wav").arg(i + 1, 2, 10, QLatin1Char('0'))), spec));
        }
        return result;
    }
    JoinResult join(const std::vector<ISOFile>& files, const JoinOptions& options = {}) {
        return PolyJoinEngine(tools_).join(files, output(), options);
    }
    QString output() const { return paths::append(folder_.path(), QStringLiteral("out.wav")); }

    TestFolder folder_;
    PolyEngineTools tools_ = testing::toolsWithoutBwfmetaedit();
};

TEST_F(PolyJoin, TheCommandLineIsExactlyThis) {
    std::vector<ISOFile> files(3);
    for (std::size_t i = 0; i < files.size(); ++i) files[i].url = QStringLiteral("/i/%1.wav").arg(i);
    files[0].bitDepth = 24;
    EXPECT_EQ(PolyJoinEngine::buildJoinCommand(files, QStringLiteral("/o.wav")).join(u' '),
              QStringLiteral(
                  "-y -i /i/0.wav -i /i/1.wav -i /i/2.wav -filter_complex [0:a][1:a][2:a]amerge=inputs=3[aout] -map "
                  "[aout] -ac 3 -c:a pcm_s24le -map_metadata 0 -write_bext 1 -rf64 auto /o.wav"));
}

TEST_F(PolyJoin, LayoutsAndTheirWords) {
    QStringList words;
    for (const JoinChannelLayout layout : kAllJoinChannelLayouts) words << rawText(layout);
    EXPECT_EQ(words.join(u'|'),
              QStringLiteral("Auto-detect|Mono (1ch)|Stereo (2ch)|5.1 Surround (6ch)|7.1 Surround (8ch)"));
}

TEST_F(PolyJoin, EveryIsoBecomesTheSamplesOfItsChannel) {
    for (const int channels : {2, 3, 6, 8, 64}) {
        for (const int depth : {16, 24, 32}) {
            WaveSpec spec;
            spec.bitDepth = depth;
            spec.frames = 480;
            const std::vector<ISOFile> files = isos(channels, spec);
            const QStringList before = testing::fingerprint(folder_.path(QStringLiteral("isos")));
            JoinOptions options;
            options.skipIfExists = false;
            options.overwriteExisting = true;
            const JoinResult result = join(files, options);
            ASSERT_TRUE(result.outcome.succeeded()) << messages(result.logMessages).join(u'\n').toStdString();
            spec.channels = channels;
            EXPECT_EQ(testing::decodedByFfmpeg(output()), testing::scaledTo32(testing::samplesOf(spec), depth))
                << channels << " channels, " << depth << " bit";
            EXPECT_EQ(testing::fingerprint(folder_.path(QStringLiteral("isos"))), before);
        }
    }
}

TEST_F(PolyJoin, OneFileIsNotEnough) {
    const JoinResult result = join(isos(1));
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_EQ(messages(result.logMessages), QStringList{QStringLiteral("Need at least 2 files to join")});
}

TEST_F(PolyJoin, AnExistingOutputIsSkippedOrRefusedOrReplaced) {
    const auto files = isos(2);
    folder_.write(QStringLiteral("out.wav"), "old");
    JoinOptions options;
    JoinResult result = join(files, options);
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_TRUE(result.outcome.outputs.isEmpty());
    EXPECT_EQ(messages(result.logMessages), QStringList{QStringLiteral("Skipped (exists): out.wav")});
    options.skipIfExists = false;
    result = join(files, options);
    EXPECT_EQ(messages(result.logMessages), QStringList{QStringLiteral("Output exists, overwrite disabled")});
    EXPECT_EQ(testing::readAll(output()), "old");
    options.overwriteExisting = true;
    EXPECT_TRUE(join(files, options).outcome.succeeded());
}

TEST_F(PolyJoin, AnIsoIsNeverOverwrittenByItsPoly) {
    const auto files = isos(2);
    const QStringList before = testing::fingerprint(folder_.path(QStringLiteral("isos")));
    JoinOptions options;
    options.skipIfExists = false;
    options.overwriteExisting = true;
    const JoinResult result = PolyJoinEngine(tools_).join(files, files[1].url, options);
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_TRUE(entryWith(result.logMessages, QStringLiteral("T1_02.wav would replace a source of this run")));
    EXPECT_EQ(testing::fingerprint(folder_.path(QStringLiteral("isos"))), before);
}

TEST_F(PolyJoin, RateAndDepthMustAgreeAndTheFirstMismatchEndsIt) {
    auto files = isos(3);
    files[1].bitDepth = 16;
    files[2].sampleRate = 96000;
    JoinResult result = join(files);
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_EQ(messages(result.logMessages), QStringList{QStringLiteral("Bit depth mismatch: T1_02.wav")});
    files[1].sampleRate = 44100;
    result = join(files);
    EXPECT_EQ(messages(result.logMessages), QStringList{QStringLiteral("Sample rate mismatch: T1_02.wav")});
    EXPECT_FALSE(paths::exists(output()));
}

TEST_F(PolyJoin, ProgressHasFixedSteps) {
    QStringList steps;
    PolyJoinEngine(tools_).join(isos(2), output(), {}, [&](double fraction, const QString& step) {
        steps << QStringLiteral("%1 %2").arg(fraction).arg(step);
    });
    EXPECT_EQ(steps.join(u'|'),
              QStringLiteral("0.1 Validating files...|0.2 Building poly file...|0.8 Finalizing...|1 Complete"));
}

TEST_F(PolyJoin, FfmpegFailuresAndLaunchFailuresAreTold) {
    auto files = isos(2);
    folder_.write(QStringLiteral("isos/T1_02.wav"), "no audio");
    JoinResult result = join(files);
    EXPECT_FALSE(result.outcome.succeeded());
    const auto* entry = entryWith(result.logMessages, QStringLiteral("ffmpeg error: "));
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->message.endsWith(QStringLiteral("Invalid data found when processing input")))
        << entry->message.toStdString();
    EXPECT_LE(entry->message.size(), QStringLiteral("ffmpeg error: ").size() + 300);
    tools_.ffmpegPath = QStringLiteral("/nowhere/ffmpeg");
    EXPECT_TRUE(entryWith(join(files).logMessages, QStringLiteral("Process error: No such file or directory")));
}

TEST_F(PolyJoin, WithoutBwfmetaeditTheAudioIsMadeInTheGivenOrder) {
    const JoinResult result = join(isos(2));
    EXPECT_TRUE(result.outcome.succeeded());
    EXPECT_EQ(messages(result.logMessages),
              (QStringList{QStringLiteral(
                               "❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will have NO metadata."),
                           QStringLiteral("Created: out.wav (2 channels)")}));
}

class PolyBatchJoin : public PolyJoin {
protected:
    ISOGroupCandidate group(const QString& scene, const QString& take, int files = 2) {
        ISOGroupCandidate result;
        result.scene = scene;
        result.take = take;
        for (int i = 0; i < files; ++i) {
            WaveSpec spec;
            spec.firstSignal = i;
            spec.frames = 48;
            result.isoFiles.push_back(writeISO(
                folder_.path(QStringLiteral("in/%1-%2_%3.wav").arg(QString(scene).replace(u'/', u'x'), take).arg(i)),
                spec));
        }
        return result;
    }
    BatchJoinResult run(const std::vector<ISOGroupCandidate>& groups, const JoinOptions& options = {}) {
        QDir().mkpath(folder());
        return batchJoin(groups, folder(), options, tools_);
    }
    QString folder() const { return paths::append(folder_.path(), QStringLiteral("polys")); }
};

TEST_F(PolyBatchJoin, FiveGroupsOfWhichTwoExistReportTwoSkipsAndNoRowsForThem) {
    std::vector<ISOGroupCandidate> groups;
    for (int take = 1; take <= 5; ++take) groups.push_back(group(QStringLiteral("7"), QString::number(take)));
    folder_.write(QStringLiteral("polys/7-T2_poly.wav"), "old");
    folder_.write(QStringLiteral("polys/7-T4_poly.wav"), "old");
    QStringList progress;
    QDir().mkpath(folder());
    const BatchJoinResult result = batchJoin(groups, folder(), {}, tools_, {}, [&](const BatchJoinProgress& p) {
        progress << QStringLiteral("%1/%2 %3 %4 %5")
                        .arg(p.currentIndex)
                        .arg(p.totalGroups)
                        .arg(p.currentGroup)
                        .arg(p.totalPolysCreated)
                        .arg(p.skipCount);
    });
    EXPECT_EQ(result.skipCount, 2);
    EXPECT_EQ(result.successCount, 3);
    EXPECT_EQ(result.totalPolysCreated, 3);
    EXPECT_EQ(result.processedGroups, 5);
    ASSERT_EQ(result.groupResults.size(), 5u);
    EXPECT_EQ(std::ranges::count_if(result.groupResults, &GroupJoinResult::isReported), 3);
    EXPECT_EQ(result.groupResults[0].outputName, QStringLiteral("7-T1_poly"));
    EXPECT_EQ(result.groupResults[0].channelCount, 2);
    EXPECT_EQ(result.groupResults[0].outcome.status, ProcessingStatus::completed());
    EXPECT_EQ(progress.first(), QStringLiteral("1/5 7-T1_poly 0 0"));
    EXPECT_EQ(progress.last(), QStringLiteral("5/5 Complete 3 2"));
    EXPECT_TRUE(entryWith(result.logMessages, QStringLiteral("Skipped (exists): 7-T2_poly.wav")));
}

TEST_F(PolyBatchJoin, KeptOriginalNamesLoseTheirEnding) {
    JoinOptions options;
    options.keepOriginalName = true;
    ISOGroupCandidate named = group({}, QStringLiteral("x"));
    run({group(QStringLiteral("12A"), QStringLiteral("3")), named}, options);
    EXPECT_EQ(testing::namesIn(folder()).join(u' '), QStringLiteral("-x_0.wav 12A-T3.wav"));
}

TEST_F(PolyBatchJoin, AGroupOfOneFileCountsAsAnErrorThatTheReportLeavesOut) {
    const BatchJoinResult result = run({group(QStringLiteral("1"), QStringLiteral("1"), 1)});
    EXPECT_EQ(result.errorCount, 1);
    ASSERT_EQ(result.groupResults.size(), 1u);
    EXPECT_TRUE(result.groupResults[0].outcome.failed());
    EXPECT_FALSE(result.groupResults[0].isReported);
    const auto* entry =
        entryWith(result.logMessages, QStringLiteral("Group '1-T1_poly' has only 1 file(s), need at least 2"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->level, LogLevel::warning);
}

TEST_F(PolyBatchJoin, ASceneWithASlashMakesOneFileOfTheFolder) {
    run({group(QStringLiteral("12/A"), QStringLiteral("3"))});
    EXPECT_EQ(testing::namesIn(folder()), QStringList{QStringLiteral("12-A-T3_poly.wav")});
}

TEST_F(PolyBatchJoin, AFailedGroupHasItsRowAndTheOthersGoOn) {
    auto broken = group(QStringLiteral("1"), QStringLiteral("1"));
    broken.isoFiles[1].bitDepth = 16;
    const BatchJoinResult result = run({broken, group(QStringLiteral("1"), QStringLiteral("2"))});
    ASSERT_EQ(result.groupResults.size(), 2u);
    EXPECT_EQ(result.groupResults[0].outcome.status, ProcessingStatus::failed(QStringLiteral("Join operation failed")));
    EXPECT_TRUE(result.groupResults[0].outcome.message.startsWith(QStringLiteral("Bit depth mismatch")));
    EXPECT_EQ(result.successCount, 1);
    EXPECT_EQ(result.errorCount, 1);
}

TEST_F(PolyBatchJoin, TwoGroupsOfOneNameNeverReplaceEachOther) {
    JoinOptions options;
    options.skipIfExists = false;
    options.overwriteExisting = true;
    auto second = group(QStringLiteral("1"), QStringLiteral("1"), 3);
    const BatchJoinResult result = run({group(QStringLiteral("1"), QStringLiteral("1")), second}, options);
    EXPECT_EQ(result.successCount, 2);
    EXPECT_EQ(testing::namesIn(folder()),
              (QStringList{QStringLiteral("1-T1_poly.wav"), QStringLiteral("1-T1_poly_2.wav")}));
    EXPECT_EQ(result.groupResults[1].outputName, QStringLiteral("1-T1_poly_2"));
    EXPECT_TRUE(
        entryWith(result.logMessages, QStringLiteral("The name 1-T1_poly.wav is taken, using 1-T1_poly_2.wav")));
    // A second run finds both where the first put them.
    const BatchJoinResult again = run({group(QStringLiteral("1"), QStringLiteral("1")), second});
    EXPECT_EQ(again.skipCount, 2);
    EXPECT_EQ(testing::namesIn(folder()).size(), 2);
}

TEST_F(PolyBatchJoin, AGroupWithTheNameOfItsFirstIsoIsJoinedBesideIt) {
    ISOGroupCandidate beside = group(QString(), QString());
    beside.groupingMethod = GroupingMethod::timestampDuration;
    const QString isos = paths::parent(beside.isoFiles[0].url);
    const QStringList before = testing::fingerprint(isos);
    JoinOptions options;
    options.keepOriginalName = true;
    const QString own = groupOutputName(beside, true);
    ASSERT_EQ(own + QStringLiteral(".wav"), beside.isoFiles[0].fileName);
    const BatchJoinResult result = batchJoin({beside}, isos, options, tools_, {});
    EXPECT_EQ(result.successCount, 1);
    EXPECT_TRUE(QFile::exists(isos + u'/' + own + QStringLiteral("_2.wav")));
    for (const QString& file : before) EXPECT_TRUE(testing::fingerprint(isos).contains(file)) << file.toStdString();
}

class PolyJoinWithMetadata : public PolyJoin {
protected:
    void SetUp() override {
        if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
        tools_ = testing::realTools();
    }
    ISOFile iso(int signal, const std::optional<testing::TrackSpec>& track) {
        WaveSpec spec;
        spec.firstSignal = signal;
        std::optional<testing::IxmlSpec> ixml;
        if (track) {
            ixml = testing::ixmlOf({});
            ixml->tracks = {*track};
        }
        return writeISO(folder_.path(QStringLiteral("isos/T_%1.wav").arg(signal)), spec, ixml);
    }
    // Which ISO's noise each channel of the output carries.
    std::vector<int> channelOrder(int channels) {
        WaveSpec spec;
        spec.channels = channels;
        const auto signals = testing::scaledTo32(testing::samplesOf(spec), 24);
        std::vector<int> order;
        for (const auto& samples : testing::decodedByFfmpeg(output())) {
            order.push_back(static_cast<int>(std::find(signals.begin(), signals.end(), samples) - signals.begin()));
        }
        return order;
    }
};

TEST_F(PolyJoinWithMetadata, InterleaveIndicesThreeOneTwoJoinInTheOrderOneTwoThree) {
    const JoinResult result = join({iso(0, {{23, 3, "C"}}), iso(1, {{21, 1, "A"}}), iso(2, {{22, 2, "B &amp; b"}})});
    ASSERT_TRUE(result.outcome.succeeded());
    EXPECT_EQ(channelOrder(3), (std::vector<int>{1, 2, 0}));
    const QByteArray xml = testing::ixmlOfFile(output());
    EXPECT_TRUE(xml.contains("<TRACK_COUNT>3</TRACK_COUNT>")) << xml.toStdString();
    EXPECT_LT(xml.indexOf("<NAME>A</NAME>"), xml.indexOf("<NAME>B &amp; b</NAME>"));
    EXPECT_LT(xml.indexOf("<NAME>B &amp; b</NAME>"), xml.indexOf("<NAME>C</NAME>"));
    EXPECT_TRUE(xml.contains("<CHANNEL_INDEX>23</CHANNEL_INDEX>") && xml.contains("<FAMILY_UID>FAMILY1</FAMILY_UID>"));
    EXPECT_TRUE(entryWith(result.logMessages, QStringLiteral("🎯 ISOs sorted by INTERLEAVE_INDEX from iXML metadata")));
    EXPECT_TRUE(entryWith(
        result.logMessages,
        QStringLiteral("✅ Multi-track iXML rebuilt: 3 tracks with correct INTERLEAVE_INDEX and CHANNEL_INDEX")));
    EXPECT_TRUE(entryWith(result.logMessages, QStringLiteral("✅ Metadata preserved (Scene: 12A, Take: 3)")));
}

TEST_F(PolyJoinWithMetadata, IsosThatAllCarryIndexOneKeepTheOrderGiven) {
    ASSERT_TRUE(join({iso(2, {{5, 1, "C"}}), iso(0, {{9, 1, "A"}}), iso(1, {{1, 1, "B"}})}).outcome.succeeded());
    EXPECT_EQ(channelOrder(3), (std::vector<int>{2, 0, 1}));
}

TEST_F(PolyJoinWithMetadata, AFileWithoutIxmlTakesTheIndexOfItsPosition) {
    ASSERT_TRUE(join({iso(0, {{1, 1, "A"}}), iso(1, std::nullopt), iso(2, {{3, 3, "C"}})}).outcome.succeeded());
    EXPECT_EQ(channelOrder(3), (std::vector<int>{0, 1, 2}));
}

} // namespace
} // namespace ostrel
