// One file of the parts of a recording.
#include "cut_recording.h"
#include "stitch/stitch_file.h"
#include "wave/wave_head.h"

#include <QFile>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace testing;

constexpr quint64 kDayAt48k = 86'400ULL * 48'000;

QByteArray documentNamed(const QByteArray& uid, const QByteArray& more = {}) {
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n<IXML_VERSION>1.5</IXML_VERSION>\n<FILE_UID>" + uid +
           "</FILE_UID>\n" + more + "</BWFXML>\n";
}

class StitchFile : public ::testing::Test {
protected:
    // Parts of 1000 frames each, `off` frames late (or early, out of the same audio) at the second one.
    QStringList writeTwo(int off = 0, WaveSpec spec = {.channels = 2, .frames = 2000}) {
        const QString path = folder.write(u"whole/W.wav"_s, waveBytes(spec));
        whole = recordingAt(path);
        const quint64 from = off < 0 ? 1000 - static_cast<quint64>(-off) : 1000;
        return {folder.write(u"T1.wav"_s, partOf(whole, 0, 1000, 7000)),
                folder.write(u"T2.wav"_s, partOf(whole, from, 2000 - from, 8000 + static_cast<quint64>(off)))};
    }
    StitchItem stitch(const QStringList& paths, const StitchOptions& options = {},
                      const StitchProgress& progress = {}) {
        std::vector<Part> parts;
        for (const QString& path : paths) parts.push_back(readPart(path));
        const std::vector<Series> series = seriesOf(parts);
        EXPECT_EQ(series.size(), 1U);
        RunLedger ledger(paths);
        return stitchSeries(series.front(), {}, options, ledger, progress);
    }
    QStringList names() const {
        QStringList result = namesIn(folder.path());
        result.removeAll(u"whole"_s);
        return result;
    }

    TestFolder folder;
    Recording whole;
};

TEST_F(StitchFile, TheFirstPartsHeadStandsAheadOfAllAudio) {
    const QByteArray umid(64, 'U');
    const QStringList paths = writeTwo(
        0,
        {.channels = 2,
         .frames = 2000,
         .before = {{"bext", bextPayload({.description = "sSCENE=4", .originator = "R", .umid = umid})}},
         .after = {{"iXML", documentNamed("ORIGINAL")}, {"MD5 ", QByteArray(16, 'x')}, {"smpl", QByteArray(36, 1)}}});
    const QStringList before = fingerprint(folder.path());
    const StitchItem item = stitch(paths, {.outputFolder = folder.path(u"out"_s)});
    ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
    EXPECT_EQ(item.output, folder.path(u"out/T1_stitched.wav"_s));
    const QByteArray made = readAll(item.output);
    EXPECT_EQ(chunkOf(made, "data"), whole.audio());
    EXPECT_EQ(chunkOf(made, "bext").left(348), chunkOf(readAll(paths[0]), "bext").left(348));
    EXPECT_EQ(chunkOf(made, "bext").mid(348, 64), QByteArray(64, '\0')) << "that of a part";
    EXPECT_EQ(chunkOf(made, "smpl"), QByteArray(36, 1));
    const QByteArray document = chunkOf(made, "iXML");
    EXPECT_EQ(document.count("<PARENT_FILENAME>"), 2);
    EXPECT_LT(document.indexOf("<PARENT_FILENAME>T1.wav<"), document.indexOf("<PARENT_FILENAME>T2.wav<"));
    EXPECT_EQ(document.count("<PARENT_UID>ORIGINAL<"), 2);
    EXPECT_FALSE(document.contains("<FILE_UID>ORIGINAL"));
    EXPECT_NE(chunkOf(made, "MD5 "), QByteArray(16, 'x')) << "of the audio that is there now";
    QFile::remove(item.output);
    QStringList after = fingerprint(folder.path());
    EXPECT_EQ(after, before);
}

TEST_F(StitchFile, WithoutADocumentOneIsMadeThatNamesTheParts) {
    const StitchItem item = stitch(writeTwo());
    ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
    const QByteArray document = chunkOf(readAll(item.output), "iXML");
    EXPECT_TRUE(document.contains("<PARENT_FILENAME>T1.wav<")) << document.toStdString();
    EXPECT_TRUE(document.contains("<PARENT_FILENAME>T2.wav<")) << document.toStdString();
}

