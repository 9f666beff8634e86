// One multichannel file from itself to its outcome, with an ffmpeg that can't always be believed.
#include "interleaver/deinterleave_job.h"

#include "interleaver/fixtures.h"
#include "support/own_state.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

class DeinterleaveJobTest : public ::testing::Test {
protected:
    DeinterleaveJobTest() {
        run.ffmpegPath = tool("ffmpeg");
        run.options.deleteOriginalsDeinterleave = true;
        spec.frames = 48000;
    }
    void write(const ChannelLayout& layout, const QByteArray& bytes = QByteArray()) {
        run.layout = layout;
        spec.channels = static_cast<int>(layout.channelTags.size());
        const QString file = folder.write(QStringLiteral("A.wav"), bytes.isEmpty() ? waveBytes(spec) : bytes);
        source = MultiChannelSource::make(file, layout);
        source.channels = spec.channels;
        source.sampleRate = spec.sampleRate;
        source.bitDepth = spec.bitDepth;
        source.containerKind = ContainerKind::riffWave;
        before = fingerprintOf(file);
    }
    ItemOutcome take() {
        report = DeinterleaveJob(run, source, {}).run();
        return report.outcome;
    }
    QStringList outputs() const {
        return QDir(folder.path(QStringLiteral("De-interleaved"))).entryList(QDir::Files | QDir::Hidden, QDir::Name);
    }
    void expectSourceStays() const {
        ASSERT_TRUE(QFile::exists(source.sourceURL));
        EXPECT_EQ(fingerprintOf(source.sourceURL), before);
        EXPECT_EQ(report.outcome.sourcesText(), QStringLiteral("Kept"));
        EXPECT_TRUE(Journal::read().empty());
    }
    void expectFailed(const QString& message) {
        const ItemOutcome outcome = take();
        EXPECT_TRUE(outcome.failed());
        EXPECT_EQ(outcome.message, message);
        EXPECT_TRUE(outcome.outputs.isEmpty());
        EXPECT_EQ(outputs(), QStringList());
        expectSourceStays();
    }
    void expectKept(const QString& why) {
        EXPECT_EQ(take().status, ProcessingStatus::completedWithWarning(QStringLiteral("Originals kept: ") + why))
            << report.outcome.status.text.toStdString();
        expectSourceStays();
    }

    OwnState state;
    TestFolder folder;
    RunContext run{QStringLiteral("deinterleave")};
    WaveSpec spec;
    MultiChannelSource source;
    QString before;
    ItemReport report;
};

TEST_F(DeinterleaveJobTest, AProvenSourceGoes) {
    write(ChannelLayout::smpte51);
    const ItemOutcome outcome = take();
    EXPECT_EQ(outcome.status, ProcessingStatus::completed()) << outcome.status.text.toStdString();
    EXPECT_EQ(outcome.outputs.size(), 6);
    EXPECT_EQ(outcome.sourcesText(), QStringLiteral("Deleted"));
    EXPECT_FALSE(QFile::exists(source.sourceURL));
    EXPECT_EQ(journalSteps(), QStringList{QStringLiteral("delete done")});
}

TEST_F(DeinterleaveJobTest, ASourceMovesBesideItself) {
    write(ChannelLayout::stereo);
    run.options.moveOriginalsDeinterleave = true; // wins over the deletion
    const QString moved = folder.path() + QStringLiteral("/Originals/A.wav");
    EXPECT_EQ(take().sources, (std::vector<SourceFate>{{source.sourceURL, SourceFate::Kind::moved, moved}}));
    EXPECT_TRUE(QFile::exists(moved));
}

TEST_F(DeinterleaveJobTest, ASourceOfWhichSomeChannelsWereLeftOutStays) {
    write(ChannelLayout::smpte51);
    source.selectedChannels = {QStringLiteral("L"), QStringLiteral("R")};
    expectKept(QStringLiteral("channels C, LFE, Ls, Rs are in no output"));
    EXPECT_EQ(outputs(), (QStringList{QStringLiteral("A.L.wav"), QStringLiteral("A.R.wav")}));
    source.selectedChannels = {QStringLiteral("L"), QStringLiteral("R"), QStringLiteral("C"), QStringLiteral("LFE"),
                               QStringLiteral("Ls")};
    run.ledger = std::make_unique<RunLedger>();
    run.options.skipIfExists = false;
    run.options.overwriteExisting = true;
    expectKept(QStringLiteral("channel Rs is in no output"));
}

TEST_F(DeinterleaveJobTest, AChannelThatTheSourceHasNotFailsTheItem) {
    write(ChannelLayout::stereo);
    source.selectedChannels = {QStringLiteral("l"), QStringLiteral("r")};
    expectFailed(QStringLiteral("The source has no channel r"));
    source.selectedChannels = {QStringLiteral("L"), QStringLiteral("Rs")};
    expectFailed(QStringLiteral("The source has no channel Rs"));
    source.selectedChannels = {};
    expectFailed(QStringLiteral("No channels selected for export"));
}

