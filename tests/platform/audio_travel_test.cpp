// Loops, other speeds and the way back: what comes out of them, sample by sample.
#include "platform/audio/audio_player.h"

#include "support/disk_output.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <QCoreApplication>
#include <cmath>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::DiskOutput;
using testing::markedSample;
using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

struct AudioTravel : ::testing::Test {
    TestFolder folder;
    DiskOutput disk;

    QString mono(const QString& name, int channel, qint64 frames) {
        return writeSound(folder.path(name), 1, frames,
                          [=](int, qint64 frame) { return markedSample(channel, frame); });
    }
    bool playToItsEnd(AudioPlayer& player) {
        bool isOver = false;
        player.onFinish = [&](bool) { isOver = true; };
        player.play();
        return waitUntil([&] { return isOver; });
    }
};

TEST_F(AudioTravel, ALoopGoesAroundWithoutAGapAndTheTimeWithIt) {
    AudioPlayer player(disk.output(), mono(QStringLiteral("a.wav"), 0, 96'000));
    player.setTravel({1, std::pair(0.5, 0.75)}); // 24000 to 36000
    player.setCurrentTime(0.25);
    player.play();
    ASSERT_TRUE(disk.waitForFrames(100'000));
    EXPECT_GE(player.currentTime(), 0.5);
    EXPECT_LT(player.currentTime(), 0.75);
    player.pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    for (std::size_t at = 0; at < heard.size(); ++at) {
        const auto frame = 12'000 + static_cast<qint64>(at);
        ASSERT_EQ(heard[at], markedSample(0, frame < 36'000 ? frame : 24'000 + (frame - 36'000) % 12'000)) << at;
    }
}

TEST_F(AudioTravel, FilesOfUnequalLengthStayInStepAroundALoop) {
    AudioPlayer longer(disk.output(), mono(QStringLiteral("a.wav"), 0, 48'000));
    AudioPlayer shorter(disk.output(), mono(QStringLiteral("b.wav"), 1, 30'000));
    for (AudioPlayer* player : {&longer, &shorter}) {
        player->setTravel({1, std::pair(0.5, 0.75)});
        player->setCurrentTime(0.7); // where the shorter one has nothing any more
        player->play();
    }
    ASSERT_TRUE(disk.waitForFrames(60'000));
    for (AudioPlayer* player : {&longer, &shorter}) player->pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    for (std::size_t at = 0; at < heard.size(); ++at) {
        const auto passed = 33'600 + static_cast<qint64>(at);
        const qint64 frame = passed < 36'000 ? passed : 24'000 + (passed - 36'000) % 12'000;
        const float second = frame < 30'000 ? markedSample(1, frame) : 0.0F;
        ASSERT_FLOAT_EQ(heard[at], markedSample(0, frame) + second) << at;
    }
}

TEST_F(AudioTravel, BackwardsEveryFrameComesOutInTheOtherOrder) {
    AudioPlayer player(disk.output(), mono(QStringLiteral("a.wav"), 0, 48'000));
    player.setTravel({-1, std::nullopt});
    player.setCurrentTime(20'001 / 48'000.0);
    ASSERT_TRUE(playToItsEnd(player));
    const std::vector<float> heard = disk.heard(0);
    ASSERT_EQ(heard.size(), 20'001U);
    for (std::size_t at = 0; at < heard.size(); ++at) {
        ASSERT_EQ(heard[at], markedSample(0, 20'000 - static_cast<qint64>(at))) << at;
    }
    EXPECT_EQ(player.currentTime(), 0.0);
}

TEST_F(AudioTravel, TwiceAsFastIsHalfAsLongAndTheTimeIsTheFiles) {
    constexpr double pi = 3.14159265358979;
    const auto tone = [](int, qint64 frame) {
        return 0.5F * static_cast<float>(std::sin(2 * pi * 500 * frame / 48e3));
    };
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, 480'000, tone));
    player.setTravel({2, std::nullopt});
    player.play();
    ASSERT_TRUE(disk.waitForFrames(48'000));
    EXPECT_GE(player.currentTime(), 1.9);
    ASSERT_TRUE(waitUntil([&] { return !player.isPlaying(); }));
    const std::vector<float> heard = disk.heard(0);
    EXPECT_NEAR(static_cast<double>(heard.size()), 240'000, 2);
    int crossings = 0; // of a tone that has become one of 1000 Hz
    for (std::size_t at = 24'001; at < 72'001; ++at) crossings += heard[at - 1] < 0 && heard[at] >= 0 ? 1 : 0;
    EXPECT_NEAR(crossings, 1000, 1);
}

TEST_F(AudioTravel, AChangeOnTheWayGoesOnWhereThePlayerStands) {
    AudioPlayer player(disk.output(), mono(QStringLiteral("a.wav"), 0, 4'800'000));
    player.setCurrentTime(50);
    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.currentTime() > 50.5; }));
    player.setTravel({-4, std::nullopt});
    const double turned = player.currentTime();
    EXPECT_GT(turned, 50.5);
    ASSERT_TRUE(waitUntil([&] { return player.currentTime() < turned - 1; }));
    EXPECT_TRUE(player.isPlaying());
}

TEST_F(AudioTravel, TheOutputTellsThePeaksOfWhatWasHeardAndForgetsThem) {
    EXPECT_TRUE(disk.output().takePeaks().empty()) << "before there is a device";
    const auto steps = [](int channel, qint64 frame) {
        return frame == 5'000 ? (channel == 0 ? -0.75F : 0.25F) : 0.125F;
    };
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 2, 20'000, steps));
    ASSERT_TRUE(playToItsEnd(player));
    const std::vector<float> peaks = disk.output().takePeaks();
    ASSERT_EQ(peaks.size(), 2U);
    EXPECT_NEAR(peaks[0], 0.75F, 1e-6);
    EXPECT_NEAR(peaks[1], 0.25F, 1e-6);
    EXPECT_EQ(disk.output().takePeaks(), (std::vector<float>{0.0F, 0.0F}));
}

} // namespace
} // namespace ostrel
