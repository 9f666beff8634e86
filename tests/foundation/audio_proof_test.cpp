#include "foundation/proof/audio_proof.h"

#include "platform/paths.h"
#include "support/sound.h"
#include "support/system_calls.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

const QString kAll; // no objection

// A file of six channels and six of one, all of the same noise.
class AudioProofTest : public ::testing::Test {
protected:
    AudioProofTest() {
        spec.channels = 6;
        six = write("six.wav", spec);
        spec.channels = 1;
        for (const char* tag : {"L", "R", "C", "LFE", "Ls", "Rs"}) {
            tags << QString::fromLatin1(tag);
            monos << write((QByteArray("six.") + tag + ".wav").constData(), spec);
            ++spec.firstSignal;
        }
        spec.firstSignal = 0;
    }
    QString write(const char* name, const WaveSpec& file) const {
        return folder.write(QString::fromUtf8(name), waveBytes(file));
    }
    QString path(const char* name) const { return folder.path(QString::fromUtf8(name)); }
    std::vector<ChannelPair> pairs(int first = 0, int count = 6) const {
        std::vector<ChannelPair> result;
        for (int i = first; i < first + count; ++i) result.push_back({{six, i}, {monos[i], 0}});
        return result;
    }
    AudioProof split() const { return AudioProof::of({six}, pairs()); }
    AudioProof merge() const {
        std::vector<ChannelPair> back;
        for (int i = 0; i < 6; ++i) back.push_back({{monos[i], 0}, {six, i}});
        return AudioProof::of(monos, back);
    }
    static QString one(const QString& source, const QString& output) {
        return AudioProof::of({source}, {{{source, 0}, {output, 0}}}).objection();
    }

    TestFolder folder;
    WaveSpec spec;
    QString six;
    QStringList monos;
    QStringList tags;
};

TEST_F(AudioProofTest, HoldsBothWaysWhereAllIsThere) {
    EXPECT_EQ(split().objection(), kAll);
    EXPECT_TRUE(split().holds());
    EXPECT_EQ(merge().objection(), kAll);
    EXPECT_TRUE(split().covers(six));
    EXPECT_FALSE(split().covers(monos[0]));
}

TEST_F(AudioProofTest, NothingProvesNothing) {
    EXPECT_FALSE(AudioProof().holds());
    EXPECT_EQ(AudioProof::of({}, {}).objection(), QStringLiteral("nothing was compared"));
    EXPECT_EQ(AudioProof::of({six}, {}).objection(), QStringLiteral("nothing was compared"));
}

TEST_F(AudioProofTest, OneFrameAtTheVeryEndIsSeen) {
    spec.signal = [this](int, int frame) { return noise(5, frame, 24) ^ (frame == spec.frames - 1 ? 1 : 0); };
    write("six.Rs.wav", spec);
    EXPECT_EQ(split().objection(), QStringLiteral("the samples of six.Rs.wav are not those of six.wav"));
    EXPECT_EQ(merge().objection(), QStringLiteral("the samples of six.wav are not those of six.Rs.wav"));
}

