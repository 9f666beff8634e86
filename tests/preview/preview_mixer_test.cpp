#include "preview/preview_mixer.h"

#include "silent_witness.h"
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
using testing::SilentWitness;
using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

constexpr float kTrimmed = 0.5011872F;
// Frames of a file that is not over before a test gets to act, however late that is: the disk driver plays ten times as
// fast as a sound card.
constexpr qint64 kLong = 2'400'000;

struct PreviewMixerTest : ::testing::Test {
    TestFolder folder;
    DiskOutput disk;
    PreviewMixer mixer{disk.output()};

    // An ISO with the signal of a channel of its own.
    QString iso(int channel, qint64 frames = 48'000) {
        const auto signal = [channel](int, qint64 frame) { return markedSample(channel, frame); };
        return writeSound(folder.path(QStringLiteral("Take_T%1.wav").arg(channel)), 1, frames, signal);
    }
    QString poly(qint64 frames = 48'000) { return writeSound(folder.path(QStringLiteral("Take.wav")), 2, frames); }

    QStringList isos(int count, qint64 frames = 48'000) {
        QStringList result;
        for (int channel = 1; channel <= count; ++channel) result << iso(channel, frames);
        return result;
    }
    std::vector<float> volumes() {
        std::vector<float> result;
        for (int index = 0; index < mixer.loadedFileCount.value(); ++index) result.push_back(mixer.volumeOf(index));
        return result;
    }
    std::vector<bool> solos() {
        std::vector<bool> result;
        for (const SourceInfo& source : mixer.sourceStates.value()) result.push_back(source.isSoloed);
        return result;
    }
};

TEST_F(PreviewMixerTest, PlayOnAnEmptyMixerDoesNothing) {
    mixer.play();
    EXPECT_FALSE(mixer.isPlaying.value());
    mixer.seek(2.0);
    EXPECT_EQ(mixer.currentTime.value(), 0.0);
    mixer.soloExclusive(0);
    mixer.toggleSolo(-1);
    mixer.soloPolySource();
    mixer.clearAllSolos();
    EXPECT_FALSE(mixer.isPolySourceActive.value());
}

TEST_F(PreviewMixerTest, NoFilesIsAnErrorAndNothingElseIsDone) {
    mixer.loadSingle(iso(1));
    mixer.loadMix({});
    EXPECT_EQ(mixer.loadError.value(), QStringLiteral("No files to load"));
    EXPECT_TRUE(mixer.isLoaded.value());
    EXPECT_EQ(mixer.loadedFileCount.value(), 1);
}

TEST_F(PreviewMixerTest, ASingleFileLoadsWithoutTrimWhateverTheSwitchSays) {
    mixer.autoTrimEnabled = true;
    mixer.loadSingle(iso(1, 24'000));
    EXPECT_TRUE(mixer.isLoaded.value());
    EXPECT_FALSE(mixer.isMixMode.value());
    EXPECT_EQ(mixer.duration.value(), 0.5);
    EXPECT_EQ(mixer.loadedFileCount.value(), 1);
    mixer.updateVolumes();
    EXPECT_EQ(volumes(), std::vector<float>{1.0F});
}

TEST_F(PreviewMixerTest, ASingleFileThatCannotBeLoadedIsAnError) {
    mixer.loadSingle(folder.path(QStringLiteral("none.wav")));
    EXPECT_EQ(mixer.loadError.value(), QStringLiteral("Cannot load: No such file or directory"));
    EXPECT_FALSE(mixer.isLoaded.value());
}

TEST_F(PreviewMixerTest, ChannelNumbersComeFromTheNames) {
    const QString plain = writeSound(folder.path(QStringLiteral("Plain.wav")), 1, 10);
    mixer.loadMix({iso(12), plain});
    const std::vector<SourceInfo>& states = mixer.sourceStates.value();
    ASSERT_EQ(states.size(), 2U);
    EXPECT_EQ(states[0].channelNumber, 12);
    EXPECT_EQ(states[1].channelNumber, std::nullopt);
    EXPECT_EQ(states[1].id, plain);
    EXPECT_EQ(states[1].index, 1);
    EXPECT_TRUE(states[0].isIncluded);
    EXPECT_FALSE(states[0].isSoloed);
}

TEST_F(PreviewMixerTest, AMissingFileIsSkippedAndTheMixLoadsWithTheOthers) {
    mixer.loadMix({iso(1), folder.path(QStringLiteral("none.wav")), iso(2, 96'000)});
    EXPECT_TRUE(mixer.isLoaded.value());
    EXPECT_EQ(mixer.loadedFileCount.value(), 2);
    EXPECT_EQ(mixer.duration.value(), 2.0) << "of the longest";
    EXPECT_EQ(mixer.sourceStates.value()[1].index, 1);
}

TEST_F(PreviewMixerTest, TwoFilesTurnTheTrimOnAndCleanupLeavesIt) {
    mixer.loadMix({iso(1)});
    EXPECT_FALSE(mixer.autoTrimEnabled.value());
    mixer.loadMix(isos(2));
    EXPECT_TRUE(mixer.autoTrimEnabled.value());
    EXPECT_EQ(volumes(), (std::vector<float>{kTrimmed, kTrimmed}));
    mixer.autoTrimEnabled = false;
    EXPECT_EQ(volumes(), (std::vector<float>{1.0F, 1.0F}));
    mixer.autoTrimEnabled = true;
    mixer.cleanup();
    EXPECT_TRUE(mixer.autoTrimEnabled.value());
    EXPECT_FALSE(mixer.isLoaded.value());
    EXPECT_FALSE(mixer.isMixMode.value());
    EXPECT_TRUE(mixer.sourceStates.value().empty());
    EXPECT_EQ(mixer.masterPeakDb.value(), -60.0F);
}

TEST_F(PreviewMixerTest, WithAPolyItIsHeardFirstAndUntrimmedWhateverIsSoloed) {
    mixer.loadMix(isos(2), poly());
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    EXPECT_EQ(volumes(), (std::vector<float>{0.0F, 0.0F}));
    EXPECT_EQ(mixer.polyVolume(), 1.0F);
    mixer.soloExclusive(0);
    mixer.isPolySourceActive = true;
    mixer.updateVolumes();
    EXPECT_EQ(volumes(), (std::vector<float>{0.0F, 0.0F}));
    EXPECT_EQ(mixer.polyVolume(), 1.0F);
}

TEST_F(PreviewMixerTest, APolyThatCannotBeLoadedLeavesTheMix) {
    mixer.loadMix(isos(2), folder.path(QStringLiteral("none.wav")));
    EXPECT_TRUE(mixer.isLoaded.value());
    EXPECT_FALSE(mixer.isPolySourceActive.value());
    EXPECT_FALSE(mixer.hasPolySource());
    mixer.soloPolySource();
    EXPECT_FALSE(mixer.isPolySourceActive.value());
}

TEST_F(PreviewMixerTest, ASecondExclusiveSoloReturnsToThePoly) {
    mixer.loadMix(isos(3), poly());
    mixer.soloExclusive(1);
    EXPECT_EQ(solos(), (std::vector<bool>{false, true, false}));
    EXPECT_FALSE(mixer.isPolySourceActive.value());
    EXPECT_EQ(volumes(), (std::vector<float>{0.0F, kTrimmed, 0.0F}));
    EXPECT_EQ(mixer.polyVolume(), 0.0F);
    mixer.soloExclusive(2);
    EXPECT_EQ(solos(), (std::vector<bool>{false, false, true}));
    mixer.soloExclusive(2);
    EXPECT_EQ(solos(), (std::vector<bool>{false, false, false}));
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    EXPECT_EQ(mixer.polyVolume(), 1.0F);
}

TEST_F(PreviewMixerTest, ToggledSolosGoAroundWithAndWithoutAPoly) {
    mixer.loadMix(isos(2));
    mixer.toggleSolo(0);
    EXPECT_EQ(volumes(), (std::vector<float>{kTrimmed, 0.0F}));
    mixer.toggleSolo(1);
    EXPECT_EQ(volumes(), (std::vector<float>{0.0F, kTrimmed}));
    mixer.toggleSolo(1);
    EXPECT_EQ(volumes(), (std::vector<float>{kTrimmed, kTrimmed}));
    EXPECT_FALSE(mixer.isPolySourceActive.value());
    mixer.setPolySource(poly());
    EXPECT_FALSE(mixer.isPolySourceActive.value()) << "added silently";
    mixer.toggleSolo(1);
    mixer.toggleSolo(1);
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    mixer.toggleSolo(7);
    EXPECT_TRUE(mixer.isPolySourceActive.value());
}

TEST_F(PreviewMixerTest, ThePolyCanBeSwitchedAndSolosCleared) {
    mixer.loadMix(isos(2), poly());
    mixer.soloPolySource();
    EXPECT_FALSE(mixer.isPolySourceActive.value());
    EXPECT_EQ(volumes(), (std::vector<float>{kTrimmed, kTrimmed}));
    mixer.soloExclusive(0);
    mixer.soloPolySource();
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    EXPECT_EQ(solos(), (std::vector<bool>{false, false}));
    mixer.soloExclusive(0);
    mixer.clearAllSolos();
    EXPECT_TRUE(mixer.isPolySourceActive.value());
    EXPECT_EQ(solos(), (std::vector<bool>{false, false}));
}

TEST_F(PreviewMixerTest, SourcesThatAreLeftOutAreHeardInASoloOnly) {
    mixer.loadMix(isos(2));
    mixer.setIncluded(1, false);
    EXPECT_EQ(volumes(), (std::vector<float>{kTrimmed, 0.0F}));
    EXPECT_FALSE(mixer.sourceStates.value()[1].isIncluded);
    mixer.toggleSolo(1);
    EXPECT_EQ(volumes(), (std::vector<float>{0.0F, kTrimmed}));
}

TEST_F(PreviewMixerTest, APolyNeedsALoadedMixer) {
    mixer.setPolySource(poly());
    EXPECT_FALSE(mixer.hasPolySource());
}

TEST_F(PreviewMixerTest, FourIsosComeOutTrimmedAndInStep) {
    mixer.loadMix(isos(4, 60'000));
    bool finished = false;
    mixer.onPlaybackFinished = [&] { finished = true; };
    mixer.play();
    mixer.play();
    ASSERT_TRUE(waitUntil([&] { return finished; }));
    EXPECT_FALSE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.currentTime.value(), 0.0);
    const std::vector<float> heard = disk.heard(0);
    ASSERT_GE(heard.size(), 55'200U) << "the last tenth of a second may be cut";
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        double expected = 0;
        for (int channel = 1; channel <= 4; ++channel) {
            expected += 0.5011872 * static_cast<double>(markedSample(channel, static_cast<qint64>(frame)));
        }
        ASSERT_NEAR(heard[frame], expected, 1e-6) << frame;
    }
}

TEST_F(PreviewMixerTest, ASoloAndBackToThePolyKeepThePosition) {
    mixer.loadMix({iso(1, kLong), iso(2, kLong)}, poly(kLong));
    mixer.play();
    ASSERT_TRUE(disk.waitForFrames(60'000));
    mixer.soloExclusive(1);
    ASSERT_TRUE(disk.waitForMore(80'000));
    mixer.soloExclusive(1);
    ASSERT_TRUE(disk.waitForMore(80'000));
    EXPECT_TRUE(mixer.isPlaying.value());
    mixer.pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    const auto isPoly = [&](qint64 frame) { return heard[static_cast<std::size_t>(frame)] == markedSample(0, frame); };
    const auto isSolo = [&](qint64 frame) {
        return std::abs(heard[static_cast<std::size_t>(frame)] - kTrimmed * markedSample(2, frame)) < 1e-6F;
    };
    const auto length = static_cast<qint64>(heard.size());
    qint64 frame = 0;
    while (frame < length && isPoly(frame)) ++frame;
    EXPECT_GE(frame, 60'000);
    frame += 240; // the ramp
    while (frame < length && isSolo(frame)) ++frame;
    EXPECT_GE(frame, 140'000);
    frame += 240;
    while (frame < length && isPoly(frame)) ++frame;
    EXPECT_EQ(frame, length);
    EXPECT_GE(length, 220'000);
}

TEST_F(PreviewMixerTest, AnInjectedPolyJoinsARunningMixToTheSample) {
    mixer.loadMix({iso(1, kLong)});
    mixer.play();
    ASSERT_TRUE(disk.waitForFrames(40'000));
    mixer.setPolySource(poly(kLong));
    ASSERT_TRUE(waitUntil([&] { return mixer.isPolyInStep(); }));
    ASSERT_TRUE(disk.waitForFrames(80'000));
    mixer.soloPolySource();
    ASSERT_TRUE(disk.waitForMore(100'000));
    EXPECT_TRUE(mixer.isPlaying.value());
    mixer.pause();
    QCoreApplication::processEvents();
    const std::vector<float> heard = disk.heard(0);
    const auto length = static_cast<qint64>(heard.size());
    qint64 frame = 0;
    while (frame < length && heard[static_cast<std::size_t>(frame)] == markedSample(1, frame)) ++frame;
    EXPECT_GE(frame, 80'000);
    frame += 240;
    while (frame < length && heard[static_cast<std::size_t>(frame)] == markedSample(0, frame)) ++frame;
    EXPECT_EQ(frame, length);
    EXPECT_GE(length, 180'000);
}

TEST_F(PreviewMixerTest, SeekingWhilePlayingKeepsAllInStep) {
    mixer.loadMix(isos(2, kLong));
    mixer.play();
    ASSERT_TRUE(disk.waitForFrames(20'000));
    constexpr qint64 target = kLong - 100'000;
    mixer.seek(target / 48000.0);
    EXPECT_TRUE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.currentTime.value(), target / 48000.0);
    ASSERT_TRUE(waitUntil([&] { return !mixer.isPlaying.value(); }));
    const std::vector<float> heard = disk.heard(0);
    const auto sum = [](qint64 frame) { return kTrimmed * (markedSample(1, frame) + markedSample(2, frame)); };
    std::size_t at = 0;
    while (at < heard.size() && std::abs(heard[at] - sum(static_cast<qint64>(at))) < 1e-6F) ++at;
    EXPECT_GE(at, 20'000U);
    const qint64 jump = target - static_cast<qint64>(at);
    while (at < heard.size() && std::abs(heard[at] - sum(static_cast<qint64>(at) + jump)) < 1e-6F) ++at;
    EXPECT_EQ(at, heard.size());
}

TEST_F(PreviewMixerTest, PausingKeepsTheTimeAndStoppingGoesToZero) {
    mixer.loadMix(isos(2, 4'800'000));
    mixer.play();
    ASSERT_TRUE(waitUntil([&] { return mixer.currentTime.value() > 0.5; }));
    mixer.pause();
    EXPECT_FALSE(mixer.isPlaying.value());
    const double pausedAt = mixer.currentTime.value();
    EXPECT_GT(pausedAt, 0.5);
    mixer.play();
    ASSERT_TRUE(waitUntil([&] { return mixer.currentTime.value() > pausedAt + 0.2; }));
    mixer.stop();
    EXPECT_EQ(mixer.currentTime.value(), 0.0);
}

TEST_F(PreviewMixerTest, AShortFirstSourceLeavesTheLongerOnesPlayingToTheirEndAndNoLonger) {
    mixer.loadMix({iso(1, 24'000), iso(2, 240'000)});
    bool finished = false;
    double latest = 0;
    mixer.onPlaybackFinished = [&] { finished = true; };
    const auto watching = mixer.currentTime.addNotifier([&] { latest = std::max(latest, mixer.currentTime.value()); });
    mixer.play();
    ASSERT_TRUE(waitUntil([&] { return finished; }));
    EXPECT_GT(latest, 1.0) << "the clock went on behind the first one's half second";
    EXPECT_FALSE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.currentTime.value(), 0.0);
    EXPECT_GE(disk.heard(0).size(), 235'200U);
}

TEST_F(PreviewMixerTest, SeekingBehindTheEndOfTheFirstSourcePlaysTheLongerOne) {
    mixer.loadMix({iso(1, 24'000), iso(2, kLong)});
    mixer.seek(10);
    mixer.play();
    ASSERT_TRUE(waitUntil([&] { return mixer.currentTime.value() > 11; }));
    EXPECT_TRUE(mixer.isPlaying.value());
}

TEST_F(PreviewMixerTest, ASelectionLoopsInAllSourcesUntilItIsTakenBack) {
    mixer.loadMix({iso(1, 30'000), iso(2, 96'000)});
    bool finished = false;
    mixer.onPlaybackFinished = [&] { finished = true; };
    mixer.select(TimeSpan{0.5, 1.0});
    mixer.setLoops(true);
    mixer.play();
    ASSERT_TRUE(disk.waitForFrames(200'000));
    EXPECT_FALSE(finished);
    const std::vector<float> heard = disk.heard(0);
    for (std::size_t at = 0; at < 200'000; ++at) {
        const auto frame = 24'000 + static_cast<qint64>(at) % 24'000;
        const float first = frame < 30'000 ? markedSample(1, frame) : 0.0F;
        ASSERT_NEAR(heard[at], kTrimmed * (first + markedSample(2, frame)), 1e-6) << at;
    }
    mixer.select(std::nullopt);
    mixer.setLoops(false);
    EXPECT_TRUE(waitUntil([&] { return finished; }));
}

TEST_F(PreviewMixerTest, ShuttlingGoesFasterWithEveryPressTurnsAroundAndEndsWithAPause) {
    mixer.loadMix(isos(2, kLong));
    mixer.seek(25);
    mixer.shuttle(1);
    EXPECT_TRUE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.travel.speed.value(), 1);
    for (const int speed : {2, 4, 8, 8}) {
        mixer.shuttle(1);
        EXPECT_EQ(mixer.travel.speed.value(), speed);
    }
    mixer.shuttle(-1);
    EXPECT_EQ(mixer.travel.speed.value(), -1);
    const double turned = mixer.currentTime.value();
    ASSERT_TRUE(waitUntil([&] { return mixer.currentTime.value() < turned - 0.2; }));
    mixer.shuttle(0);
    EXPECT_FALSE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.travel.speed.value(), 1);
    const double paused = mixer.currentTime.value();
    mixer.play();
    EXPECT_TRUE(waitUntil([&] { return mixer.currentTime.value() > paused + 0.1; }));
}

TEST_F(PreviewMixerTest, BackwardsTheBeginningIsTheEnd) {
    mixer.loadMix(isos(2, 96'000));
    bool finished = false;
    mixer.onPlaybackFinished = [&] { finished = true; };
    mixer.seek(1);
    mixer.shuttle(-1);
    ASSERT_TRUE(waitUntil([&] { return finished; }));
    EXPECT_FALSE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.currentTime.value(), 0.0);
    EXPECT_EQ(mixer.travel.speed.value(), 1);
}

TEST_F(PreviewMixerTest, AnOldErrorIsForgottenWhenItPlaysAgain) {
    mixer.loadMix(isos(2));
    mixer.loadError = QStringLiteral("The sound device is gone");
    mixer.play();
    EXPECT_TRUE(mixer.loadError.value().isEmpty());
}

} // namespace
} // namespace ostrel
