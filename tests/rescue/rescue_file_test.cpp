// Copies of recordings that were never closed, whole on the disk.
#include "rescue/rescue_file.h"
#include "rescue/rescued_head.h"
#include "support/test_folder.h"
#include "support/wave_file.h"
#include "wave/little_endian.h"

#include <QFile>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class RescueFile : public ::testing::Test {
protected:
    RescueItem rescue(const QString& path, const RescueOptions& options = {}, const RescueProgress& progress = {}) {
        RunLedger ledger({path});
        return rescueFile(path, options, ledger, progress);
    }
    RescueItem rescueBytes(const QByteArray& bytes) { return rescue(folder.write(QStringLiteral("T.wav"), bytes)); }

    TestFolder folder;
};

WaveSpec take() {
    return {.channels = 2,
            .frames = 5000,
            .before = {{"bext", bextPayload({.originator = "R", .timeReference = 77})}},
            .after = {{"iXML", "<BWFXML></BWFXML>"}}};
}

QByteArray audioOf(const QByteArray& file) { return chunkOf(file, "data"); }

TEST_F(RescueFile, ACopyHasTheAudioAndAllChunks) {
    const QByteArray good = waveBytes(take());
    for (const quint32 size : {0U, 0xFFFFFFFFU, 0x7FFFEFFCU, 600U}) {
        const QByteArray open = withDataSize(good, size);
        QFile::remove(folder.path(QStringLiteral("T_rescued.wav")));
        const RescueItem item = rescueBytes(open);
        ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
        EXPECT_EQ(item.diagnosis.frames(), 5000U);
        EXPECT_EQ(chunksOf(readAll(item.output)), chunksOf(good)) << size;
        EXPECT_EQ(readAll(item.source), open) << "the recording stays";
        EXPECT_EQ(item.peaks.size(), std::size_t{kRescuePeaks});
        EXPECT_EQ(diagnose(item.output.toStdString()).kind, Diagnosis::Kind::healthy);
    }
    EXPECT_EQ(namesIn(folder.path()), (QStringList{QStringLiteral("T.wav"), QStringLiteral("T_rescued.wav")}));
}

