#include "polytools/split/poly_split_engine.h"

#include "platform/paths.h"
#include "poly_fixture.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::entryWith;
using testing::messages;
using testing::namesIn;
using testing::TestFolder;
using testing::WaveSpec;
using testing::writePoly;

class PolySplit : public ::testing::Test {
protected:
    SplitResult split(const PolyFile& poly, const SplitOptions& options = {}) {
        QDir().mkpath(output());
        return PolySplitEngine(tools_).split(poly, output(), options);
    }
    QString output(const QString& file = QString()) const {
        const QString isos = paths::append(folder_.path(), QStringLiteral("isos"));
        return file.isEmpty() ? isos : paths::append(isos, file);
    }
    static SplitOptions byNumber() {
        SplitOptions options;
        options.namingPattern = SplitNamingPattern::channelNumber;
        return options;
    }

    TestFolder folder_;
    PolyEngineTools tools_ = testing::toolsWithoutBwfmetaedit();
};

TEST_F(PolySplit, TheCommandLineIsExactlyThis) {
    PolyFile poly;
    poly.url = QStringLiteral("/rec/-a b.wav");
    poly.bitDepth = 24;
    EXPECT_EQ(
        PolySplitEngine::buildSplitCommand(poly, 3, QStringLiteral("/out/x.wav")),
        QStringLiteral("-y|-i|/rec/-a b.wav|-filter_complex|[0:a]pan=mono|c0=c3[out]|-map|[out]|-ac|1|-c:a|pcm_s24le|"
                       "-map_metadata|0|-map_metadata:s:a|0:s:a|-write_bext|1|-f|wav|-rf64|auto|/out/x.wav")
            .replace(QStringLiteral("mono|c0"), QStringLiteral("mono\1c0"))
            .split(u'|')
            .replaceInStrings(QStringLiteral("\1"), QStringLiteral("|")));
}

TEST_F(PolySplit, EveryChannelBecomesTheSamplesOfItsIso) {
    for (const int depth : {16, 24, 32}) {
        WaveSpec spec;
        spec.channels = 5;
        spec.bitDepth = depth;
        const PolyFile poly = writePoly(folder_.path(QStringLiteral("P%1.wav").arg(depth)), spec);
        const QString before = testing::fingerprintOf(poly.url);
        const SplitResult result = split(poly, byNumber());
        EXPECT_EQ(result.createdCount, 5) << messages(result.logEntries).join(u'\n').toStdString();
        const auto expected = testing::scaledTo32(testing::samplesOf(spec), depth);
        for (int i = 0; i < 5; ++i) {
            const auto samples = testing::decodedByFfmpeg(output(QStringLiteral("P%1_ch%2.wav").arg(depth).arg(i + 1)));
            ASSERT_EQ(samples.size(), 1u);
            EXPECT_EQ(samples[0], expected[static_cast<std::size_t>(i)]) << depth << " bit, channel " << i;
        }
        EXPECT_EQ(testing::fingerprintOf(poly.url), before);
    }
}

TEST_F(PolySplit, SixtyFourChannelsComeApart) {
    tools_.ffprobePath.clear();
    WaveSpec spec;
    spec.channels = 64;
    spec.frames = 64;
    const PolyFile poly = writePoly(folder_.path(QStringLiteral("P.wav")), spec);
    EXPECT_EQ(split(poly, byNumber()).createdCount, 64);
    const auto expected = testing::scaledTo32(testing::samplesOf(spec), 24);
    for (const int channel : {0, 1, 17, 63}) {
        EXPECT_EQ(testing::decodedByFfmpeg(output(QStringLiteral("P_ch%1.wav").arg(channel + 1)))[0],
                  expected[static_cast<std::size_t>(channel)]);
    }
}

TEST_F(PolySplit, TwentySevenChannelsUnderLettersEndAtZAndThenTwentySeven) {
    tools_.ffprobePath.clear();
    WaveSpec spec;
    spec.channels = 27;
    spec.frames = 16;
    SplitOptions options;
    options.namingPattern = SplitNamingPattern::channelLetter;
    split(writePoly(folder_.path(QStringLiteral("P.wav")), spec), options);
    const QStringList names = namesIn(output());
    EXPECT_EQ(names.size(), 27);
    EXPECT_TRUE(names.contains(QStringLiteral("P_A.wav")) && names.contains(QStringLiteral("P_Z.wav")) &&
                names.contains(QStringLiteral("P_27.wav")));
}