TEST_F(StitchFile, AGapIsRefusedOrSilence) {
    const QStringList paths = writeTwo(1234);
    const StitchItem refused = stitch(paths);
    EXPECT_EQ(refused.status, StitchStatus::refused);
    EXPECT_EQ(refused.reason, u"gap of 1,234 samples"_s);
    EXPECT_EQ(names(), (QStringList{u"T1.wav"_s, u"T2.wav"_s}));
    const StitchItem item = stitch(paths, {.fillsGaps = true});
    ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
    EXPECT_EQ(item.frames, 3234U);
    const QByteArray audio = whole.audio();
    EXPECT_EQ(chunkOf(readAll(item.output), "data"), audio.left(6000) + QByteArray(1234 * 6, '\0') + audio.mid(6000));
}

TEST_F(StitchFile, SilenceOfEightBitsIsTheirMiddle) {
    const QByteArray format = littleEndian16(1) + littleEndian16(1) + littleEndian32(48'000) + littleEndian32(48'000) +
                              littleEndian16(1) + littleEndian16(8);
    const auto file = [&](quint64 start) {
        const QByteArray chunks = chunkBytes("fmt ", format) +
                                  chunkBytes("bext", bextPayload({.timeReference = start})) +
                                  chunkBytes("data", QByteArray(10, 'a'));
        return "RIFF" + littleEndian32(static_cast<quint32>(chunks.size() + 4)) + "WAVE" + chunks;
    };
    const StitchItem item =
        stitch({folder.write(u"T1.wav"_s, file(0)), folder.write(u"T2.wav"_s, file(13))}, {.fillsGaps = true});
    ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
    EXPECT_EQ(chunkOf(readAll(item.output), "data"), QByteArray("aaaaaaaaaa\x80\x80\x80") + "aaaaaaaaaa");
}

TEST_F(StitchFile, AnOverlapIsTrimmedOnlyWhereBothSidesAreTheSame) {
    const QStringList paths = writeTwo(-480);
    const StitchItem refused = stitch(paths);
    EXPECT_EQ(refused.status, StitchStatus::refused);
    EXPECT_EQ(refused.reason, u"overlap of 480, identical"_s);
    const StitchItem item = stitch(paths, {.trimsOverlaps = true});
    ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
    EXPECT_EQ(chunkOf(readAll(item.output), "data"), whole.audio());
    QFile::remove(item.output);

    QByteArray other = readAll(paths[1]);
    const qsizetype place = other.indexOf("data") + 8 + 100;
    other[place] = static_cast<char>(other[place] ^ 1);
    folder.write(u"T2.wav"_s, other);
    const StitchItem differing = stitch(paths, {.trimsOverlaps = true});
    EXPECT_EQ(differing.status, StitchStatus::refused);
    EXPECT_EQ(differing.reason, u"overlap of 480, not identical"_s);
}

TEST_F(StitchFile, AStopLeavesNothing) {
    const StitchItem item = stitch(writeTwo(), {}, [](quint64, quint64) { return false; });
    EXPECT_EQ(item.status, StitchStatus::refused);
    EXPECT_EQ(names(), (QStringList{u"T1.wav"_s, u"T2.wav"_s}));
}

TEST_F(StitchFile, NothingIsWrittenOver) {
    const QStringList paths = writeTwo();
    folder.write(u"T1_stitched.wav"_s, "mine");
    EXPECT_EQ(stitch(paths).status, StitchStatus::skipped);
    EXPECT_EQ(readAll(folder.path(u"T1_stitched.wav"_s)), "mine");
}

TEST_F(StitchFile, WhatWasNeverClosedIsNoPart) {
    const QString path = folder.write(u"T.wav"_s, withDataSize(waveBytes({.frames = 900}), 300));
    EXPECT_TRUE(readPart(path).fault.contains(u"rescue it first"_s));
}

TEST_F(StitchFile, AudioThatLooksLikeChunksIsNeverWalked) {
    WaveSpec spec{.channels = 2, .frames = 2000};
    QByteArray bytes = waveBytes(spec);
    const qsizetype audio = bytes.size() - 12'000;
    for (qsizetype at = audio; at + 8 < bytes.size(); at += 24) {
        bytes.replace(at, 8, (at % 48 ? "LIST" : "data") + littleEndian32(16));
    }
    whole = recordingAt(folder.write(u"whole/W.wav"_s, bytes));
    for (const quint64 cut : {4ULL, 1000ULL, 1996ULL}) { // at words that look like headers of chunks
        const QStringList paths = writeParts(folder, u"T%1.wav"_s, whole, 50, {cut}, kDayAt48k);
        const StitchItem item = stitch(paths);
        ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
        EXPECT_EQ(chunkOf(readAll(item.output), "data"), whole.audio());
        QFile::remove(item.output);
    }
}

