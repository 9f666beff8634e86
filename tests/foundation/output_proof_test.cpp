// What a proof says of files that are what they should be, and of all the ways in which they are not.
#include "foundation/proof/output_proof.h"

#include "foundation/proof/audio_hashes.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

#include <QFile>
#include <QProcess>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class OutputProofTest : public ::testing::Test {
protected:
    QString write(const QString& name, const WaveSpec& spec) { return folder_.write(name, waveBytes(spec)); }
    // Channel i of `left` and `right` is that of the pair's file.
    ProofRecord proofOf(const std::vector<ChannelPair>& pairs) {
        return OutputProof(true).of(pairs, {{output_, folder_.path(u"Take.wav"_s)}}).value();
    }
    std::vector<ChannelPair> stereo() const { return {{{left_, 0}, {output_, 0}}, {{right_, 0}, {output_, 1}}}; }
    void damage(const QString& file, qint64 fromEnd) {
        QFile damaged(file);
        ASSERT_TRUE(damaged.open(QIODevice::ReadWrite));
        ASSERT_TRUE(damaged.seek(damaged.size() - fromEnd));
        const char was = damaged.peek(1)[0];
        ASSERT_TRUE(damaged.putChar(static_cast<char>(was ^ 1)));
    }
    QString byFfmpeg(const QStringList& options, const QString& name) {
        const QString made = folder_.path(name);
        EXPECT_EQ(QProcess::execute(installedTool(u"ffmpeg"_s),
                                    QStringList{u"-v"_s, u"error"_s, u"-y"_s} + options + QStringList{made}),
                  0);
        return made;
    }

    TestFolder folder_;
    QString left_ = write(u"l.wav"_s, {.frames = 9001});
    QString right_ = write(u"r.wav"_s, {.frames = 9001, .firstSignal = 1});
    QString output_ = write(u"private.wav"_s, {.channels = 2, .frames = 9001});
};

TEST_F(OutputProofTest, NothingWhereNobodyAsks) {
    OutputProof proof(false);
    EXPECT_EQ(proof.sources(), nullptr);
    EXPECT_FALSE(proof.of(stereo(), {}).has_value());
}

TEST_F(OutputProofTest, IdenticalChannelsAreToldWithTheirHash) {
    const ProofRecord proof = proofOf(stereo());
    EXPECT_EQ(proof.audio(), ProofFinding::identical);
    ASSERT_EQ(proof.channels.size(), 2U);
    EXPECT_EQ(proof.channels[1].output, folder_.path(u"Take.wav"_s)) << "the name that it gets";
    EXPECT_EQ(proof.channels[1].hash, hashAudio(right_).channels[0]);
    EXPECT_EQ(proof.sentence(), u"Proof: identical, 2 channels read back from the disk"_s);
}

TEST_F(OutputProofTest, OneChangedBitDiffersAndNamesItsChannel) {
    damage(output_, 1); // of the second channel's last sample
    const ProofRecord proof = proofOf(stereo());
    EXPECT_EQ(proof.audio(), ProofFinding::differs);
    EXPECT_EQ(proof.channels[0].finding, ProofFinding::identical);
    EXPECT_EQ(proof.channels[1].finding, ProofFinding::differs);
    EXPECT_EQ(proof.channels[1].hash, QString());
    EXPECT_TRUE(proof.failure().contains(u"channel 2 of Take.wav is not channel 1 of r.wav"_s))
        << proof.failure().toStdString();
}

TEST_F(OutputProofTest, SwappedChannelsDiffer) {
    EXPECT_EQ(proofOf({{{right_, 0}, {output_, 0}}, {{left_, 0}, {output_, 1}}}).audio(), ProofFinding::differs);
}

TEST_F(OutputProofTest, TheEndThatTheShortestSourceCutsOffIsUnproven) {
    right_ = write(u"r.wav"_s, {.frames = 9002, .firstSignal = 1});
    const ProofRecord proof = proofOf(stereo());
    EXPECT_EQ(proof.audio(), ProofFinding::unproven);
    EXPECT_EQ(proof.channels[0].finding, ProofFinding::identical);
    EXPECT_EQ(proof.reasons(), QStringList(u"r.wav has 9002 frames, of which Take.wav has the first 9001"_s));
}

// A recording that was never closed: more of it may lie behind what its header tells.
TEST_F(OutputProofTest, ASourceWithUnexplainedBytesIsUnproven) {
    folder_.write(u"r.wav"_s, readAll(right_) + QByteArray(9000, 'x'));
    const ProofRecord proof = proofOf(stereo());
    EXPECT_EQ(proof.channels[0].finding, ProofFinding::identical);
    EXPECT_EQ(proof.channels[1].finding, ProofFinding::unproven);
    EXPECT_TRUE(proof.reasons().value(0).contains(u"behind the declared end"_s)) << proof.sentence().toStdString();
}

TEST_F(OutputProofTest, AnyOtherLengthDiffers) {
    for (const int frames : {9000, 9002}) {
        output_ = write(u"private.wav"_s, {.channels = 2, .frames = frames});
        EXPECT_EQ(proofOf(stereo()).audio(), ProofFinding::differs) << frames;
    }
}