TEST_F(AudioProofTest, EveryFrameIsLookedAtHoweverLongTheFile) {
    // Longer than what is read at once, and a frame on either side of every place where a block may end.
    spec.frames = 200'000;
    const QString source = write("long.wav", spec);
    for (const int at : {0, 1023, 1024, 43690, 65535, 65536, 87381, 87382, 131072, 199'999}) {
        spec.signal = [at](int, int frame) { return noise(0, frame, 24) ^ (frame == at ? 0x800000 : 0); };
        EXPECT_FALSE(one(source, write("copy.wav", spec)).isEmpty()) << at;
    }
    spec.signal = {};
    EXPECT_EQ(one(source, write("copy.wav", spec)), kAll);
}

TEST_F(AudioProofTest, ChannelsInNoOutputAreNamed) {
    const QString named = AudioProof::of({six}, pairs(0, 2), {{six, tags}}).objection();
    EXPECT_EQ(named, QStringLiteral("channels C, LFE, Ls, Rs are in no output"));
    EXPECT_EQ(AudioProof::of({six}, pairs(1, 5)).objection(), QStringLiteral("channel 1 of six.wav is in no output"));
    EXPECT_EQ(AudioProof::of(monos.first(2), {{{monos[0], 0}, {six, 0}}}).objection(),
              QStringLiteral("channel six.R.wav is in no output"));
}

TEST_F(AudioProofTest, AnOutputThatLacksTheChannelDoesNotCount) {
    EXPECT_EQ(AudioProof::of({monos[1]}, {{{monos[1], 0}, {monos[0], 1}}}).objection(),
              QStringLiteral("channel six.R.wav is in no output"));
}

TEST_F(AudioProofTest, AChannelThatAFileHasNotProvesNothing) {
    // As a job would that took a file for another layout.
    EXPECT_EQ(AudioProof::of({}, {{{monos[0], 3}, {monos[1], 0}}}).objection(),
              QStringLiteral("six.L.wav has no channel 4"));
    auto more = pairs();
    more.push_back({{six, 6}, {monos[0], 0}});
    EXPECT_EQ(AudioProof::of({six}, more).objection(), QStringLiteral("six.wav has no channel 7"));
    more.back() = {{six, 0}, {monos[0], 1}};
    EXPECT_EQ(AudioProof::of({six}, more).objection(), QStringLiteral("six.L.wav has no channel 2"));
}

TEST_F(AudioProofTest, UnequalLengthsAreNamed) {
    spec.frames = 4799;
    const QString less = write("less.wav", spec);
    spec.frames = 4801;
    const QString more = write("more.wav", spec);
    EXPECT_EQ(one(monos[0], less),
              QStringLiteral("the lengths differ: less.wav has 4799 frames, six.L.wav has 4800 frames"));
    EXPECT_EQ(one(monos[0], more),
              QStringLiteral("the lengths differ: more.wav has 4801 frames, six.L.wav has 4800 frames"));
    EXPECT_FALSE(one(more, monos[0]).isEmpty());
}

TEST_F(AudioProofTest, OneSoundInContainersOfAnotherWidthIsEqual) {
    const auto bits16 = [](int, int frame) { return noise(7, frame, 16); };
    WaveSpec narrow;
    narrow.bitDepth = 16;
    narrow.signal = bits16;
    WaveSpec wide;
    wide.signal = [&](int, int frame) { return bits16(0, frame) * 256; };
    WaveSpec widest;
    widest.bitDepth = 32;
    widest.signal = [&](int, int frame) { return bits16(0, frame) * 65536; };
    const QString a = write("16.wav", narrow);
    const QString b = write("24.wav", wide);
    const QString c = write("32.wav", widest);
    WaveSpec padded = wide;
    padded.sampleBytes = 4; // 24 bits in four bytes
    const QString d = write("24 in 32.wav", padded);
    for (const QString& other : {b, c, d}) {
        EXPECT_EQ(one(a, other), kAll) << other.toStdString();
        EXPECT_EQ(one(other, a), kAll) << other.toStdString();
    }
    EXPECT_EQ(one(b, d), kAll);
    widest.signal = [&](int, int frame) { return bits16(0, frame) * 65536 + (frame == 4799); };
    EXPECT_FALSE(one(a, write("32 and a bit.wav", widest)).isEmpty());
}

TEST_F(AudioProofTest, ConvertedFloatsAreEqualWhereTheyAreExact) {
    const QString floats = writeSound(path("float.wav"), 1, 4800, markedSample, 48000, SampleFormat::float32);
    const QString integers = writeSound(path("int.wav"), 1, 4800, markedSample);
    const QString flac = writeSound(path("a.flac"), 1, 4800, markedSample);
    const QString aiff = writeSound(path("a.aiff"), 1, 4800, markedSample);
    const QString w64 = writeSound(path("a.w64"), 1, 4800, markedSample, 48000, SampleFormat::float32);
    for (const QString& other : {integers, flac, aiff, w64}) EXPECT_EQ(one(floats, other), kAll) << other.toStdString();
    EXPECT_EQ(one(flac, aiff), kAll);
}

TEST_F(AudioProofTest, FloatsAboveFullScaleAreNotTheirClippedCopies) {
    const auto loud = [](int, qint64 frame) { return frame == 4000 ? 1.5F : markedSample(0, frame); };
    const auto atMost1 = [&](int, qint64 frame) { return std::min(loud(0, frame), 1.0F - 1.0F / (1 << 23)); };
    const QString floats = writeSound(path("float.wav"), 1, 4800, loud, 48000, SampleFormat::float32);
    const QString same = writeSound(path("same.wav"), 1, 4800, loud, 48000, SampleFormat::float32);
    const QString clipped = writeSound(path("int.wav"), 1, 4800, atMost1);
    EXPECT_EQ(one(floats, same), kAll);
    EXPECT_EQ(one(floats, clipped), QStringLiteral("the samples of int.wav are not those of float.wav"));
}

TEST_F(AudioProofTest, BytesThatAreNoNumberAreComparedAsBytes) {
    const auto broken = [](int, qint64 frame) { return frame == 7 ? std::nanf("") : 0.25F; };
    const QString a = writeSound(path("a.wav"), 1, 100, broken, 48000, SampleFormat::float32);
    const QString b = writeSound(path("b.wav"), 1, 100, broken, 48000, SampleFormat::float32);
    EXPECT_EQ(one(a, b), kAll);
}

TEST_F(AudioProofTest, HoldsOnlyForTheFilesThatWereCompared) {
    for (const QString& file : {six, monos[3]}) {
        const AudioProof proof = split();
        ASSERT_TRUE(proof.holds());
        const QByteArray bytes = readAll(file);
        folder.write(paths::lastComponent(file), bytes + "more");
        EXPECT_EQ(proof.objection(), paths::lastComponent(file) + QStringLiteral(" was changed meanwhile"));
        folder.write(paths::lastComponent(file), bytes);
        EXPECT_FALSE(proof.holds()); // its time is another
    }
    const AudioProof proof = split();
    QFile::remove(monos[0]);
    EXPECT_EQ(proof.objection(), QStringLiteral("six.L.wav was changed meanwhile"));
}

TEST_F(AudioProofTest, LossyFilesProveNothing) {
    const QString lossy = writeLossy(path("a.ogg"), 4800);
    if (lossy.isEmpty()) GTEST_SKIP() << "no encoder here";
    EXPECT_EQ(one(monos[0], lossy), QStringLiteral("a.ogg is lossy and proves nothing"));
    EXPECT_EQ(one(lossy, monos[0]), QStringLiteral("a.ogg is lossy and proves nothing"));
    EXPECT_FALSE(one(lossy, lossy).isEmpty());
}

TEST_F(AudioProofTest, AnUnclosedSourceStays) {
    const QByteArray whole = readAll(six);
    for (const quint32 size : {0u, 0xFFFFFFFFu, 21600u}) {
        folder.write(QStringLiteral("six.wav"), withDataSize(whole, size));
        const QString objection = split().objection();
        EXPECT_TRUE(
            objection.startsWith(QStringLiteral("six.wav: about 0.1 s of audio may lie behind the declared end")))
            << size << ": " << objection.toStdString();
    }
    folder.write(QStringLiteral("six.wav"), withDataSize(whole, 2'000'000));
    EXPECT_TRUE(split().objection().startsWith(QStringLiteral("six.wav: the header declares about")));
}

TEST_F(AudioProofTest, WhatCannotBeReadProvesNothing) {
    int reads = 0;
    const OnSystemCall late(SystemCall::pread, [&](const QByteArray& file, const QByteArray&) {
        return file.endsWith("six.wav") && ++reads > 2 ? EIO : 0; // its header could be read
    });
    EXPECT_EQ(split().objection(), QStringLiteral("six.wav can't be read: Input/output error"));
    EXPECT_EQ(one(monos[0], path("none.wav")), QStringLiteral("none.wav can't be read: No such file or directory"));
    const QString text = folder.write(QStringLiteral("text.wav"), "no audio at all");
    EXPECT_TRUE(one(monos[0], text).startsWith(QStringLiteral("text.wav can't be read: ")));
}

} // namespace
} // namespace ostrel
