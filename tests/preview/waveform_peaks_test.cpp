#include "preview/waveform_peaks.h"

#include "preview/peak_reader.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

struct WaveformPeaksTest : ::testing::Test {
    TestFolder folder;
    TaskHandle task;

    // Channel 0 is 0.5 at the frames that are named and 0.25 everywhere else, channel 1 half of that.
    QString marked(qint64 frames, const std::vector<qint64>& loud, int channels = 2) {
        const auto signal = [&loud](int channel, qint64 frame) {
            const bool isLoud = std::find(loud.begin(), loud.end(), frame) != loud.end();
            return (isLoud ? -0.5F : 0.25F) / static_cast<float>(channel + 1);
        };
        return writeSound(folder.path(QStringLiteral("marked.wav")), channels, frames, signal);
    }
};

TEST_F(WaveformPeaksTest, TheOverviewOfALongFileHasEveryPeakInItsPlaceAndNeverMoreValuesThanItsLimit) {
    const auto peaks = WaveformPeaks::of(marked(4'800'000, {0, 2'400'000, 4'799'999}), {}, task);
    ASSERT_TRUE(peaks);
    EXPECT_EQ(peaks->duration(), 100.0);
    EXPECT_EQ(peaks->greatest(0), 0.5F);
    EXPECT_EQ(peaks->greatest(1), 0.25F);
    const PeakLanes lanes = peaks->overview(0, 100, 1000);
    ASSERT_EQ(lanes.size(), 2U);
    for (std::size_t point = 0; point < 1000; ++point) {
        const bool isLoud = point == 0 || point == 500 || point == 999;
        ASSERT_EQ(lanes[0][point], isLoud ? 0.5F : 0.25F) << point;
        ASSERT_EQ(lanes[1][point], isLoud ? 0.25F : 0.125F) << point;
    }
    EXPECT_TRUE(peaks->isFineEnough(0, 100, WaveformPeaks::kMostBuckets));
    EXPECT_FALSE(peaks->isFineEnough(0, 1, 1000)) << "65,536 values for 100 seconds";
}

