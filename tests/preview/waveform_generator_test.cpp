#include "preview/waveform_generator.h"

#include "platform/audio/audio_file.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <thread>

namespace ostrel {
namespace {

using testing::SampleFormat;
using testing::Signal;
using testing::TestFolder;
using testing::writeSound;

// A file whose samples are a power of two at the given frames and 0 elsewhere.
Signal pulses(std::map<qint64, float> at) {
    return [at](int, qint64 frame) {
        const auto found = at.find(frame);
        return found == at.end() ? 0.0F : found->second;
    };
}

std::vector<float> normalised(std::vector<float> values) {
    const float greatest = *std::max_element(values.begin(), values.end());
    for (float& value : values) value /= greatest;
    return values;
}

// A long file that costs little: silent 8-bit-like PCM but for the pulses, written by hole.
QString writeLongFile(const QString& path, qint64 frames, const std::map<qint64, qint16>& at, int channels = 1) {
    writeSound(
        path, channels, 0, [](int, qint64) { return 0.0F; }, 44100, SampleFormat::pcm16);
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadWrite));
    const qint64 data = file.readAll().indexOf("data") + 8;
    const auto put = [&](qint64 where, const auto& value) {
        file.seek(where);
        file.write(reinterpret_cast<const char*>(&value), sizeof value);
    };
    const qint64 bytes = frames * channels * 2;
    put(4, static_cast<quint32>(data + bytes - 8));
    put(data - 4, static_cast<quint32>(bytes));
    EXPECT_TRUE(file.resize(data + bytes));
    for (const auto& [frame, value] : at) put(data + frame * channels * 2, value);
    return path;
}

TEST(WaveformGenerator, TakesTheGreatestMagnitudeOfEachBucketOverAllChannels) {
    const TestFolder folder;
    const auto signal = [](int channel, qint64 frame) {
        if (channel == 0 && frame == 3) return -0.5F;
        if (channel == 1 && frame == 10) return 0.25F;
        if (channel == 1 && frame == 19) return 0.125F;
        return 0.0F;
    };
    WaveformGenerator generator;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 2, 20, signal);
    EXPECT_EQ(generator.generateWaveform(path, 4), (std::vector<float>{1.0F, 0.0F, 0.5F, 0.25F}));
    EXPECT_EQ(generator.generateMultiChannelWaveform(path, 4),
              (std::vector<std::vector<float>>{{1.0F, 0.0F, 0.0F, 0.0F}, {0.0F, 0.0F, 1.0F, 0.5F}}))
        << "each lane by its own peak";
}

TEST(WaveformGenerator, LeavesOutFramesBehindTheLastWholeBucket) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 23, pulses({{0, 0.25F}, {20, 0.5F}}));
    EXPECT_EQ(generator.generateWaveform(path, 4), (std::vector<float>{1.0F, 0.0F, 0.0F, 0.0F}));
}

TEST(WaveformGenerator, MoreValuesThanFramesGiveOneFrameABucketAndZeros) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 3, pulses({{0, 0.5F}, {2, -0.25F}}));
    EXPECT_EQ(generator.generateWaveform(path, 6), (std::vector<float>{1.0F, 0.0F, 0.5F, 0.0F, 0.0F, 0.0F}));
}

TEST(WaveformGenerator, SilenceGivesZerosAndNoDivision) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 2, 5000, pulses({}));
    EXPECT_EQ(generator.generateWaveform(path, 200), std::vector<float>(200, 0.0F));
    EXPECT_EQ(generator.generateMultiChannelWaveform(path, 200),
              std::vector<std::vector<float>>(2, std::vector<float>(200, 0.0F)));
}

TEST(WaveformGenerator, AFileWithoutAudioGivesAnEmptyList) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 2, 0);
    EXPECT_TRUE(generator.generateWaveform(path, 200).empty());
    EXPECT_TRUE(generator.generateMultiChannelWaveform(path, 200).empty());
}

TEST(WaveformGenerator, AgreesWithAPlainReductionOfTheSignal) {
    const TestFolder folder;
    constexpr qint64 frames = 12'457;
    constexpr int buckets = 90; // of 138 frames, no multiple of a vector
    WaveformGenerator generator;
    for (int channels = 1; channels <= 11; ++channels) {
        const QString path = writeSound(folder.path(QStringLiteral("%1.wav").arg(channels)), channels, frames);
        const auto lanes = generator.generateMultiChannelWaveform(path, buckets);
        ASSERT_EQ(lanes.size(), static_cast<std::size_t>(channels));
        std::vector<float> ofAll(buckets, 0.0F);
        for (int channel = 0; channel < channels; ++channel) {
            std::vector<float> expected(buckets, 0.0F);
            for (qint64 frame = 0; frame < buckets * (frames / buckets); ++frame) {
                const auto bucket = static_cast<std::size_t>(frame / (frames / buckets));
                expected[bucket] = std::max(expected[bucket], std::abs(testing::markedSample(channel, frame)));
                ofAll[bucket] = std::max(ofAll[bucket], expected[bucket]);
            }
            EXPECT_EQ(lanes[static_cast<std::size_t>(channel)], normalised(expected)) << channels << ", " << channel;
        }
        EXPECT_EQ(generator.generateWaveform(path, buckets), normalised(ofAll)) << channels;
    }
}