TEST_F(DeinterleaveJobTest, AnOutputThatWasNotMadeFailsTheItem) {
    write(ChannelLayout::stereo);
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("rm \"$out\""));
    expectFailed(QStringLiteral("ffmpeg failed to create A.R.wav"));
}

TEST_F(DeinterleaveJobTest, AShorterOutputFailsTheItem) {
    write(ChannelLayout::stereo);
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("truncate -s 100000 \"$out\""));
    EXPECT_TRUE(take().message.startsWith(QStringLiteral("The new file is shorter than its source: ")))
        << report.outcome.message.toStdString();
    EXPECT_EQ(outputs(), QStringList());
    expectSourceStays();
}

TEST_F(DeinterleaveJobTest, AnOutputThatIsNoAudioFailsTheItem) {
    write(ChannelLayout::stereo);
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("echo rubbish > \"$out\""));
    expectFailed(QStringLiteral("The new files of A.wav can't be read back"));
}

TEST_F(DeinterleaveJobTest, BytesThatAreZeroedBetweenTheBlocksKeepTheSource) {
    write(ChannelLayout::stereo);
    run.ffmpegPath = ffmpegAnd(
        folder, QStringLiteral("dd if=/dev/zero of=\"$out\" bs=1000 seek=42 count=18 conv=notrunc 2>/dev/null"));
    expectKept(QStringLiteral("the samples of A.R.wav are not those of A.wav"));
}

TEST_F(DeinterleaveJobTest, IntegersOf32BitsKeepTheirSource) {
    spec.bitDepth = 32;
    write(ChannelLayout::stereo);
    expectKept(QStringLiteral("the samples of A.L.wav are not those of A.wav"));
}

TEST_F(DeinterleaveJobTest, AHeaderThatTellsAQuarterKeepsTheSource) {
    spec.channels = 2;
    write(ChannelLayout::stereo, withDataSize(waveBytes(spec), 72000));
    expectKept(QStringLiteral("A.wav: about 0.8 s of audio may lie behind the declared end"));
    EXPECT_EQ(report.outcome.warnings.first(),
              QStringLiteral("A.wav: about 0.8 s of audio may lie behind the declared end"));
}

TEST_F(DeinterleaveJobTest, SamplesOfTwentyFourBitsInFourBytesNeverComeOutAsSomethingElse) {
    spec.sampleBytes = 4;
    write(ChannelLayout::stereo);
    const ItemOutcome outcome = take();
    if (outcome.failed()) { // by what this ffmpeg takes them for
        EXPECT_TRUE(outcome.message.startsWith(QStringLiteral("ffmpeg misread A.wav")) ||
                    outcome.message.startsWith(QStringLiteral("The new file is shorter")))
            << outcome.message.toStdString();
        EXPECT_EQ(outputs(), QStringList());
        expectSourceStays();
    } else {
        EXPECT_EQ(decodedByFfmpeg(outcome.outputs.last())[0], scaledTo32(samplesOf(spec), 24)[1]);
    }
}

TEST_F(DeinterleaveJobTest, ANameThatAnotherProgramTookMeanwhileLeavesNoneOfTheSet) {
    write(ChannelLayout::stereo);
    const QString right = folder.path(QStringLiteral("De-interleaved/A.R.wav"));
    run.ffmpegPath = ffmpegAnd(folder, QStringLiteral("echo another > '%1'").arg(right));
    const ItemOutcome outcome = take();
    EXPECT_TRUE(outcome.failed());
    EXPECT_TRUE(outcome.outputs.isEmpty());
    EXPECT_EQ(outputs(), QStringList{QStringLiteral("A.R.wav")});
    EXPECT_EQ(readAll(right), "another\n");
    expectSourceStays();
}

TEST_F(DeinterleaveJobTest, ASourceOfTheRunIsNeverReplaced) {
    write(ChannelLayout::stereo);
    const QString other = folder.write(QStringLiteral("De-interleaved/A.R.wav"), waveBytes({}));
    run.ledger = std::make_unique<RunLedger>(QStringList{source.sourceURL, other});
    run.options.overwriteExisting = true;
    run.options.skipIfExists = false;
    const QString untouched = fingerprintOf(other);
    EXPECT_EQ(take().message, QStringLiteral("A.R.wav would replace a source of this run"));
    EXPECT_EQ(fingerprintOf(other), untouched);
    EXPECT_EQ(outputs().size(), 1);
    expectSourceStays();
}

} // namespace
} // namespace ostrel
