// The look at a few blocks of every output, which every job takes.
#include "foundation/proof/glance.h"

#include "foundation/proof/audio_proof.h"
#include "support/sound.h"
#include "support/system_calls.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <cerrno>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class GlanceTest : public ::testing::Test {
protected:
    QString write(const char* name, const WaveSpec& file) const {
        return folder.write(QString::fromUtf8(name), waveBytes(file));
    }
    QString sound(const char* name, const Signal& signal, SampleFormat format = SampleFormat::pcm24) const {
        return writeSound(folder.path(QString::fromUtf8(name)), 1, 48000, signal, 48000, format);
    }
    static Glance look(const QString& source, const QString& output) { return glanceAt({{{source, 0}, {output, 0}}}); }
    static ChannelFinding::Kind kindOf(const QString& source, const QString& output) {
        const Glance glance = look(source, output);
        EXPECT_EQ(glance.findings.size(), 1u);
        return glance.findings.empty() ? ChannelFinding::Kind::unread : glance.findings[0].kind;
    }

    TestFolder folder;
    WaveSpec spec;
};

TEST_F(GlanceTest, EqualFilesAreEqual) {
    const QString a = write("a.wav", spec);
    const Glance glance = look(a, write("b.wav", spec));
    ASSERT_EQ(glance.findings.size(), 1u);
    EXPECT_EQ(glance.findings[0].kind, ChannelFinding::Kind::equal);
    EXPECT_TRUE(glance.shortOutputs.isEmpty() && glance.unequalSources.isEmpty() && glance.oddSources.isEmpty());
    EXPECT_TRUE(glance.has(ChannelFinding::Kind::equal));
    EXPECT_FALSE(glance.has(ChannelFinding::Kind::different) || glance.misread());
    EXPECT_EQ(glance.names(ChannelFinding::Kind::equal, false), QStringList{QStringLiteral("a.wav")});
    EXPECT_EQ(glance.names(ChannelFinding::Kind::equal, true), QStringList{QStringLiteral("b.wav")});
}

TEST_F(GlanceTest, AFloatOnItsWayThroughIntegersIsEqual) {
    const auto fine = [](int, qint64 frame) {
        return 0.7F * static_cast<float>(std::sin(0.01 * static_cast<double>(frame)));
    };
    const QString source = sound("a.wav", fine, SampleFormat::float32);
    spec.frames = 48000;
    spec.bitDepth = 32;
    spec.signal = [&](int, int frame) { return static_cast<std::int32_t>(std::lrint(fine(0, frame) * 2147483648.0)); };
    EXPECT_EQ(kindOf(source, write("b.wav", spec)), ChannelFinding::Kind::equal);
}

TEST_F(GlanceTest, ClippedFloatsAreDifferent) {
    const auto loud = [](int, qint64 frame) {
        return 1.2F * static_cast<float>(std::sin(0.01 * static_cast<double>(frame)));
    };
    const auto clipped = [&](int, qint64 frame) { return std::clamp(loud(0, frame), -1.0F, 1.0F - 1.0F / (1 << 23)); };
    EXPECT_EQ(kindOf(sound("a.wav", loud, SampleFormat::float32), sound("b.wav", clipped)),
              ChannelFinding::Kind::different);
}

// What 24 bits can't tell from silence is no sound that an output of 24 bits could have.
TEST_F(GlanceTest, FaintFloatsThatIntegersLoseAreNotUnlike) {
    const auto faint = [](int, qint64 frame) {
        return 1e-9F * static_cast<float>(std::sin(0.01 * static_cast<double>(frame)));
    };
    const auto silence = [](int, qint64) { return 0.0F; };
    EXPECT_EQ(kindOf(sound("a.wav", faint, SampleFormat::float32), sound("b.wav", silence)),
              ChannelFinding::Kind::different);
}

// A tool that was ended as it wrote its chunk.
TEST_F(GlanceTest, AnOutputThatDoesNotEndWhereItsHeadSaysIsBroken) {
    const QString source = write("a.wav", spec);
    const QString output = folder.write(QStringLiteral("b.wav"), waveBytes(spec) + chunkBytes("iXML", "<BWFXML/>"));
    EXPECT_EQ(look(source, output).brokenOutputs,
              QStringList{QStringLiteral("b.wav does not end where its head says: a tool was ended as it wrote")});
    EXPECT_TRUE(look(source, source).brokenOutputs.isEmpty());
    const AudioProof proof = AudioProof::of({source}, {{{source, 0}, {output, 0}}});
    EXPECT_TRUE(proof.objection().startsWith(QStringLiteral("b.wav does not end")));
}

// What ffmpeg makes of a depth that has no codec of its own.
TEST_F(GlanceTest, SixteenBitsOfAFinerSoundAreNotUnlike) {
    const auto quiet = [](int, qint64 frame) {
        return 0.01F * static_cast<float>(std::sin(0.01 * static_cast<double>(frame)));
    };
    const QString source = sound("a.wav", quiet, SampleFormat::float32);
    spec.frames = 48000;
    spec.bitDepth = 16;
    spec.signal = [&](int, int frame) { return static_cast<std::int32_t>(std::lrint(quiet(0, frame) * 32768.0)); };
    EXPECT_EQ(kindOf(source, write("b.wav", spec)), ChannelFinding::Kind::different);
    spec.signal = [](int, int) { return 0; };
    EXPECT_EQ(kindOf(source, write("silence.wav", spec)), ChannelFinding::Kind::unlike);
}