TEST_F(OutputProofTest, AChannelTooManyDiffers) {
    output_ = write(u"private.wav"_s, {.channels = 3, .frames = 9001});
    EXPECT_EQ(proofOf(stereo()).audio(), ProofFinding::differs);
}

TEST_F(OutputProofTest, AnOutputThatEndsEarlyOrIsGoneDiffers) {
    QFile(output_).resize(QFile(output_).size() - 600);
    EXPECT_EQ(proofOf(stereo()).audio(), ProofFinding::differs);
    QFile::remove(output_);
    EXPECT_EQ(proofOf(stereo()).audio(), ProofFinding::differs);
}

TEST_F(OutputProofTest, AMixIsUnprovenWhateverItHolds) {
    const QString wide = write(u"s.wav"_s, {.channels = 2, .frames = 9001});
    const ProofRecord proof = proofOf({{{left_, 0}, {output_, 0}}, {{wide, kMixedChannels}, {output_, 1}}});
    EXPECT_EQ(proof.audio(), ProofFinding::unproven);
    EXPECT_EQ(proof.channels[0].finding, ProofFinding::identical);
}

TEST_F(OutputProofTest, AnotherWidthIsComparedAsSamples) {
    WaveSpec narrow{.bitDepth = 16, .frames = 500};
    const QString source = write(u"n.wav"_s, narrow);
    WaveSpec wide{.bitDepth = 24, .frames = 500};
    wide.signal = [](int channel, int frame) { return noise(channel, frame, 16) * 256; };
    output_ = write(u"private.wav"_s, wide);
    const std::vector<ChannelPair> pair{{{source, 0}, {output_, 0}}};
    EXPECT_EQ(proofOf(pair).audio(), ProofFinding::identical);
    EXPECT_EQ(proofOf(pair).channels[0].hash, QString()) << "their bytes are not the same";
    damage(output_, 3); // the lowest byte of the last sample
    EXPECT_EQ(proofOf(pair).audio(), ProofFinding::differs) << "a sample that the output could hold";
}

TEST_F(OutputProofTest, RoundedSamplesAreUnprovenAndDamagedOnesDiffer) {
    const QString source = write(u"n.wav"_s, {.bitDepth = 32, .frames = 500});
    WaveSpec spec{.bitDepth = 24, .frames = 500};
    spec.signal = [](int channel, int frame) { return noise(channel, frame, 32) >> 8; };
    output_ = write(u"private.wav"_s, spec);
    const std::vector<ChannelPair> pair{{{source, 0}, {output_, 0}}};
    EXPECT_EQ(proofOf(pair).audio(), ProofFinding::unproven);
    damage(output_, 1); // the highest byte of the last sample
    EXPECT_EQ(proofOf(pair).audio(), ProofFinding::differs);
}

TEST_F(OutputProofTest, FlacIsComparedAsSamplesAndMp3ProvesNothing) {
    if (installedTool(u"ffmpeg"_s).isEmpty()) GTEST_SKIP() << "no ffmpeg here";
    const QString flac = byFfmpeg({u"-i"_s, left_, u"-c:a"_s, u"flac"_s}, u"l.flac"_s);
    const QString mp3 = byFfmpeg({u"-i"_s, left_}, u"l.mp3"_s);
    output_ = write(u"private.wav"_s, {.frames = 9001});
    EXPECT_EQ(proofOf({{{flac, 0}, {output_, 0}}}).audio(), ProofFinding::identical);
    EXPECT_EQ(proofOf({{{mp3, 0}, {output_, 0}}}).audio(), ProofFinding::unproven);
    damage(output_, 3);
    EXPECT_EQ(proofOf({{{flac, 0}, {output_, 0}}}).audio(), ProofFinding::differs);
}

// Whoever wrote over a source as it was copied: nothing is told of it from then on.
TEST_F(OutputProofTest, ASourceThatChangedSinceItWasReadIsUnproven) {
    OutputProof proof(true);
    const CopyPlan plan{{{left_.toStdString(), 44, 1}}, {{folder_.path(u"t"_s).toStdString(), "h", {{0, 0}}}}, 3, 9001};
    copyChannels(plan, {}, &proof.sources()->witness(plan));
    proof.sources()->takeOver();
    EXPECT_EQ(proof.sources()->of({left_, 0}, 9001), hashAudio(left_).channels[0]);
    write(u"l.wav"_s, {.frames = 9005, .firstSignal = 4});
    output_ = write(u"private.wav"_s, {.frames = 9001});
    const auto record = proof.of({{{left_, 0}, {output_, 0}}}, {});
    EXPECT_NE(record->audio(), ProofFinding::identical);
}

// Threads that wait for their turn must not wait for one that failed.
TEST_F(OutputProofTest, ACopyThatFailsHalfWayEndsWithAWitnessToo) {
    const QString poly = write(u"p.wav"_s, {.channels = 2, .frames = 1'500'000});
    OutputProof proof(true);
    const CopyPlan plan{{{poly.toStdString(), 44, 2}}, // which has fewer frames than the plan takes it to have
                        {{folder_.path(u"t"_s).toStdString(), "h", {{0, 1}, {0, 0}}}},
                        3,
                        4'000'000};
    EXPECT_THROW(copyChannels(plan, {}, &proof.sources()->witness(plan)), CopyError);
}

} // namespace
} // namespace ostrel
