#include "platform/audio/audio_player.h"

#include "support/disk_output.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <QCoreApplication>
#include <SDL.h>
#include <cmath>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::DiskOutput;
using testing::markedSample;
using testing::SampleFormat;
using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

// Frames of a file that is not over before a test gets to act, however late that is: the disk driver plays ten times as
// fast as a sound card.
constexpr qint64 kLong = 2'400'000;

bool playToItsEnd(AudioPlayer& player) {
    std::optional<bool> result;
    player.onFinish = [&](bool successfully) { result = successfully; };
    player.play();
    return waitUntil([&] { return result.has_value(); }) && *result;
}

// Frames from `first` on in which what was heard is the file's, up to the first that differs.
qint64 matching(const std::vector<float>& heard, std::size_t at, int channel, qint64 first) {
    qint64 frame = first;
    while (at < heard.size() && heard[at] == markedSample(channel, frame)) ++at, ++frame;
    return frame - first;
}

TEST(AudioPlayer, OneFileComesOutAsItIs) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 2, 100'001));
    EXPECT_DOUBLE_EQ(player.duration(), 100'001 / 48000.0);
    EXPECT_TRUE(playToItsEnd(player));
    EXPECT_FALSE(player.isPlaying());
    EXPECT_EQ(player.currentTime(), 0.0);
    for (const int channel : {0, 1}) EXPECT_EQ(matching(disk.heard(channel), 0, channel, 0), 100'001);
}

TEST(AudioPlayer, AMonoFilePlaysInTheMiddleAndAgainFromTheStart) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.flac")), 1, 30'000));
    EXPECT_TRUE(playToItsEnd(player));
    EXPECT_EQ(disk.heard(0), disk.heard(1));
    EXPECT_EQ(matching(disk.heard(0), 0, 0, 0), 30'000);
    EXPECT_TRUE(playToItsEnd(player));
    EXPECT_EQ(disk.heard(0), disk.heard(1));
    EXPECT_GT(disk.heard(0).size(), 59'000U);
}

TEST(AudioPlayer, FourFilesSumAtTheirVolumes) {
    const TestFolder folder;
    DiskOutput disk;
    std::vector<std::unique_ptr<AudioPlayer>> players;
    for (int channel = 0; channel < 4; ++channel) {
        const auto signal = [channel](int, qint64 frame) { return markedSample(channel, frame); };
        const QString path = writeSound(folder.path(QStringLiteral("%1.wav").arg(channel)), 1, 50'000, signal);
        players.push_back(std::make_unique<AudioPlayer>(disk.output(), path));
        players.back()->setVolume(0.5011872F);
    }
    for (const auto& player : players) player->play();
    ASSERT_TRUE(waitUntil([&] { return !players.front()->isPlaying(); }));
    const std::vector<float> heard = disk.heard(0);
    ASSERT_EQ(heard.size(), 50'000U);
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        double expected = 0;
        for (int channel = 0; channel < 4; ++channel) {
            expected += 0.5011872 * static_cast<double>(markedSample(channel, static_cast<qint64>(frame)));
        }
        ASSERT_NEAR(heard[frame], expected, 1e-6) << frame;
    }
}

TEST(AudioPlayer, FlippingToAnotherFileKeepsTheSamplePosition) {
    const TestFolder folder;
    DiskOutput disk;
    const auto mirrored = [](int channel, qint64 frame) { return -markedSample(channel, frame); };
    AudioPlayer iso(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, kLong));
    AudioPlayer poly(disk.output(), writeSound(folder.path(QStringLiteral("b.wav")), 1, kLong, mirrored));
    poly.setVolume(0.0F);
    iso.play();
    poly.play();
    ASSERT_TRUE(disk.waitForFrames(60'000));
    iso.setVolume(0.0F);
    poly.setVolume(1.0F);
    ASSERT_TRUE(disk.waitForMore(100'000));
    ASSERT_TRUE(iso.isPlaying() && poly.isPlaying());
    iso.pause();
    poly.pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    const qint64 before = matching(heard, 0, 0, 0);
    EXPECT_GE(before, 60'000);
    const qint64 after = before + 240; // five milliseconds
    ASSERT_LT(after, static_cast<qint64>(heard.size()));
    for (std::size_t frame = static_cast<std::size_t>(after); frame < heard.size(); ++frame) {
        ASSERT_EQ(heard[frame], -markedSample(0, static_cast<qint64>(frame))) << frame;
    }
    for (std::size_t frame = static_cast<std::size_t>(before); frame < static_cast<std::size_t>(after); ++frame) {
        ASSERT_LE(std::abs(heard[frame]), std::abs(markedSample(0, static_cast<qint64>(frame)))) << frame;
    }
}

TEST(AudioPlayer, AVolumeChangeIsARampAndNotAStep) {
    const TestFolder folder;
    DiskOutput disk;
    const auto steady = [](int, qint64) { return 0.5F; };
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, kLong, steady));
    player.play();
    ASSERT_TRUE(disk.waitForFrames(20'000));
    player.setVolume(0.1F);
    ASSERT_TRUE(disk.waitForMore(60'000));
    player.pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    EXPECT_EQ(heard.front(), 0.5F);
    EXPECT_NEAR(heard.back(), 0.05F, 1e-6);
    for (std::size_t frame = 1; frame < heard.size(); ++frame) {
        ASSERT_LE(std::abs(heard[frame] - heard[frame - 1]), 0.45F / 240 * 1.01F) << frame;
    }
}

TEST(AudioPlayer, PausesSeeksAndPlaysOnAtTheRightPlace) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, kLong));
    player.play();
    ASSERT_TRUE(disk.waitForFrames(40'000));
    player.pause();
    EXPECT_FALSE(player.isPlaying());
    const double pausedAt = player.currentTime();
    EXPECT_GE(pausedAt, 40'000 / 48000.0);
    constexpr qint64 target = kLong - 100'000;
    player.setCurrentTime(target / 48000.0);
    EXPECT_DOUBLE_EQ(player.currentTime(), target / 48000.0);
    EXPECT_TRUE(playToItsEnd(player));
    const std::vector<float> heard = disk.heard(0);
    const qint64 first = matching(heard, 0, 0, 0);
    EXPECT_EQ(matching(heard, static_cast<std::size_t>(first), 0, target), 100'000);
    EXPECT_EQ(static_cast<qint64>(heard.size()), first + 100'000);
}

TEST(AudioPlayer, AfterAPauseGoesOnWithoutLosingASample) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, kLong));
    for (int round = 0; round < 4; ++round) {
        player.play();
        ASSERT_TRUE(disk.waitForMore(30'000));
        ASSERT_TRUE(player.isPlaying());
        player.pause();
        QCoreApplication::processEvents();
    }
    const std::vector<float> heard = disk.heard(0);
    EXPECT_GE(heard.size(), 120'000U);
    EXPECT_EQ(matching(heard, 0, 0, 0), static_cast<qint64>(heard.size()));
}

TEST(AudioPlayer, SeeksWhilePlaying) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, kLong));
    player.play();
    ASSERT_TRUE(disk.waitForFrames(20'000));
    constexpr qint64 target = kLong - 50'000;
    player.setCurrentTime(target / 48000.0);
    EXPECT_TRUE(player.isPlaying());
    ASSERT_TRUE(waitUntil([&] { return !player.isPlaying(); }));
    const std::vector<float> heard = disk.heard(0);
    const qint64 first = matching(heard, 0, 0, 0);
    EXPECT_EQ(matching(heard, static_cast<std::size_t>(first), 0, target), 50'000);
}

TEST(AudioPlayer, HoldsTimesToTheFile) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, 48'000));
    player.setCurrentTime(7.0);
    EXPECT_EQ(player.currentTime(), 1.0);
    player.setCurrentTime(-7.0);
    EXPECT_EQ(player.currentTime(), 0.0);
    player.setCurrentTime(std::nan(""));
    EXPECT_EQ(player.currentTime(), 0.0);
}

TEST(AudioPlayer, SixteenFilesAreInStepAfterAMinute) {
    const TestFolder folder;
    DiskOutput disk(8000, 1, 2048, 1);
    constexpr qint64 frames = 62 * 8000;
    const auto value = [](int file, qint64 frame) {
        return static_cast<float>(static_cast<int>(markedSample(file, frame) * 4096)) / 32768.0F;
    };
    std::vector<std::unique_ptr<AudioPlayer>> players;
    for (int file = 0; file < 16; ++file) {
        const auto signal = [&, file](int, qint64 frame) { return value(file, frame); };
        const QString path = folder.path(QStringLiteral("%1.wav").arg(file));
        players.push_back(std::make_unique<AudioPlayer>(
            disk.output(), writeSound(path, 1, frames, signal, 8000, SampleFormat::pcm16)));
    }
    for (const auto& player : players) player->play();
    ASSERT_TRUE(waitUntil([&] { return !players.back()->isPlaying(); }));
    const std::vector<float> heard = disk.heard();
    ASSERT_GT(heard.size(), 60U * 8000U);
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        float expected = 0;
        for (int file = 0; file < 16; ++file) expected += value(file, static_cast<qint64>(frame));
        ASSERT_EQ(heard[frame], expected) << frame;
    }
}

TEST(AudioPlayer, JoinsAPlayingFileInStep) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer iso(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, kLong));
    const auto doubled = [](int channel, qint64 frame) { return -2 * markedSample(channel, frame); };
    AudioPlayer poly(disk.output(),
                     writeSound(folder.path(QStringLiteral("b.wav")), 1, kLong, doubled, 48000, SampleFormat::float32));
    iso.play();
    ASSERT_TRUE(disk.waitForFrames(30'000));
    poly.playInStepWith(iso);
    EXPECT_FALSE(poly.isSounding()) << "a quarter of a second from now";
    ASSERT_TRUE(waitUntil([&] { return poly.isSounding(); }));
    ASSERT_TRUE(disk.waitForMore(100'000));
    ASSERT_TRUE(iso.isPlaying() && poly.isPlaying());
    iso.pause();
    poly.pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    ASSERT_GE(heard.size(), 140'000U);
    const qint64 alone = matching(heard, 0, 0, 0);
    EXPECT_GE(alone, 42'000);
    for (std::size_t frame = static_cast<std::size_t>(alone); frame < heard.size(); ++frame) {
        ASSERT_EQ(heard[frame], -markedSample(0, static_cast<qint64>(frame))) << frame;
    }
}

TEST(AudioPlayer, FilesOfOtherRatesSoundAtTheSameTime) {
    const TestFolder folder;
    for (const int rate : {44100, 96000, 22050}) {
        DiskOutput disk;
        const auto click = [rate](int, qint64 frame) { return frame == rate ? 0.9F : 0.0F; };
        const auto tick = [](int, qint64 frame) { return frame < 48'000 ? 0.0001F : 0.0F; };
        AudioPlayer other(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, 2 * rate, click, rate));
        AudioPlayer same(disk.output(), writeSound(folder.path(QStringLiteral("b.wav")), 1, 96'000, tick));
        other.play();
        same.play();
        ASSERT_TRUE(waitUntil([&] { return !other.isPlaying() && !same.isPlaying(); }));
        const std::vector<float> heard = disk.heard(0);
        const auto loudest = std::ranges::max_element(heard, {}, [](float sample) { return std::abs(sample); });
        EXPECT_EQ(loudest - heard.begin(), 48'000) << rate;
    }
}

// At so low a rate more is held back than the ring takes.
TEST(AudioPlayer, AFileOfALowRateIsHeardWhole) {
    const TestFolder folder;
    DiskOutput disk;
    const auto steady = [](int, qint64) { return 0.5F; };
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, 3000, steady, 1000));
    EXPECT_TRUE(playToItsEnd(player));
    const std::vector<float> heard = disk.heard(0);
    ASSERT_NEAR(static_cast<double>(heard.size()), 144'000, 48);
    for (std::size_t frame = 10'000; frame < 134'000; ++frame) ASSERT_NEAR(heard[frame], 0.5F, 1e-4F) << frame;
}

TEST(AudioPlayer, ManyChannelsReachAWideOutputOneToOne) {
    const TestFolder folder;
    DiskOutput disk(48000, 6);
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 32, 20'000));
    EXPECT_TRUE(playToItsEnd(player));
    for (int channel = 0; channel < 6; ++channel) EXPECT_EQ(matching(disk.heard(channel), 0, channel, 0), 20'000);
}

TEST(AudioPlayer, AnEmptyFileEndsAtOnce) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, 0));
    EXPECT_EQ(player.duration(), 0.0);
    EXPECT_TRUE(playToItsEnd(player));
}

TEST(AudioPlayer, AFileThatBreaksOffIsADecodeErrorAfterWhatCouldBeHeard) {
    const TestFolder folder;
    DiskOutput disk;
    const QString path = writeSound(folder.path(QStringLiteral("a.flac")), 1, 200'000);
    ASSERT_TRUE(QFile::resize(path, QFileInfo(path).size() / 2));
    AudioPlayer player(disk.output(), path);
    QString error;
    std::optional<bool> finished;
    player.onDecodeError = [&](const QString& text) { error = text; };
    player.onFinish = [&](bool successfully) { finished = successfully; };
    player.play();
    ASSERT_TRUE(waitUntil([&] { return finished.has_value(); }));
    EXPECT_FALSE(*finished);
    EXPECT_FALSE(error.isEmpty());
    EXPECT_GT(matching(disk.heard(0), 0, 0, 0), 50'000);
}

TEST(AudioPlayer, MayBeDestroyedByWhatItCalls) {
    const TestFolder folder;
    DiskOutput disk;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 5'000);
    auto player = std::make_unique<AudioPlayer>(disk.output(), path);
    player->onFinish = [&](bool) { player.reset(); };
    player->play();
    EXPECT_TRUE(waitUntil([&] { return !player; }));
}

TEST(AudioPlayer, SaysThatThereIsNoSoundDevice) {
    const TestFolder folder;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 10);
    const QByteArray before = qgetenv("SDL_AUDIODRIVER");
    qputenv("SDL_AUDIODRIVER", "nothing-of-that-name");
    AudioOutput output;
    try {
        AudioPlayer player(output, path);
        ADD_FAILURE() << "a player without a device";
    } catch (const AudioPlayerError& error) {
        EXPECT_TRUE(error.errorDescription().startsWith(QStringLiteral("No sound device is available: ")));
    }
    qputenv("SDL_AUDIODRIVER", before);
}

TEST(AudioPlayer, ALostDeviceStopsItWhereItIsAndTheNextPlayOpensAnother) {
    const TestFolder folder;
    DiskOutput disk;
    AudioPlayer player(disk.output(), writeSound(folder.path(QStringLiteral("a.wav")), 1, 4'800'000));
    QString error;
    player.onDecodeError = [&](const QString& text) { error = text; };
    player.play();
    ASSERT_TRUE(waitUntil([&] { return player.currentTime() > 0.5; }));
    SDL_CloseAudioDevice(2); // the first that a program opens
    ASSERT_TRUE(waitUntil([&] { return !error.isEmpty(); }));
    EXPECT_EQ(error, QStringLiteral("The sound device is gone"));
    EXPECT_FALSE(player.isPlaying());
    const double stoodAt = player.currentTime();
    EXPECT_GT(stoodAt, 0.5);
    player.play();
    EXPECT_TRUE(waitUntil([&] { return player.currentTime() > stoodAt + 0.5; }));
}

TEST(AudioPlayer, ReachesTheEndOfATenHourFile) {
    const TestFolder folder;
    const QString path =
        writeSound(folder.path(QStringLiteral("a.w64")), 1, 1000, markedSample, 48000, SampleFormat::float32);
    // The rest is a hole: the sizes in the header are put up, the file is as long but takes no room.
    constexpr qint64 frames = 36'000LL * 48'000;
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::ReadWrite));
    const QByteArray head = file.read(200);
    const qint64 data = head.indexOf("data");
    ASSERT_GT(data, 0);
    const qint64 total = data + 24 + frames * 4;
    const auto put = [&](qint64 at, qint64 value) {
        file.seek(at);
        file.write(reinterpret_cast<const char*>(&value), sizeof value);
    };
    put(16, total);
    put(data + 16, 24 + frames * 4);
    ASSERT_TRUE(file.resize(total));
    file.close();
    DiskOutput disk;
    AudioPlayer player(disk.output(), path);
    EXPECT_DOUBLE_EQ(player.duration(), 36'000.0);
    player.setCurrentTime(35'999.5);
    EXPECT_EQ(player.currentTime(), 35'999.5);
    EXPECT_TRUE(playToItsEnd(player));
}

} // namespace
} // namespace ostrel