TEST_F(StitchFile, IsosAreStitchedTrackByTrack) {
    std::vector<Part> parts;
    QStringList paths;
    std::vector<QByteArray> audio;
    for (int track = 1; track <= 3; ++track) {
        const QByteArray tracks = "<TRACK_LIST><TRACK_COUNT>1</TRACK_COUNT><TRACK><CHANNEL_INDEX>" +
                                  QByteArray::number(track) + "</CHANNEL_INDEX><INTERLEAVE_INDEX>1</INTERLEAVE_INDEX>" +
                                  "<NAME>T" + QByteArray::number(track) + "</NAME></TRACK></TRACK_LIST>";
        whole = recordingAt(folder.write(
            u"whole/W.wav"_s,
            waveBytes({.frames = 3000, .after = {{"iXML", documentNamed("U", tracks)}}, .firstSignal = track})));
        audio.push_back(whole.audio());
        paths << writeParts(folder, u"X%1_"_s.append(QString::number(track)) + u".wav"_s, whole, kDayAt48k - 1500,
                            {1000, 2000}, kDayAt48k);
    }
    for (const QString& path : paths) parts.push_back(readPart(path));
    const std::vector<Series> series = seriesOf(parts);
    ASSERT_EQ(series.size(), 3U);
    ASSERT_EQ(parallelSets(series).size(), 1U);
    RunLedger ledger(paths);
    for (std::size_t track = 0; track < 3; ++track) {
        const StitchItem item = stitchSeries(series[track], {static_cast<int>(track) + 1, 3}, {}, ledger);
        ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
        EXPECT_EQ(chunkOf(readAll(item.output), "data"), audio[track]);
        const QByteArray document = chunkOf(readAll(item.output), "iXML");
        EXPECT_TRUE(document.contains("<TOTAL_FILES>3</TOTAL_FILES>")) << document.toStdString();
        EXPECT_TRUE(document.contains("<CHANNEL_INDEX>" + QByteArray::number(track + 1) + "</CHANNEL_INDEX>"));
    }
    EXPECT_EQ(partsText(3, 3), u"3 tracks, 3 parts each"_s);
}

// Two parts of 2.2 GiB that take no room on the disk but for their heads and a few marks.
TEST_F(StitchFile, BeyondFourGiBItIsRf64) {
    if (!qEnvironmentVariableIsSet("OSTREL_LONG_TESTS")) GTEST_SKIP() << "OSTREL_LONG_TESTS is not set";
    constexpr quint64 kFrames = 400'000'000; // of 6 bytes
    QStringList paths;
    for (const int number : {0, 1}) {
        const QByteArray format = chunkBytes("bext", bextPayload({.timeReference = number * kFrames % kDayAt48k}));
        const WaveFormat told{.tag = 1, .channels = 2, .sampleRate = 48'000, .blockAlign = 6, .bits = 24};
        const std::string head =
            headBytes({told,
                       kFrames * 6,
                       {{"bext", bextPayload({.timeReference = number * kFrames % kDayAt48k}).toStdString()}}});
        paths << folder.write(u"T%1.wav"_s.arg(number), QByteArray::fromStdString(head));
        QFile file(paths.last());
        ASSERT_TRUE(file.open(QIODevice::ReadWrite));
        ASSERT_TRUE(file.resize(static_cast<qint64>(head.size() + kFrames * 6)));
        file.seek(file.size() - 3);
        file.write(number == 0 ? "abc" : "xyz");
    }
    const StitchItem item = stitch(paths);
    ASSERT_EQ(item.status, StitchStatus::stitched) << item.reason.toStdString();
    QFile made(item.output);
    ASSERT_TRUE(made.open(QIODevice::ReadOnly));
    EXPECT_EQ(made.read(4), "RF64");
    const auto layout = readWaveLayout(item.output.toStdString());
    EXPECT_EQ(layout->frames(), 2 * kFrames);
    EXPECT_TRUE(layout->endsAsDeclared());
    made.seek(static_cast<qint64>(layout->data->payload + kFrames * 6) - 3);
    EXPECT_EQ(made.read(4), QByteArray("abc\0", 4));
    made.seek(made.size() - 3);
    EXPECT_EQ(made.read(3), "xyz");
}

} // namespace
} // namespace ostrel
