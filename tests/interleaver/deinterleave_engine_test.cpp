#include "interleaver/deinterleave_engine.h"

#include "interleaver/fixtures.h"
#include "interleaver/interleave_command.h"
#include "platform/background.h"
#include "platform/paths.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using namespace testing;

MultiChannelSource writeSource(const TestFolder& folder, const ChannelLayout& layout, WaveSpec spec) {
    spec.channels = static_cast<int>(layout.channelTags.size());
    MultiChannelSource source =
        MultiChannelSource::make(folder.write(QStringLiteral("Take.wav"), waveBytes(spec)), layout);
    source.channels = spec.channels;
    source.sampleRate = spec.sampleRate;
    source.bitDepth = spec.bitDepth;
    source.containerKind = ContainerKind::riffWave;
    return source;
}

DeinterleaveEngine deinterleaver() { return {tool("ffmpeg"), QString()}; }

class EveryLayoutAndDepthBack : public ::testing::TestWithParam<std::tuple<QString, int>> {};

TEST_P(EveryLayoutAndDepthBack, EveryOutputIsItsChannelBitForBitUpTo24Bits) {
    const ChannelLayout layout = *ChannelLayout::withId(std::get<0>(GetParam()));
    const TestFolder folder;
    WaveSpec spec;
    spec.bitDepth = std::get<1>(GetParam());
    const MultiChannelSource source = writeSource(folder, layout, spec);
    const QString before = fingerprintOf(source.sourceURL);
    const DeinterleaveResult result = deinterleaver().deinterleave(source, {}, QString());
    ASSERT_TRUE(result.outcome.succeeded()) << result.outcome.message.toStdString();
    // ffmpeg takes 32-bit samples through floats on this road and keeps their upper 24 bits: the item says so.
    EXPECT_EQ(result.outcome.warnings.isEmpty(), spec.bitDepth < 32)
        << result.outcome.warnings.join(u'\n').toStdString();
    const Samples expected = expectedSamples(spec, source.channels);
    const QStringList order = ffmpegLayoutOf(layout).tags;
    for (qsizetype i = 0; i < order.size(); ++i) {
        const Samples mono = decodedByFfmpeg(result.outputURLs.value(order[i]));
        ASSERT_EQ(mono.size(), 1u);
        const auto& channel = expected[static_cast<std::size_t>(i)];
        if (spec.bitDepth < 32) {
            EXPECT_EQ(mono[0], channel) << order[i].toStdString();
            continue;
        }
        ASSERT_EQ(mono[0].size(), channel.size());
        for (std::size_t frame = 0; frame < channel.size(); ++frame) {
            EXPECT_LE(std::abs(double(mono[0][frame]) - channel[frame]), 64) << order[i].toStdString();
        }
    }
    EXPECT_EQ(fingerprintOf(source.sourceURL), before);
}

INSTANTIATE_TEST_SUITE_P(Deinterleave, EveryLayoutAndDepthBack,
                         ::testing::Combine(::testing::Values(QStringLiteral("stereo"), QStringLiteral("5.1-film"),
                                                              QStringLiteral("5.1-smpte"), QStringLiteral("7.1-smpte")),
                                            ::testing::Values(16, 24, 32)));

TEST(DeinterleaveEngine, SevenOneFilmOfAPlainFileIsRemixedByFfmpegAndSaysSo) {
    const TestFolder folder;
    const MultiChannelSource source = writeSource(folder, ChannelLayout::film71, {});
    const DeinterleaveResult result = deinterleaver().deinterleave(source, {}, QString());
    ASSERT_TRUE(result.outcome.succeeded()) << result.outcome.message.toStdString();
    ASSERT_EQ(result.outcome.warnings.size(), 1);
    EXPECT_TRUE(result.outcome.warnings.first().startsWith(
        QStringLiteral("Take.wav: ffmpeg converted or remixed the channels on the way")))
        << result.outcome.warnings.first().toStdString();
}

TEST(DeinterleaveEngine, OnlySelectedChannelsAreMade) {
    const TestFolder folder;
    MultiChannelSource source = writeSource(folder, ChannelLayout::smpte51, {});
    source.selectedChannels = {QStringLiteral("L"), QStringLiteral("R")};
    ProcessingOptions options;
    options.channelSeparator = ChannelSeparator::underscore;
    const DeinterleaveResult result = deinterleaver().deinterleave(source, options, folder.path(QStringLiteral("X")));
    ASSERT_TRUE(result.outcome.succeeded()) << result.outcome.message.toStdString();
    EXPECT_EQ(result.outcome.message, QStringLiteral("Successfully created: Take_L.wav, Take_R.wav"));
    EXPECT_EQ(QDir(folder.path(QStringLiteral("X/De-interleaved"))).entryList(QDir::Files).join(u' '),
              QStringLiteral("Take_L.wav Take_R.wav"));
}