TEST_F(PolySplit, TrackNamesNameTheFilesAndADashFallsBackToTheChannelNumber) {
    WaveSpec spec;
    spec.channels = 3;
    SplitOptions options;
    options.trackNames = QStringList{QStringLiteral("Boom/Mic: 1?"), QStringLiteral("—")};
    const SplitResult result = split(writePoly(folder_.path(QStringLiteral("P.wav")), spec), options);
    EXPECT_EQ(namesIn(output()).join(u' '), QStringLiteral("P_Boom-Mic-_1.wav P_ch2.wav P_ch3.wav"));
    const QStringList log = messages(result.logEntries);
    EXPECT_EQ(log[0], QStringLiteral("Engine received pattern: Track Name (from iXML)"));
    EXPECT_EQ(log[1], QStringLiteral("Engine received 2 track names: Boom/Mic: 1?, —"));
    EXPECT_TRUE(log.contains(
        QStringLiteral("Using track name 'Boom/Mic: 1?' for interleave index 1 (array 0) → P_Boom-Mic-_1.wav")));
    EXPECT_TRUE(log.contains(
        QStringLiteral("Track name pattern selected but no track name for interleave index 2, falling back to "
                       "channel number")));
    EXPECT_TRUE(log.contains(QStringLiteral("Created: P_ch2.wav")));
    EXPECT_EQ(result.logEntries[0].baseName, QStringLiteral("P"));
}

TEST_F(PolySplit, WithoutTrackNamesTheLogSaysSo) {
    const SplitResult result = split(writePoly(folder_.path(QStringLiteral("P.wav")), {}));
    const auto* entry =
        entryWith(result.logEntries, QStringLiteral("Engine received NO track names (trackNames is nil)"));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->level, LogLevel::warning);
}

TEST_F(PolySplit, TwoTracksOfOneNameKeepBothChannels) {
    WaveSpec spec;
    spec.channels = 2;
    SplitOptions options;
    options.trackNames = QStringList{QStringLiteral("Boom"), QStringLiteral("Boom")};
    options.skipIfExists = false;
    options.overwriteExisting = true;
    EXPECT_EQ(split(writePoly(folder_.path(QStringLiteral("P.wav")), spec), options).createdCount, 2);
    const auto expected = testing::scaledTo32(testing::samplesOf(spec), 24);
    EXPECT_EQ(testing::decodedByFfmpeg(output(QStringLiteral("P_Boom.wav")))[0], expected[0]);
    EXPECT_EQ(testing::decodedByFfmpeg(output(QStringLiteral("P_Boom_2.wav")))[0], expected[1]);
}

TEST_F(PolySplit, WithSkipAndOverwriteBothOnSkipWins) {
    WaveSpec spec;
    spec.channels = 2;
    const PolyFile poly = writePoly(folder_.path(QStringLiteral("P.wav")), spec);
    folder_.write(QStringLiteral("isos/P_ch1.wav"), "old");
    SplitOptions options = byNumber();
    options.overwriteExisting = true;
    const SplitResult result = split(poly, options);
    EXPECT_EQ(result.skippedCount, 1);
    EXPECT_EQ(result.createdCount, 1);
    EXPECT_EQ(testing::readAll(output(QStringLiteral("P_ch1.wav"))), "old");
    EXPECT_TRUE(entryWith(result.logEntries, QStringLiteral("Skipped (exists): P_ch1.wav")));
}

TEST_F(PolySplit, AnExistingOutputWithoutEitherFlagIsAnErrorOfThatChannelAlone) {
    WaveSpec spec;
    spec.channels = 2;
    const PolyFile poly = writePoly(folder_.path(QStringLiteral("P.wav")), spec);
    folder_.write(QStringLiteral("isos/P_ch1.wav"), "old");
    SplitOptions options = byNumber();
    options.skipIfExists = false;
    SplitResult result = split(poly, options);
    EXPECT_EQ(result.errorCount, 1);
    EXPECT_EQ(result.createdCount, 1);
    EXPECT_EQ(testing::readAll(output(QStringLiteral("P_ch1.wav"))), "old");
    EXPECT_EQ(entryWith(result.logEntries, QStringLiteral("Output exists, overwrite disabled: P_ch1.wav"))->level,
              LogLevel::error);

    options.overwriteExisting = true;
    result = split(poly, options);
    EXPECT_EQ(result.createdCount, 2);
    EXPECT_EQ(testing::decodedByFfmpeg(output(QStringLiteral("P_ch1.wav")))[0],
              testing::scaledTo32(testing::samplesOf(spec), 24)[0]);
}