TEST_F(WaveformPeaksTest, AManyChannelFileHasFewerValuesAChannel) {
    const auto peaks = WaveformPeaks::of(marked(200'000, {}, 32), {}, task);
    ASSERT_TRUE(peaks);
    EXPECT_EQ(peaks->channels(), 32);
    const int buckets = WaveformPeaks::kMostValues / 32;
    EXPECT_TRUE(peaks->isFineEnough(0, peaks->duration(), buckets));
    EXPECT_FALSE(peaks->isFineEnough(0, peaks->duration(), buckets + 1));
}

TEST_F(WaveformPeaksTest, WhatTheOverviewIsTooCoarseForIsReadToTheSample) {
    const auto peaks = WaveformPeaks::of(marked(4'800'000, {2'400'100}), {}, task);
    ASSERT_TRUE(peaks);
    // Ten frames a point, from 2,400,000 on.
    const PeakLanes fine = peaks->read(50, 50 + 10'000 / 48'000.0, 1000, task);
    ASSERT_EQ(fine.size(), 2U);
    for (std::size_t point = 0; point < 1000; ++point) ASSERT_EQ(fine[0][point], point == 10 ? 0.5F : 0.25F) << point;
    // Ten points a frame.
    const PeakLanes finest = peaks->read(2'400'098 / 48'000.0, 2'400'102 / 48'000.0, 40, task);
    for (std::size_t point = 0; point < 40; ++point)
        ASSERT_EQ(finest[0][point], point / 10 == 2 ? 0.5F : 0.25F) << point;
}

TEST_F(WaveformPeaksTest, BehindTheEndOfTheFileThereIsSilence) {
    const auto peaks = WaveformPeaks::of(marked(48'000, {47'999}), {}, task);
    ASSERT_TRUE(peaks);
    for (const PeakLanes& lanes : {peaks->overview(0, 2, 20), peaks->read(0, 2, 20, task)}) {
        EXPECT_EQ(lanes[0][8], 0.25F);
        EXPECT_EQ(lanes[0][9], 0.5F);
        for (std::size_t point = 10; point < 20; ++point) ASSERT_EQ(lanes[0][point], 0.0F) << point;
    }
}

TEST_F(WaveformPeaksTest, AFileWithoutAudioIsSilenceAndACancelledOneNothing) {
    const auto peaks = WaveformPeaks::of(marked(0, {}), {}, task);
    ASSERT_TRUE(peaks);
    EXPECT_EQ(peaks->overview(0, 1, 3)[0], (std::vector<float>{0, 0, 0}));
    EXPECT_EQ(peaks->read(0, 1, 3, task)[0], (std::vector<float>{0, 0, 0}));
    TaskHandle cancelled;
    cancelled.cancel();
    EXPECT_FALSE(WaveformPeaks::of(marked(100, {}), {}, cancelled));
}

struct PeakReaderTest : WaveformPeaksTest {
    PeakReader reader;

    QString level(const QString& name, float value, qint64 frames) {
        return writeSound(folder.path(name), 1, frames, [=](int, qint64) { return value; });
    }
    bool waitFor(const PeakReader::Wish& wish) {
        reader.want(wish);
        return waitUntil([&] { return reader.answered() == wish && !reader.isReading(); });
    }
};

TEST_F(PeakReaderTest, FilesOneAboveTheOtherShareATimeAxisAndAScale) {
    reader.setFiles({level(QStringLiteral("a.wav"), 0.5F, 96'000), level(QStringLiteral("b.wav"), 0.25F, 48'000),
                     level(QStringLiteral("quiet.wav"), 1 / 1024.0F, 96'000), folder.path(QStringLiteral("none.wav"))},
                    PeakReader::Lanes::files);
    EXPECT_FALSE(reader.answered());
    ASSERT_TRUE(waitFor({0, 2, 4}));
    ASSERT_EQ(reader.lanes().size(), 4U);
    EXPECT_EQ(reader.lanes()[0], (std::vector<float>{1, 1, 1, 1}));
    EXPECT_EQ(reader.lanes()[1], (std::vector<float>{0.5F, 0.5F, 0, 0})) << "half as long";
    EXPECT_EQ(reader.lanes()[2], (std::vector<float>(4, 1 / 512.0F)));
    EXPECT_EQ(reader.lanes()[3], (std::vector<float>(4, 0))) << "can't be read";
    EXPECT_EQ(reader.whole(), (std::vector<float>{1, 1, 1, 1}));
}

TEST_F(PeakReaderTest, ChannelsAreEachInProportionToThemselvesAndTheWholeToTheLoudest) {
    reader.setFiles({marked(48'000, {0})}, PeakReader::Lanes::channels);
    ASSERT_TRUE(waitFor({0, 1, 2}));
    EXPECT_EQ(reader.lanes(), (PeakLanes{{1, 0.5F}, {1, 0.5F}}));
    EXPECT_EQ(reader.whole(), (std::vector<float>{1, 0.5F}));
}

TEST_F(PeakReaderTest, AnAnswerFromMemoryIsFollowedByAFinerOne) {
    reader.setFiles({marked(4'800'000, {2'400'100})}, PeakReader::Lanes::channels);
    ASSERT_TRUE(waitFor({0, 100, 10}));
    const PeakReader::Wish close{50, 50 + 1000 / 48'000.0, 100};
    reader.want(close);
    EXPECT_EQ(reader.answered(), close) << "at once";
    const auto loud = [this] { return std::ranges::count(reader.lanes()[0], 1.0F); };
    EXPECT_GT(loud(), 1) << "as coarse as the overview";
    EXPECT_TRUE(waitUntil([&] { return loud() == 1; }));
}

TEST_F(PeakReaderTest, OtherFilesTakeThePlaceOfThoseThatAreStillRead) {
    reader.setFiles({marked(4'800'000, {})}, PeakReader::Lanes::files);
    reader.want({0, 100, 10});
    reader.setFiles({level(QStringLiteral("b.wav"), 0.25F, 48'000)}, PeakReader::Lanes::files);
    EXPECT_FALSE(reader.isReading());
    ASSERT_TRUE(waitFor({0, 1, 1}));
    EXPECT_EQ(reader.lanes(), PeakLanes{{1}});
}

} // namespace
} // namespace ostrel