TEST(DeinterleaveEngine, EveryOutputGetsTheSourcesChunks) {
    const TestFolder folder;
    WaveSpec spec;
    spec.after = {{"SMED", "odd"}, {"iXML", "<x/>"}};
    const MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, spec);
    const DeinterleaveResult result = deinterleaver().deinterleave(source, {}, QString());
    EXPECT_EQ(result.outcome.message,
              QStringLiteral("Successfully created: Take.L.wav, Take.R.wav (with SMED preservation)"));
    for (const QString& output : result.outputURLs) {
        EXPECT_EQ(chunkOf(readAll(output), "SMED"), "odd");
        EXPECT_EQ(chunkOf(readAll(output), "iXML"), "<x/>");
    }
}

TEST(DeinterleaveEngine, NoChannelSelectedThrows) {
    const TestFolder folder;
    MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, {});
    source.selectedChannels.clear();
    try {
        deinterleaver().deinterleave(source, {}, QString());
        FAIL();
    } catch (const DeinterleaveError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("No channels selected for export"));
    }
}

TEST(DeinterleaveEngine, ExistingOutputs) {
    const TestFolder folder;
    const MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, {});
    const QString right = folder.write(QStringLiteral("De-interleaved/Take.R.wav"), "precious");
    ProcessingOptions options;
    EXPECT_EQ(deinterleaver().deinterleave(source, options, QString()).outcome.message,
              QStringLiteral("Skipped (outputs exist): Take.R.wav"));
    EXPECT_TRUE(deinterleaver().deinterleave(source, options, QString()).outcome.failed()) << "L is not there";
    MultiChannelSource rightAlone = source;
    rightAlone.selectedChannels = {QStringLiteral("R")};
    const ItemOutcome there = deinterleaver().deinterleave(rightAlone, options, QString()).outcome;
    EXPECT_TRUE(there.skipped());
    EXPECT_FALSE(there.failed());
    EXPECT_EQ(there.status, ProcessingStatus::failed(QStringLiteral("Skipped (outputs exist): Take.R.wav")));
    options.skipIfExists = false;
    EXPECT_EQ(
        deinterleaver().deinterleave(source, options, QString()).outcome.message,
        QStringLiteral("Output already exists: Take.R.wav. Enable 'Skip if output exists' or 'Overwrite existing'."));
    EXPECT_EQ(readAll(right), "precious");
    options.overwriteExisting = true;
    EXPECT_TRUE(deinterleaver().deinterleave(source, options, QString()).outcome.succeeded());
    EXPECT_EQ(decodedByFfmpeg(right)[0], expectedSamples({}, 2)[1]);
}

TEST(DeinterleaveEngine, PreserveFormatNamesAiffAndWritesWav) {
    const TestFolder folder;
    MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, {});
    source.containerKind = ContainerKind::aiff;
    ProcessingOptions options;
    options.outputFormatPolicy = OutputFormatPolicy::preserveFormat;
    const DeinterleaveResult result = deinterleaver().deinterleave(source, options, QString());
    ASSERT_TRUE(result.outcome.succeeded()) << result.outcome.message.toStdString();
    const QString left = result.outputURLs.value(QStringLiteral("L"));
    EXPECT_TRUE(left.endsWith(QStringLiteral("Take.L.aiff")));
    EXPECT_TRUE(readAll(left).startsWith("RIFF"));
}

TEST(DeinterleaveEngine, AFailedRunLeavesNothingBehind) {
    const TestFolder folder;
    MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, {});
    folder.write(QStringLiteral("Take.wav"), "no audio at all, whatever the name says");
    const DeinterleaveResult result = deinterleaver().deinterleave(source, {}, QString());
    EXPECT_FALSE(result.outcome.succeeded());
    EXPECT_TRUE(result.outcome.message.startsWith(QStringLiteral("ffmpeg error: ")))
        << result.outcome.message.toStdString();
    const QString outputs = folder.path(QStringLiteral("De-interleaved"));
    EXPECT_TRUE(QDir(outputs).entryList(QDir::Files | QDir::Hidden).isEmpty());
}

TEST(DeinterleaveEngine, AMissingFfmpegThrows) {
    const TestFolder folder;
    const MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, {});
    try {
        DeinterleaveEngine(QStringLiteral("/nowhere/ffmpeg"), QString()).deinterleave(source, {}, QString());
        FAIL();
    } catch (const DeinterleaveError& error) {
        EXPECT_EQ(error.errorDescription(), QStringLiteral("Failed to launch ffmpeg: No such file or directory"));
    }
}

TEST(DeinterleaveEngine, LooksAtItsOutputsWithFfprobeAfterwards) {
    const TestFolder folder;
    const MultiChannelSource source = writeSource(folder, ChannelLayout::stereo, {});
    const QString fake = folder.writeScript(
        QStringLiteral("ffprobe"),
        QStringLiteral("for l; do :; done; echo \"$*\" >> \"$(dirname \"$0\")/probes\"; echo 48000,1,24"));
    ASSERT_TRUE(DeinterleaveEngine(tool("ffmpeg"), fake).deinterleave(source, {}, QString()).outcome.succeeded());
    backgroundPool().waitForDone();
    const QList<QByteArray> probes = readAll(folder.path(QStringLiteral("probes"))).trimmed().split('\n');
    ASSERT_EQ(probes.size(), 2);
    EXPECT_TRUE(
        probes[0].startsWith("-v error -show_entries stream=sample_rate,bits_per_sample,channels -of csv=p=0 /"));
}

} // namespace
} // namespace ostrel