TEST_F(PolySplit, AnOutputNameThatLeadsToThePolyIsNeverWritten) {
    WaveSpec spec;
    spec.channels = 2;
    const PolyFile poly = writePoly(folder_.path(QStringLiteral("P.wav")), spec);
    QDir().mkpath(output());
    ASSERT_TRUE(QFile::link(poly.url, output(QStringLiteral("P_ch1.wav"))));
    const QString before = testing::fingerprintOf(poly.url);
    SplitOptions options = byNumber();
    options.skipIfExists = false;
    options.overwriteExisting = true;
    EXPECT_EQ(split(poly, options).errorCount, 1);
    EXPECT_EQ(testing::fingerprintOf(poly.url), before);
}

TEST_F(PolySplit, APolyOfNoChannelsGivesAnEmptyResultAndTheFinalCall) {
    PolyFile poly;
    poly.url = folder_.path(QStringLiteral("none.wav"));
    QStringList calls;
    const SplitResult result =
        PolySplitEngine(tools_).split(poly, output(), {}, [&](double fraction, const QString& name) {
            calls << QStringLiteral("%1 %2").arg(fraction).arg(name);
        });
    EXPECT_EQ(result.createdCount + result.skippedCount + result.errorCount, 0);
    EXPECT_EQ(calls, QStringList{QStringLiteral("1 Complete")});
}

TEST_F(PolySplit, ProgressTellsTheChannelAheadOfItsWork) {
    WaveSpec spec;
    spec.channels = 4;
    QDir().mkpath(output());
    QStringList calls;
    PolySplitEngine(tools_).split(
        writePoly(folder_.path(QStringLiteral("P.wav")), spec), output(), byNumber(),
        [&](double fraction, const QString& name) { calls << QStringLiteral("%1 %2").arg(fraction).arg(name); });
    EXPECT_EQ(calls.join(u','), QStringLiteral("0 P_ch1.wav,0.25 P_ch2.wav,0.5 P_ch3.wav,0.75 P_ch4.wav,1 Complete"));
}

TEST_F(PolySplit, FailuresAreCountedByChannelAndStopNothing) {
    PolyFile poly;
    poly.url = folder_.write(QStringLiteral("broken.wav"), "this is no audio file");
    poly.channelCount = 2;
    poly.bitDepth = 24;
    SplitResult result = split(poly, byNumber());
    EXPECT_EQ(result.errorCount, 2);
    const auto* entry = entryWith(result.logEntries, QStringLiteral("ffmpeg error for broken_ch1.wav: "));
    ASSERT_TRUE(entry);
    EXPECT_TRUE(entry->message.endsWith(QStringLiteral("Invalid data found when processing input")))
        << entry->message.toStdString();
    EXPECT_LE(entry->message.size(), QStringLiteral("ffmpeg error for broken_ch1.wav: ").size() + 200);
    EXPECT_FALSE(entryWith(result.logEntries, QStringLiteral("ffmpeg version")));

    tools_.ffmpegPath = QStringLiteral("/nowhere/ffmpeg");
    result = split(poly, byNumber());
    EXPECT_EQ(result.errorCount, 2);
    EXPECT_TRUE(
        entryWith(result.logEntries, QStringLiteral("Process error for broken_ch2.wav: No such file or directory")));
}

TEST_F(PolySplit, AnOutputOfMoreChannelsIsKeptWithAWarning) {
    tools_.ffprobePath = folder_.writeScript(QStringLiteral("ffprobe"), QStringLiteral("echo 2"));
    const SplitResult result = split(writePoly(folder_.path(QStringLiteral("P.wav")), {}), byNumber());
    EXPECT_EQ(result.createdCount, 1);
    EXPECT_EQ(entryWith(result.logEntries, QStringLiteral("Warning: Output may not be true mono: P_ch1.wav"))->level,
              LogLevel::warning);
}

