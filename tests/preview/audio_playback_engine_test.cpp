#include "preview/audio_playback_engine.h"

#include "silent_witness.h"
#include "support/disk_output.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::DiskOutput;
using testing::SilentWitness;
using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

struct PlaybackEngineTest : ::testing::Test {
    TestFolder folder;
    DiskOutput disk;
    AudioPlaybackEngine engine{disk.output()};

    QString sound(const QString& name, qint64 frames) { return writeSound(folder.path(name), 1, frames); }
};

TEST_F(PlaybackEngineTest, PlayOnAnEmptyEngineDoesNothing) {
    engine.play();
    engine.pause();
    engine.stop();
    EXPECT_FALSE(engine.isPlaying.value());
    EXPECT_FALSE(engine.isLoaded.value());
}

TEST_F(PlaybackEngineTest, SeekOnAnEmptyEngineLeavesTheTimeAtZero) {
    engine.seek(3.0);
    EXPECT_EQ(engine.currentTime.value(), 0.0);
}

TEST_F(PlaybackEngineTest, LoadingPublishesTheDuration) {
    engine.load(sound(QStringLiteral("a.wav"), 72'000));
    EXPECT_TRUE(engine.isLoaded.value());
    EXPECT_EQ(engine.duration.value(), 1.5);
    EXPECT_EQ(engine.currentTime.value(), 0.0);
    EXPECT_TRUE(engine.loadError.value().isEmpty());
}

TEST_F(PlaybackEngineTest, AFileThatCannotBeLoadedIsAStateAndDropsTheOneBefore) {
    engine.load(sound(QStringLiteral("a.wav"), 72'000));
    engine.load(folder.path(QStringLiteral("none.wav")));
    EXPECT_FALSE(engine.isLoaded.value());
    EXPECT_EQ(engine.loadError.value(), QStringLiteral("Cannot preview: No such file or directory"));
    EXPECT_EQ(engine.duration.value(), 0.0);
    engine.play();
    EXPECT_FALSE(engine.isPlaying.value());
    engine.load(sound(QStringLiteral("b.wav"), 100));
    EXPECT_TRUE(engine.loadError.value().isEmpty());
}

TEST_F(PlaybackEngineTest, SeekHoldsToTheFileAndPublishesWhatThePlayerTook) {
    engine.load(sound(QStringLiteral("a.wav"), 48'000));
    engine.seek(0.1234567);
    EXPECT_EQ(engine.currentTime.value(), 5926 / 48000.0) << "the nearest frame";
    engine.seek(9.0);
    EXPECT_EQ(engine.currentTime.value(), 1.0);
    engine.seek(-9.0);
    EXPECT_EQ(engine.currentTime.value(), 0.0);
}

TEST_F(PlaybackEngineTest, PublishesItsPositionAndPausesThere) {
    engine.load(sound(QStringLiteral("a.wav"), 4'800'000));
    engine.play();
    EXPECT_TRUE(engine.isPlaying.value());
    ASSERT_TRUE(waitUntil([&] { return engine.currentTime.value() > 1.0; }));
    engine.pause();
    EXPECT_FALSE(engine.isPlaying.value());
    const double pausedAt = engine.currentTime.value();
    SilentWitness witness(disk.output());
    ASSERT_TRUE(witness.waitForLooks(1)); // the driver may still have been writing the block before
    const std::size_t heard = disk.heard().size();
    ASSERT_TRUE(witness.waitForLooks(4));
    EXPECT_EQ(engine.currentTime.value(), pausedAt);
    EXPECT_EQ(disk.heard().size(), heard);
    engine.stop();
    EXPECT_EQ(engine.currentTime.value(), 0.0);
    EXPECT_TRUE(engine.isLoaded.value());
}

TEST_F(PlaybackEngineTest, TheEndOfTheFileIsLoadedAtZeroWithOneCall) {
    int finished = 0;
    engine.onPlaybackFinished = [&] { ++finished; };
    engine.load(sound(QStringLiteral("a.wav"), 20'000));
    engine.play();
    ASSERT_TRUE(waitUntil([&] { return finished > 0; }));
    EXPECT_FALSE(engine.isPlaying.value());
    EXPECT_TRUE(engine.isLoaded.value());
    EXPECT_EQ(engine.currentTime.value(), 0.0);
    SilentWitness witness(disk.output());
    ASSERT_TRUE(witness.waitForLooks(4));
    EXPECT_EQ(finished, 1);
    EXPECT_EQ(disk.heard(0).size(), 20'000U);
}

TEST_F(PlaybackEngineTest, ADecodeErrorIsToldAndStillFinishes) {
    const QString path = sound(QStringLiteral("a.flac"), 100'000);
    ASSERT_TRUE(QFile::resize(path, QFileInfo(path).size() / 2));
    int finished = 0;
    engine.onPlaybackFinished = [&] { ++finished; };
    engine.load(path);
    engine.play();
    ASSERT_TRUE(waitUntil([&] { return finished > 0; }));
    EXPECT_FALSE(engine.isPlaying.value());
    EXPECT_FALSE(engine.loadError.value().isEmpty());
}

TEST_F(PlaybackEngineTest, AnnouncesEveryChange) {
    int changes = 0;
    QObject::connect(&engine, &AudioPlaybackEngine::changed, [&] { ++changes; });
    engine.load(sound(QStringLiteral("a.wav"), 48'000));
    EXPECT_GE(changes, 2);
    changes = 0;
    engine.seek(0.5);
    EXPECT_EQ(changes, 1);
}

TEST_F(PlaybackEngineTest, ALoopBeginsAtItsBeginningFromElsewhereAndEndsWithTheFile) {
    engine.load(sound(QStringLiteral("a.wav"), 4'800'000));
    engine.select(TimeSpan{20, 30});
    engine.seek(5);
    engine.play();
    EXPECT_EQ(engine.currentTime.value(), 5.0) << "a selection by itself changes nothing";
    engine.setLoops(true);
    EXPECT_EQ(engine.currentTime.value(), 20.0);
    engine.load(sound(QStringLiteral("b.wav"), 20'000));
    EXPECT_FALSE(engine.travel.selection.value());
    EXPECT_TRUE(engine.travel.loops.value());
    int finished = 0;
    engine.onPlaybackFinished = [&] { ++finished; };
    engine.play();
    ASSERT_TRUE(disk.waitForMore(100'000)) << "the whole file goes around";
    EXPECT_EQ(finished, 0);
    engine.setLoops(false);
    EXPECT_TRUE(waitUntil([&] { return finished == 1; }));
}

TEST_F(PlaybackEngineTest, ShuttlingBackwardsEndsAtTheBeginning) {
    int finished = 0;
    engine.onPlaybackFinished = [&] { ++finished; };
    engine.shuttle(1);
    EXPECT_FALSE(engine.isPlaying.value()) << "nothing is loaded";
    engine.load(sound(QStringLiteral("a.wav"), 480'000));
    engine.seek(8);
    engine.shuttle(-1);
    engine.shuttle(-1);
    EXPECT_EQ(engine.travel.speed.value(), -2);
    ASSERT_TRUE(waitUntil([&] { return finished == 1; }));
    EXPECT_EQ(engine.currentTime.value(), 0.0);
    EXPECT_EQ(engine.travel.speed.value(), 1);
    EXPECT_NEAR(static_cast<double>(disk.heard(0).size()), 192'000, 2);
}

TEST_F(PlaybackEngineTest, AnOldErrorIsForgottenWhenItPlaysAgain) {
    engine.load(sound(QStringLiteral("a.wav"), 480'000));
    engine.loadError = QStringLiteral("The sound device is gone");
    engine.play();
    EXPECT_TRUE(engine.loadError.value().isEmpty());
}

TEST(PlaybackEngine, WithoutASoundDeviceSaysSo) {
    const TestFolder folder;
    const QByteArray before = qgetenv("SDL_AUDIODRIVER");
    qputenv("SDL_AUDIODRIVER", "nothing-of-that-name");
    AudioOutput output;
    AudioPlaybackEngine engine(output);
    engine.load(writeSound(folder.path(QStringLiteral("a.wav")), 1, 10));
    EXPECT_TRUE(engine.loadError.value().startsWith(QStringLiteral("Cannot preview: No sound device is available: ")));
    qputenv("SDL_AUDIODRIVER", before);
}

} // namespace
} // namespace ostrel
