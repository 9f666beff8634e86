// Real recordings, read by AudioFile and by ffmpeg: the same frames, the same values, seeks included.
#include "platform/audio/audio_file.h"

#include "platform/processes/child_process.h"
#include "support/test_folder.h"

#include <QDirIterator>
#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

// Interleaved, at the rate given; empty where ffmpeg can't decode the file.
std::vector<float> decodedByFfmpeg(const QString& path, int sampleRate) {
    const ProcessResult result = ChildProcess::runForResult(
        testing::installedTool(QStringLiteral("ffmpeg")),
        {QStringLiteral("-v"), QStringLiteral("quiet"), QStringLiteral("-i"), QStringLiteral("file:") + path,
         QStringLiteral("-map"), QStringLiteral("0:a:0"), QStringLiteral("-ar"), QString::number(sampleRate),
         QStringLiteral("-c:a"), QStringLiteral("pcm_f32le"), QStringLiteral("-f"), QStringLiteral("f32le"),
         QStringLiteral("-")});
    std::vector<float> samples(static_cast<std::size_t>(result.standardOutput.size()) / sizeof(float));
    if (samples.empty()) return samples;
    std::memcpy(samples.data(), result.standardOutput.constData(), samples.size() * sizeof(float));
    return samples;
}

// What two correct decoders may differ by.
double tolerance(const QString& path) {
    if (path.endsWith(QLatin1String(".opus"))) return 1.0; // decoded at another rate: only the length is compared
    if (path.contains(QLatin1String("imaadpcm"))) return 0.001;
    return path.endsWith(QLatin1String(".ogg")) ? 1e-6 : 0.0;
}

// ffmpeg takes big-endian 16-bit samples for little-endian ones, and the 24-bit samples in 4 bytes for something else:
// the bytes of both files show it.
bool ffmpegIsWrongAbout(const QString& path) {
    return path.contains(QLatin1String("RIFX-16bit")) || path.contains(QLatin1String("24bit-4byte"));
}

double largestDifference(const AudioBuffer& ours, const std::vector<float>& theirs, std::size_t firstFrame) {
    const auto channels = static_cast<std::size_t>(ours.channels());
    double result = 0;
    for (std::size_t channel = 0; channel < channels; ++channel) {
        const auto samples = ours.channel(static_cast<int>(channel));
        for (std::size_t frame = 0; frame < samples.size(); ++frame) {
            const float expected = theirs[(firstFrame + frame) * channels + channel];
            result = std::max(result, std::abs(static_cast<double>(expected) - samples[frame]));
        }
    }
    return result;
}

class AudioFileSamples : public ::testing::TestWithParam<const char*> {};

TEST_P(AudioFileSamples, AreReadAsFfmpegDecodesThem) {
    if (testing::samplesFolder().isEmpty()) GTEST_SKIP() << "no sample recordings here";
    QDirIterator walk(testing::samplesFolder() + QLatin1Char('/') + QLatin1String(GetParam()), QDir::Files,
                      QDirIterator::Subdirectories);
    int compared = 0;
    while (walk.hasNext()) {
        const QString path = walk.next();
        if (ffmpegIsWrongAbout(path) || path.endsWith(QLatin1String(".gz"))) continue;
        SCOPED_TRACE(path.toStdString());
        try {
            AudioFile file(path, testing::installedTool(QStringLiteral("ffmpeg")));
            const std::vector<float> theirs = decodedByFfmpeg(path, file.sampleRate());
            if (theirs.empty()) continue;
            AudioBuffer buffer;
            const auto length = static_cast<std::size_t>(file.read(buffer, static_cast<int>(file.lengthInFrames())));
            ASSERT_EQ(length * static_cast<std::size_t>(file.channelCount()), theirs.size());
            EXPECT_LE(largestDifference(buffer, theirs, 0), tolerance(path));
            file.seek(file.lengthInFrames() / 3);
            file.read(buffer, 1000);
            EXPECT_LE(largestDifference(buffer, theirs, length / 3), tolerance(path)) << "after a seek";
            ++compared;
        } catch (const AudioFileError&) {
            EXPECT_TRUE(decodedByFfmpeg(path, 48000).empty()) << "ffmpeg reads it";
        }
    }
    EXPECT_GE(compared, 7);
}

INSTANTIATE_TEST_SUITE_P(Folders, AudioFileSamples, ::testing::Values("other-formats", "rf64", "sample-formats"));

} // namespace
} // namespace ostrel