TEST_F(PolySplit, WithoutBwfmetaeditTheAudioIsMadeAndTheLogSaysWhatIsLost) {
    const SplitResult result = split(writePoly(folder_.path(QStringLiteral("P.wav")), {}), byNumber());
    EXPECT_EQ(result.createdCount, 1);
    const auto* entry = entryWith(
        result.logEntries,
        QStringLiteral("❌ METADATA ENGINE UNAVAILABLE — bwfmetaedit not found. Output will have NO metadata."));
    ASSERT_TRUE(entry);
    EXPECT_EQ(entry->level, LogLevel::error);
    EXPECT_EQ(entry->category, LogCategory::metadata);
}

TEST_F(PolySplit, StoppingEndsTheLoopAheadOfTheNextChannel) {
    WaveSpec spec;
    spec.channels = 4;
    QDir().mkpath(output());
    PolyEngineHooks hooks;
    int asked = 0;
    hooks.isStopped = [&] { return ++asked > 2; };
    const SplitResult result = PolySplitEngine(tools_, hooks)
                                   .split(writePoly(folder_.path(QStringLiteral("P.wav")), spec), output(), byNumber());
    EXPECT_EQ(result.createdCount, 2);
}

class PolySplitWithMetadata : public PolySplit {
protected:
    void SetUp() override {
        if (!testing::hasBwfmetaedit()) GTEST_SKIP() << "this build has no bwfmetaedit";
        tools_ = testing::realTools();
    }
};

TEST_F(PolySplitWithMetadata, EachIsoSpeaksOfItsOneTrackAndKeepsItsChannelIndex) {
    WaveSpec spec;
    spec.channels = 3;
    spec.before.emplace_back(
        "bext", testing::bextPayload({.description = "sSCENE=12A", .originator = "Rec", .timeReference = 123456}));
    spec.before.emplace_back("SMED", "scene meta data");
    const PolyFile poly =
        writePoly(folder_.path(QStringLiteral("P.wav")), spec, testing::ixmlOf({"Boom", "A &amp; B", "Zo\xc3\xa9"}));
    const QString before = testing::fingerprintOf(poly.url);
    const SplitResult result = split(poly);
    EXPECT_EQ(namesIn(output()).join(u' '), QString::fromUtf8("P_A_&_B.wav P_Boom.wav P_Zoé.wav"));
    const QByteArray file = testing::readAll(output(QStringLiteral("P_A_&_B.wav")));
    const QByteArray xml = testing::ixmlOfFile(output(QStringLiteral("P_A_&_B.wav")));
    EXPECT_TRUE(xml.contains("<TRACK_COUNT>1</TRACK_COUNT>")) << xml.toStdString();
    EXPECT_TRUE(xml.contains("<INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>"));
    EXPECT_TRUE(xml.contains("<CHANNEL_INDEX>12</CHANNEL_INDEX>"));
    EXPECT_TRUE(xml.contains("<NAME>A &amp; B</NAME>"));
    EXPECT_TRUE(xml.contains("<SCENE>12A</SCENE>") && xml.contains("<FAMILY_UID>FAMILY1</FAMILY_UID>"));
    EXPECT_TRUE(xml.contains("<PARENT_UID>POLY1</PARENT_UID>") && !xml.contains("<FILE_UID>POLY1</FILE_UID>"));
    EXPECT_EQ(testing::chunkOf(file, "SMED"), "scene meta data");
    EXPECT_TRUE(testing::chunkOf(file, "bext").startsWith("sSCENE=12A"));
    EXPECT_EQ(testing::decodedByFfmpeg(output(QStringLiteral("P_A_&_B.wav")))[0],
              testing::scaledTo32(testing::samplesOf(spec), 24)[1]);
    EXPECT_TRUE(entryWith(result.logEntries,
                          QStringLiteral("✅ iXML normalized: INTERLEAVE_INDEX=1, CHANNEL_INDEX=12, NAME=A & B")));
    EXPECT_TRUE(entryWith(result.logEntries, QStringLiteral("✅ Split completed - All metadata preserved: P_Boom.wav")))
        << messages(result.logEntries).join(u'\n').toStdString();
    EXPECT_TRUE(
        entryWith(result.logEntries,
                  QStringLiteral("📝 Manifest saved: 12A T3 with 3 tracks (Scene/Take-based, filename-agnostic)")));
    EXPECT_EQ(testing::fingerprintOf(poly.url), before);
}