TEST_F(GlanceTest, LostLowerBitsAreDifferent) {
    spec.bitDepth = 32;
    const QString source = write("a.wav", spec);
    spec.bitDepth = 24;
    spec.signal = [](int, int frame) { return noise(0, frame, 32) >> 8; };
    EXPECT_EQ(kindOf(source, write("b.wav", spec)), ChannelFinding::Kind::different);
}

TEST_F(GlanceTest, SilenceAndOtherSoundsAreUnlike) {
    const QString source = write("a.wav", spec);
    spec.signal = [](int, int) { return 0; };
    const QString silence = write("silence.wav", spec);
    EXPECT_EQ(kindOf(source, silence), ChannelFinding::Kind::unlike);
    spec.signal = {};
    spec.firstSignal = 3;
    EXPECT_EQ(kindOf(source, write("other.wav", spec)), ChannelFinding::Kind::unlike);
    EXPECT_EQ(kindOf(silence, silence), ChannelFinding::Kind::equal);
    EXPECT_EQ(kindOf(silence, source), ChannelFinding::Kind::different); // there was no sound to lose
}

TEST_F(GlanceTest, ShorterOutputsAndUnequalSourcesAreToldOf) {
    const QString longer = write("longer.wav", spec);
    spec.frames = 4000;
    const QString shorter = write("shorter.wav", spec);
    EXPECT_EQ(look(longer, shorter).shortOutputs,
              QStringList{QStringLiteral("The new file is shorter than its source: 4000 of 4800 frames")});
    EXPECT_TRUE(look(shorter, longer).shortOutputs.isEmpty());
    spec.channels = 2;
    const QString merged = write("merged.wav", spec);
    const Glance glance = glanceAt({{{longer, 0}, {merged, 0}}, {{shorter, 0}, {merged, 0}}});
    EXPECT_TRUE(glance.shortOutputs.isEmpty()); // as long as the shortest source
    EXPECT_EQ(glance.unequalSources,
              QStringList{QStringLiteral("The sources are of unequal length: shorter.wav has 4000 "
                                         "frames, longer.wav has 4800 frames")});
}

TEST_F(GlanceTest, AnOutputThatCannotBeReadIsUnread) {
    const QString source = write("a.wav", spec);
    EXPECT_EQ(kindOf(source, folder.write(QStringLiteral("text.wav"), "no audio at all")),
              ChannelFinding::Kind::unread);
    EXPECT_EQ(kindOf(source, folder.path(QStringLiteral("none.wav"))), ChannelFinding::Kind::unread);
    const QString good = write("b.wav", spec);
    EXPECT_EQ(glanceAt({{{source, 0}, {good, 1}}}).findings.at(0).kind,
              ChannelFinding::Kind::unread); // it has one channel only
    int reads = 0;
    const OnSystemCall late(SystemCall::pread, [&](const QByteArray& file, const QByteArray&) {
        return file.endsWith("b.wav") && ++reads > 1 ? EIO : 0; // its header could be read
    });
    EXPECT_EQ(kindOf(source, good), ChannelFinding::Kind::unread);
}

TEST_F(GlanceTest, WhatCannotBeComparedIsLeftOut) {
    const QString source = write("a.wav", spec);
    const QString lossy = writeLossy(folder.path(QStringLiteral("a.ogg")), 4800);
    if (!lossy.isEmpty()) {
        EXPECT_TRUE(look(source, lossy).findings.empty());
        EXPECT_TRUE(look(lossy, source).findings.empty());
    }
    EXPECT_TRUE(look(source, folder.write(QStringLiteral("a.m4a"), "what only ffmpeg reads")).findings.empty());
    EXPECT_TRUE(glanceAt({}).findings.empty());
}

TEST_F(GlanceTest, AnOddContainerThatWasMisreadIsSeen) {
    WaveSpec odd;
    odd.sampleBytes = 4;
    const QString source = write("odd.wav", odd);
    const Glance right = look(source, write("right.wav", spec));
    EXPECT_EQ(right.findings.at(0).kind, ChannelFinding::Kind::equal);
    EXPECT_EQ(right.oddSources, QStringList{source});
    EXPECT_FALSE(right.misread());
    // Its bytes taken three by three.
    spec.signal = [](int, int frame) {
        const quint32 value = static_cast<quint32>(noise(0, frame * 3 / 4, 24));
        return static_cast<std::int32_t>(value << (8 + 8 * (frame % 3))) >> 8;
    };
    EXPECT_TRUE(look(source, write("wrong.wav", spec)).misread());
    EXPECT_EQ(
        misreadSentence({QStringLiteral("odd.wav")}),
        QStringLiteral("ffmpeg misread odd.wav, whose samples stand in more bytes than they need: the new file has "
                       "not got its sound"));
}

} // namespace
} // namespace ostrel
