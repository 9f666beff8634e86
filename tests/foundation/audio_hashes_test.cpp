// Checksums of audio: known ones, and those of other programs where they are installed.
#include "foundation/proof/audio_hashes.h"

#include "platform/files/files.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QCryptographicHash>
#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

QString md5Of(const QByteArray& bytes) {
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}

QByteArray channelOf(const QByteArray& audio, qsizetype channels, qsizetype width, qsizetype channel) {
    QByteArray bytes;
    for (qsizetype at = channel * width; at + width <= audio.size(); at += channels * width) {
        bytes += audio.mid(at, width);
    }
    return bytes;
}

QString outputOf(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    EXPECT_TRUE(process.waitForFinished(60'000));
    return QString::fromUtf8(process.readAllStandardOutput());
}

// A mono file of samples of one byte, so that its channel is any bytes one likes.
QByteArray fileOfBytes(const QByteArray& bytes) {
    const QByteArray format = littleEndian16(1) + littleEndian16(1) + littleEndian32(48000) + littleEndian32(48000) +
                              littleEndian16(1) + littleEndian16(8);
    const QByteArray body = "WAVE" + chunkBytes("fmt ", format) + chunkBytes("data", bytes);
    return "RIFF" + littleEndian32(static_cast<quint32>(body.size())) + body;
}

// The same audio as RF64: its sizes stand in ds64.
QByteArray asRf64(const QByteArray& riff) {
    const qsizetype data = riff.indexOf("data");
    const QByteArray size = riff.mid(data + 4, 4) + QByteArray(4, '\0');
    const auto whole = static_cast<quint32>(riff.size() - 8 + 36);
    const QByteArray sizes = littleEndian32(whole) + QByteArray(4, '\0') + size + QByteArray(12, '\0');
    QByteArray file = "RF64" + QByteArray(4, '\xFF') + "WAVE" + chunkBytes("ds64", sizes) + riff.mid(12);
    return file.replace(file.indexOf("data") + 4, 4, QByteArray(4, '\xFF'));
}

class AudioHashesTest : public ::testing::Test {
protected:
    QString write(const QByteArray& bytes) { return folder_.write(u"a.wav"_s, bytes); }
    TestFolder folder_;
};

TEST_F(AudioHashesTest, KnownDigestsOfKnownSamples) {
    WaveSpec stereo{.channels = 2, .bitDepth = 16, .frames = 8};
    stereo.signal = [](int channel, int frame) { return -4000 + 1000 * (2 * frame + channel); };
    EXPECT_EQ(hashAudio(write(waveBytes(stereo))).md5, u"6fd869f7b9762eb844f3f6bce97dd8ac"_s);
    WaveSpec odd{.bitDepth = 24, .frames = 1};
    odd.signal = [](int, int) { return -400000; };
    EXPECT_EQ(hashAudio(write(waveBytes(odd))).md5, u"c4405d85a4884728677133a8209137fe"_s) << "the pad byte is none";
}

TEST_F(AudioHashesTest, KnownXxh128OfAChannelsBytes) {
    EXPECT_EQ(hashAudio(write(fileOfBytes("media-hash-list"))).channels,
              QStringList(u"61a67c014f703a456ee7a776fd8c06bd"_s));
    EXPECT_EQ(hashAudio(write(fileOfBytes(""))).channels, QStringList(u"99aa06d3014798d86001c324468d497f"_s));
}

// Longer than what all threads have in hand, and of an odd number of bytes.
TEST_F(AudioHashesTest, AChannelsHashIsThatOfItsBytesAlone) {
    for (const int channels : {1, 2, 3, 8}) {
        const QByteArray file = waveBytes({.channels = channels, .frames = 700'001});
        const QByteArray audio = chunkOf(file, "data");
        const AudioHashes hashes = hashAudio(write(file));
        EXPECT_EQ(hashes.md5, md5Of(audio)) << channels;
        ASSERT_EQ(hashes.channels.size(), channels);
        EXPECT_EQ(hashes.frames, 700'001);
        for (int i = 0; i < channels; ++i) {
            const QString alone =
                hashAudio(folder_.write(u"b.wav"_s, fileOfBytes(channelOf(audio, channels, 3, i)))).channels[0];
            EXPECT_EQ(hashes.channels[i], alone) << channels << " " << i;
        }
    }
}

TEST_F(AudioHashesTest, WithoutMd5TheChannelsAreTheSame) {
    const QString file = write(waveBytes({.channels = 2, .frames = 300'000}));
    const AudioHashes fast = hashAudio(file, {.md5 = false});
    EXPECT_EQ(fast.md5, QString());
    EXPECT_EQ(fast.channels, hashAudio(file).channels);
    EXPECT_TRUE(hashAudio(file, {.channels = false}).channels.isEmpty());
}

TEST_F(AudioHashesTest, TheFirstFramesAlone) {
    const QString file = write(waveBytes({.channels = 2, .frames = 5000}));
    const QString first = folder_.write(u"b.wav"_s, waveBytes({.channels = 2, .frames = 3000}));
    EXPECT_EQ(hashAudio(file, {.md5 = false, .frames = 3000}).channels, hashAudio(first).channels);
    EXPECT_EQ(hashAudio(file, {.md5 = false, .frames = 9000}).frames, 5000);
}

TEST_F(AudioHashesTest, Rf64TellsTheSame) {
    const QByteArray riff = waveBytes({.channels = 2, .frames = 4801});
    const AudioHashes expected = hashAudio(write(riff));
    const AudioHashes found = hashAudio(folder_.write(u"b.wav"_s, asRf64(riff)));
    EXPECT_EQ(found.md5, expected.md5);
    EXPECT_EQ(found.channels, expected.channels);
}

TEST_F(AudioHashesTest, WhatIsNoWavFileIsAnError) {
    EXPECT_THROW(hashAudio(write("fLaC and more")), FileError);
    EXPECT_THROW(hashAudio(folder_.path(u"none.wav"_s)), FileError);
}

// Blocks of frames, which no byte order takes apart.
TEST_F(AudioHashesTest, CodedAudioHasNoChannelsAndStillAnMd5) {
    QByteArray file = waveBytes({.channels = 2, .frames = 100});
    file.replace(file.indexOf("fmt ") + 8, 2, littleEndian16(0x11));
    const AudioHashes hashes = hashAudio(write(file));
    EXPECT_TRUE(hashes.channels.isEmpty());
    EXPECT_EQ(hashes.md5, md5Of(chunkOf(file, "data")));
}

TEST_F(AudioHashesTest, FfmpegHasTheSameMd5) {
    const QString ffmpeg = installedTool(u"ffmpeg"_s);
    if (ffmpeg.isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    for (const int bits : {16, 24, 32}) {
        const QString file = write(waveBytes({.channels = 3, .bitDepth = bits, .frames = 4801}));
        const QString told =
            outputOf(ffmpeg, {u"-v"_s, u"error"_s, u"-i"_s, file, u"-c:a"_s, u"copy"_s, u"-f"_s, u"md5"_s, u"-"_s});
        EXPECT_EQ(told.trimmed(), u"MD5="_s + hashAudio(file).md5) << bits;
    }
}

TEST_F(AudioHashesTest, XxhsumHasTheSameOfARawChannel) {
    const QString xxhsum = installedTool(u"xxhsum"_s);
    if (xxhsum.isEmpty()) GTEST_SKIP() << "no xxhsum here";
    const QByteArray file = waveBytes({.channels = 3, .frames = 48'000});
    const AudioHashes hashes = hashAudio(write(file));
    for (int i = 0; i < 3; ++i) {
        const QString raw = folder_.write(u"raw"_s, channelOf(chunkOf(file, "data"), 3, 3, i));
        EXPECT_EQ(outputOf(xxhsum, {u"-H2"_s, raw}).section(u' ', 0, 0), hashes.channels[i]);
    }
}

} // namespace
} // namespace ostrel