TEST_F(PolySplitWithMetadata, AListOfSixTracksOnEightChannelsIsNotUsed) {
    WaveSpec spec;
    spec.channels = 8;
    SplitOptions options;
    options.trackNames = QStringList{QStringLiteral("One"), QStringLiteral("Two")};
    const SplitResult result =
        split(writePoly(folder_.path(QStringLiteral("P.wav")), spec, testing::ixmlOf({"a", "b", "c", "d", "e", "f"})),
              options);
    EXPECT_EQ(result.createdCount, 8);
    EXPECT_EQ(namesIn(output()).join(u' '),
              QStringLiteral("P_One.wav P_Two.wav P_ch3.wav P_ch4.wav P_ch5.wav P_ch6.wav P_ch7.wav P_ch8.wav"));
    EXPECT_TRUE(testing::ixmlOfFile(output(QStringLiteral("P_ch8.wav"))).contains("<NAME>CH8</NAME>"));
    EXPECT_TRUE(entryWith(result.logEntries, QStringLiteral("iXML lists 6 tracks for 8 channels")));
}

TEST_F(PolySplitWithMetadata, WhatIsNotCarriedIsNamedOnceAndTheSetIsTold) {
    WaveSpec spec;
    spec.channels = 3;
    spec.before = {{"chna", QByteArray(4, '\0')}, {"cue ", QByteArray(4, '\0')}};
    const SplitResult result =
        split(writePoly(folder_.path(QStringLiteral("P.wav")), spec, testing::ixmlOf({"a", "b", "c"})), byNumber());
    ASSERT_EQ(result.createdCount, 3);
    EXPECT_EQ(testing::messages(result.logEntries).filter(QStringLiteral("Partial metadata")),
              QStringList{QString::fromUtf8("⚠️ Partial metadata preservation: P.wav (chna)")});
    EXPECT_EQ(result.outcome.metadata.lost, QStringList{QStringLiteral("chna")});
    const QByteArray second = testing::ixmlOfFile(output(QStringLiteral("P_ch2.wav")));
    for (const char* part : {"<TOTAL_FILES>3<", "<FILE_SET_INDEX>2<", "<PARENT_FILENAME>P.wav<"}) {
        EXPECT_TRUE(second.contains(part)) << part;
    }
}

TEST_F(PolySplitWithMetadata, IndicesOutOfOrderNameTheFiles) {
    WaveSpec spec;
    spec.channels = 2;
    testing::IxmlSpec ixml;
    ixml.tracks = {{5, 2, "Lav"}, {4, 1, "Boom"}};
    split(writePoly(folder_.path(QStringLiteral("P.wav")), spec, ixml), byNumber());
    // The track of index 2 is the second channel, whatever its place in the document.
    EXPECT_EQ(testing::decodedByFfmpeg(output(QStringLiteral("P_ch2.wav")))[0],
              testing::scaledTo32(testing::samplesOf(spec), 24)[1]);
    EXPECT_TRUE(testing::ixmlOfFile(output(QStringLiteral("P_ch2.wav"))).contains("<CHANNEL_INDEX>5</CHANNEL_INDEX>"));
}

TEST_F(PolySplitWithMetadata, FailedMetadataKeepsTheAudio) {
    tools_.universalEngine.reset();
    tools_ = testing::realTools();
    const QString folder = folder_.path(QStringLiteral("x"));
    tools_.bwfmetaeditPath = QStringLiteral("/nowhere/bwfmetaedit");
    const SplitResult result =
        split(writePoly(folder_.path(QStringLiteral("P.wav")), {}, testing::ixmlOf({"Boom"})), byNumber());
    EXPECT_EQ(result.createdCount, 1);
    EXPECT_EQ(result.errorCount, 0);
    EXPECT_EQ(entryWith(result.logEntries, QStringLiteral("⚠️ Metadata extraction failed: "))->level,
              LogLevel::warning);
}

} // namespace
} // namespace ostrel