TEST_F(RescueFile, FfmpegReadsTheSameSamplesFromTheCopy) {
    if (installedTool(QStringLiteral("ffmpeg")).isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    const RescueItem item = rescueBytes(withDataSize(waveBytes(take()), 0));
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(decodedByFfmpeg(item.output), scaledTo32(samplesOf(take()), 24));
}

TEST_F(RescueFile, ABegunFrameIsCutAndSaid) {
    WaveSpec spec = take();
    spec.after = {};
    const QByteArray cut = waveBytes(spec).chopped(4);
    const RescueItem item = rescueBytes(cut);
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(item.diagnosis.cutBytes, 2U);
    EXPECT_EQ(item.diagnosis.frames(), 4999U);
    EXPECT_TRUE(item.findings.join(u' ').contains(QStringLiteral("a frame is cut off at the end: 2 bytes left out")));
    EXPECT_EQ(audioOf(readAll(item.output)), audioOf(waveBytes(spec)).chopped(6));
}

TEST_F(RescueFile, ACutChunkBehindTheAudioCostsNoAudio) {
    WaveSpec spec = take();
    spec.after = {{"LIST", "INFOICMT\4\0\0\0abcd"}, {"iXML", QByteArray(3000, 'x')}};
    spec.after[0].second = QByteArray("INFOICMT\4\0\0\0abcd", 16);
    const QByteArray good = waveBytes(spec);
    const RescueItem item = rescueBytes(good.chopped(900));
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(audioOf(readAll(item.output)), audioOf(good));
    EXPECT_EQ(chunkOf(readAll(item.output), "LIST"), chunkOf(good, "LIST"));
}

TEST_F(RescueFile, AudioThatLooksLikeChunksIsNeverWalked) {
    WaveSpec spec = take();
    spec.after = {};
    QByteArray bytes = waveBytes(spec);
    const qsizetype audio = bytes.size() - 30000;
    bytes.replace(audio, 8, "WORD" + littleEndian32(30000 - 8)); // a chunk to the end of the file, were it one
    bytes.replace(audio + 600, 8, "LIST" + littleEndian32(100)); // a known one that leads nowhere
    const RescueItem item = rescueBytes(withDataSize(bytes, 0));
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(audioOf(readAll(item.output)), bytes.last(30000));
}

TEST_F(RescueFile, ZerosAtTheEndAreShownAndStay) {
    WaveSpec spec = take();
    spec.after = {};
    spec.signal = [](int, int frame) { return frame < 4000 ? 7 + frame : 0; };
    const RescueItem item = rescueBytes(withDataSize(waveBytes(spec), 0));
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(item.diagnosis.silentFrames, 1000U);
    EXPECT_EQ(item.diagnosis.frames(), 5000U);
}

TEST_F(RescueFile, MissingPadBytesArePutIn) {
    const QByteArray good = waveBytes({.channels = 2, .frames = 900, .before = {{"iXML", "<BWFXML>odd</BWFXML>."}}});
    const qsizetype pad = good.indexOf("</BWFXML>.") + 10;
    QByteArray open = withDataSize(good, 0);
    ASSERT_NE(chunkOf(good, "iXML").size() % 2, 0);
    open.remove(pad, 1);
    const RescueItem item = rescueBytes(open);
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(chunksOf(readAll(item.output)), chunksOf(good));
}

// A head of bext and iXML, then the room that the recorder left for the headers of format and audio, up to a sector.
QByteArray withoutHeaders(const QByteArray& history, const QByteArray& audio) {
    QByteArray bext = bextPayload({.codingHistory = history});
    bext.append(858 - bext.size(), '\0');
    return "RIFF" + littleEndian32(0) + "WAVE" + chunkBytes("bext", bext) + chunkBytes("iXML", QByteArray(5226, ' ')) +
           QByteArray(32, '\0') + audio;
}

TEST_F(RescueFile, TheCodingHistoryTellsAMissingFormat) {
    const QByteArray audio = audioOf(waveBytes({.channels = 2, .frames = 2000}));
    const RescueItem item = rescueBytes(withoutHeaders("A=PCM,F=48000,W=24,M=stereo,R=48000,T=2 Ch\r\n", audio));
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    const QByteArray copy = readAll(item.output);
    EXPECT_EQ(audioOf(copy), audio);
    const std::optional<WaveLayout> layout = readWaveLayout(item.output.toStdString());
    EXPECT_EQ(layout->format->channels, 2);
    EXPECT_EQ(layout->format->bits, 24);
    EXPECT_EQ(layout->format->sampleRate, 48000U);
}

TEST_F(RescueFile, AHealthyTakeTellsWhatNothingElseDoes) {
    const QByteArray audio = audioOf(waveBytes({.channels = 3, .frames = 2000}));
    const QString path = folder.write(QStringLiteral("T.wav"), withoutHeaders("", audio));
    const RescueItem refused = rescue(path);
    EXPECT_EQ(refused.status, RescueStatus::refused);
    EXPECT_TRUE(refused.reason.contains(QStringLiteral("--like"))) << refused.reason.toStdString();
    const QString like = folder.write(QStringLiteral("like.wav"), waveBytes({.channels = 3, .frames = 10}));
    RescueOptions options;
    options.like = readLikeFile(like.toStdString());
    const RescueItem item = rescue(path, options);
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    EXPECT_EQ(audioOf(readAll(item.output)), audio);
}

TEST_F(RescueFile, WrongLongSizesAreMended) {
    WaveSpec spec = take();
    const QByteArray plain = waveBytes(spec);
    QByteArray ds64 = littleEndian32(40) + littleEndian32(0) + littleEndian32(600) + QByteArray(16, '\0');
    QByteArray open = "RF64" + littleEndian32(~0U) + "WAVE" + chunkBytes("ds64", ds64) + plain.mid(12);
    open.replace(open.indexOf("data") + 4, 4, littleEndian32(~0U));
    const RescueItem item = rescueBytes(open);
    ASSERT_EQ(item.status, RescueStatus::rescued) << item.reason.toStdString();
    const std::optional<WaveLayout> layout = readWaveLayout(item.output.toStdString());
    EXPECT_EQ(layout->kind, WaveLayout::Kind::rf64);
    EXPECT_EQ(layout->data->size, 30000U);
    EXPECT_EQ(readAll(item.output).mid(static_cast<qsizetype>(layout->data->payload), 30000), audioOf(plain));
}

TEST_F(RescueFile, FromFourGigabytesOnTheHeadIsRf64) {
    const QByteArray bare = waveBytes({});
    const QByteArray filled = bare.first(12) + chunkBytes("JUNK", QByteArray(28, '\0')) + bare.mid(12);
    for (const QByteArray& bytes : {bare, filled}) {
        const std::string text = bytes.toStdString();
        Diagnosis told = diagnose(folder.write(QStringLiteral("a.wav"), withDataSize(bytes, 0)).toStdString());
        ASSERT_EQ(told.kind, Diagnosis::Kind::unclosed);
        told.audioBytes = 5'000'000'001;
        MemoryBytes source(text);
        const std::string head = rescuedHead(source, told, 100);
        EXPECT_EQ(head.substr(0, 4), "RF64");
        EXPECT_EQ(head.substr(12, 4), "ds64");
        EXPECT_EQ(head.size(), told.audio + (bytes == filled ? 0 : 36)) << "a filler gives its room";
        EXPECT_EQ(littleEndian<std::uint64_t>(head, 28), told.audioBytes);
        EXPECT_EQ(littleEndian<std::uint64_t>(head, 20), head.size() + told.audioBytes + 1 + 100 - 8);
    }
}

TEST_F(RescueFile, RefusesWhatItCannotKnow) {
    EXPECT_EQ(rescueBytes({}).status, RescueStatus::refused);
    EXPECT_EQ(rescueBytes("RIFF").status, RescueStatus::refused);
    EXPECT_EQ(rescueBytes(QByteArray(9000, '\0')).status, RescueStatus::refused);
    const RescueItem sda = rescue(folder.write(QStringLiteral("A.SDA"), waveBytes({})));
    EXPECT_EQ(sda.status, RescueStatus::refused);
    EXPECT_TRUE(sda.reason.contains(QStringLiteral("put it back into the recorder")));
}

TEST_F(RescueFile, NothingIsEverReplaced) {
    const QString there = folder.write(QStringLiteral("T_rescued.wav"), "mine");
    const RescueItem item = rescueBytes(withDataSize(waveBytes(take()), 0));
    EXPECT_EQ(item.status, RescueStatus::skipped);
    EXPECT_EQ(readAll(there), "mine");
}

TEST_F(RescueFile, TwoRecordingsOfOneNameMakeNoOneCopy) {
    const QByteArray open = withDataSize(waveBytes(take()), 0);
    const QStringList sources{folder.write(QStringLiteral("A/T.wav"), open),
                              folder.write(QStringLiteral("B/T.wav"), open)};
    RunLedger ledger(sources);
    RescueOptions options;
    options.outputFolder = folder.path() + QStringLiteral("/out");
    EXPECT_EQ(rescueFile(sources[0], options, ledger).status, RescueStatus::rescued);
    EXPECT_EQ(rescueFile(sources[1], options, ledger).status, RescueStatus::refused);
    options.outputFolder.clear();
    EXPECT_EQ(rescueFile(sources[1], options, ledger).status, RescueStatus::rescued);
    RunLedger again(sources + QStringList{folder.path(QStringLiteral("B/T_rescued.wav"))});
    EXPECT_EQ(rescueFile(sources[1], options, again).status, RescueStatus::skipped);
}

TEST_F(RescueFile, ADryRunWritesNothing) {
    const QString path = folder.write(QStringLiteral("T.wav"), withDataSize(waveBytes(take()), 0));
    RescueOptions options;
    options.dryRun = true;
    options.outputFolder = folder.path() + QStringLiteral("/new");
    const RescueItem item = rescue(path, options);
    EXPECT_EQ(item.status, RescueStatus::rescued);
    EXPECT_EQ(namesIn(folder.path()), QStringList{QStringLiteral("T.wav")});
}

TEST_F(RescueFile, ARecordingThatGrowsMeanwhileIsRefusedAndLeavesNothing) {
    const QString path = folder.write(QStringLiteral("T.wav"), withDataSize(waveBytes(take()), 0));
    bool hasGrown = false;
    const RescueItem item = rescue(path, {}, [&](quint64, quint64) {
        QFile file(path);
        if (!hasGrown && file.open(QIODevice::Append)) hasGrown = file.write(QByteArray(600, 'x')) == 600;
        return true;
    });
    EXPECT_TRUE(hasGrown);
    EXPECT_EQ(item.status, RescueStatus::refused);
    EXPECT_EQ(namesIn(folder.path()), QStringList{QStringLiteral("T.wav")});
}

TEST_F(RescueFile, AStopLeavesNothing) {
    const QString path = folder.write(QStringLiteral("T.wav"), withDataSize(waveBytes(take()), 0));
    EXPECT_EQ(rescue(path, {}, [](quint64, quint64) { return false; }).status, RescueStatus::refused);
    EXPECT_EQ(namesIn(folder.path()), QStringList{QStringLiteral("T.wav")});
}

TEST_F(RescueFile, TheBadgeTellsHowMuchLiesBehindTheEnd) {
    WaveSpec spec{.channels = 1, .sampleRate = 1000, .bitDepth = 16, .frames = 721'000};
    const RescueItem item = rescueBytes(withDataSize(waveBytes(spec), 2000));
    EXPECT_EQ(item.badge, QStringLiteral("Unclosed: 12 min behind the declared end"));
}

} // namespace
} // namespace ostrel