// 50 peaks for every 1,323,000 frames on the chunked road, 200 buckets of 66,150 frames on the direct one.
TEST(WaveformGenerator, AFileOfExactlyTheLimitTakesTheDirectRoad) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path =
        writeLongFile(folder.path(QStringLiteral("a.wav")), 13'230'000, {{0, 16384}, {13'229'999, 8192}});
    const std::vector<float> values = generator.generateWaveform(path, 1000);
    ASSERT_EQ(values.size(), 1000U) << "the chunked road would give its 500 peaks as they are";
    EXPECT_EQ(values.front(), 1.0F);
    EXPECT_EQ(values.back(), 0.5F);
}

TEST(WaveformGenerator, OneFrameMoreTakesTheChunkedRoadAndComesBackRaw) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path =
        writeLongFile(folder.path(QStringLiteral("a.wav")), 13'230'001, {{0, 16384}, {13'230'000, 8192}});
    const std::vector<float> values = generator.generateWaveform(path, 1000);
    ASSERT_EQ(values.size(), 550U) << "eleven chunks, the last of one frame";
    EXPECT_EQ(values.front(), 0.5F) << "not normalised";
    EXPECT_EQ(values[500], 0.25F);
    EXPECT_EQ(values[501], 0.0F);
}

TEST(WaveformGenerator, ALongFileIsReducedAndNormalised) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path =
        writeLongFile(folder.path(QStringLiteral("a.wav")), 13'230'001, {{26'460, 8192}, {6'615'000, -4096}}, 2);
    const std::vector<float> values = generator.generateWaveform(path, 275);
    ASSERT_EQ(values.size(), 275U);
    EXPECT_EQ(values[0], 1.0F) << "peaks 0 and 1 of 550";
    EXPECT_EQ(values[125], 0.5F) << "peak 250";
    EXPECT_EQ(std::count(values.begin(), values.end(), 0.0F), 273);
    const auto lanes = generator.generateMultiChannelWaveform(path, 275);
    ASSERT_EQ(lanes.size(), 2U);
    EXPECT_EQ(lanes[0], values);
    EXPECT_EQ(lanes[1], std::vector<float>(275, 0.0F));
}

TEST(WaveformGenerator, ReducesPeaksByTruncatedSpans) {
    const std::vector<float> peaks{1, 2, 3, 4, 5, 6, 7};
    EXPECT_EQ(downsamplePeaks(peaks, 7), peaks) << "neither reduced nor normalised";
    EXPECT_EQ(downsamplePeaks(peaks, 9), peaks);
    // Spans of 7/3: 0-2, 2-4, 4-7.
    EXPECT_EQ(downsamplePeaks(peaks, 3), (std::vector<float>{2 / 7.0F, 4 / 7.0F, 1.0F}));
    EXPECT_EQ(downsamplePeaks(std::vector<float>(9, 0.0F), 4), std::vector<float>(4, 0.0F));
}

TEST(WaveformGenerator, MemoryStaysFlatOnAThreeHourFile) {
    const TestFolder folder;
    WaveformGenerator generator;
    const qint64 frames = 3LL * 3600 * 44100;
    const QString path = writeLongFile(folder.path(QStringLiteral("a.wav")), frames, {{frames - 100'000, 8192}});
    rusage before{};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(generator.generateWaveform(path, 200).size(), 200U);
    rusage after{};
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 20'000) << "KiB";
}

TEST(WaveformGenerator, FailuresAreThrown) {
    const TestFolder folder;
    WaveformGenerator generator;
    EXPECT_THROW(generator.generateWaveform(folder.path(QStringLiteral("none.wav")), 200), AudioFileError);
    const QString broken = writeSound(folder.path(QStringLiteral("a.flac")), 1, 100'000);
    ASSERT_TRUE(QFile::resize(broken, QFileInfo(broken).size() / 2));
    EXPECT_THROW(generator.generateWaveform(broken, 200), AudioFileError);
    EXPECT_EQ(WaveformError(WaveformError::Kind::bufferCreationFailed).errorDescription(),
              QStringLiteral("Failed to create audio buffer"));
    EXPECT_EQ(WaveformError(WaveformError::Kind::noFloatData).errorDescription(),
              QStringLiteral("No float data available in audio buffer"));
}

TEST(WaveformGenerator, InfinitiesAndNoNumbersOfAFloatFileDoNotReachTheDrawing) {
    const TestFolder folder;
    WaveformGenerator generator;
    const auto signal = [](int, qint64 frame) {
        return frame == 0 ? std::numeric_limits<float>::infinity() : frame == 50 ? std::nanf("") : 0.5F;
    };
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 100, signal, 48000, SampleFormat::float32);
    for (const float value : generator.generateWaveform(path, 10)) EXPECT_TRUE(std::isfinite(value));
}

TEST(WaveformGenerator, ACancelledJobGivesNothing) {
    const TestFolder folder;
    WaveformGenerator generator;
    TaskHandle task;
    task.cancel();
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 1000);
    EXPECT_TRUE(generator.generateWaveform(path, 200, task).empty());
    EXPECT_TRUE(generator.generateMultiChannelWaveform(path, 200, task).empty());
}

TEST(WaveformGenerator, CallsFromSeveralThreadsAllAnswer) {
    const TestFolder folder;
    WaveformGenerator generator;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 2, 50'000);
    const std::vector<float> expected = generator.generateWaveform(path, 200);
    std::vector<std::vector<float>> results(6);
    std::vector<std::thread> threads;
    for (std::vector<float>& result : results) {
        threads.emplace_back([&] { result = generator.generateWaveform(path, 200); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const std::vector<float>& result : results) EXPECT_EQ(result, expected);
}

} // namespace
} // namespace ostrel
