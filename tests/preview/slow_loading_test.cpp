// Files that only ffmpeg reads, with an ffmpeg that takes its time.
#include "platform/background.h"
#include "platform/processes/child_process.h"
#include "preview/audio_playback_engine.h"
#include "preview/preview_mixer.h"
#include "support/disk_output.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::DiskOutput;
using testing::markedSample;
using testing::TestFolder;
using testing::waitUntil;
using testing::writeSound;

constexpr qint64 kLongFrames = 48'000;

struct SlowLoadingTest : ::testing::Test {
    TestFolder folder;
    DiskOutput disk;
    QString realFfmpeg = testing::installedTool(QStringLiteral("ffmpeg"));
    // Says that it began, waits until it may go on, and says that it is done.
    QString slowFfmpeg =
        folder.writeScript(QStringLiteral("slow-ffmpeg"), QStringLiteral("cd '%1'\n"
                                                                         "echo x >> begun\n"
                                                                         "until [ -e go ]; do sleep 0.01; done\n"
                                                                         "'%2' \"$@\"\n"
                                                                         "status=$?\n"
                                                                         "echo x >> done\n"
                                                                         "exit $status")
                                                              .arg(folder.path(), realFfmpeg));

    QString sound(const QString& name, qint64 frames = kLongFrames, int channel = 0) {
        const auto signal = [channel](int, qint64 frame) { return markedSample(channel, frame); };
        return writeSound(folder.path(name), 1, frames, signal);
    }
    // Lossless, in a container that libsndfile doesn't know.
    QString compressed(const QString& name, qint64 frames = kLongFrames, int channel = 0) {
        const QString path = folder.path(name);
        const ProcessResult encoding =
            ChildProcess::runForResult(realFfmpeg, {QStringLiteral("-v"), QStringLiteral("error"), QStringLiteral("-i"),
                                                    sound(name + QStringLiteral(".wav"), frames, channel),
                                                    QStringLiteral("-c:a"), QStringLiteral("alac"), path});
        EXPECT_TRUE(encoding.succeeded()) << encoding.standardError.toStdString();
        return path;
    }
    int count(const QString& what) {
        const QString path = folder.path(what);
        return QFile::exists(path) ? static_cast<int>(testing::readAll(path).count('\n')) : 0;
    }
    void go() { folder.write(QStringLiteral("go"), QByteArrayLiteral("x")); }
    bool waitForBegin(int runs = 1) {
        return waitUntil([=, this] { return count(QStringLiteral("begun")) >= runs; });
    }
    // The child's end, and what follows from it on the main thread.
    bool waitForDone(int runs = 1) {
        const bool isDone = waitUntil([=, this] { return count(QStringLiteral("done")) >= runs; });
        backgroundPool().waitForDone();
        QCoreApplication::processEvents();
        return isDone;
    }
    // Events go on.
    static bool canTick() {
        int ticks = 0;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, [&] { ++ticks; });
        timer.start(0);
        return waitUntil([&] { return ticks >= 100; });
    }
};

struct SlowEngineTest : SlowLoadingTest {
    AudioPlaybackEngine engine{disk.output()};
    void SetUp() override { engine.setFFmpegPath(slowFfmpeg); }
};

struct SlowMixerTest : SlowLoadingTest {
    PreviewMixer mixer{disk.output()};
    void SetUp() override { mixer.setFFmpegPath(slowFfmpeg); }
};

TEST_F(SlowEngineTest, EventsGoOnWhileAFileIsDecoded) {
    const QString path = compressed(QStringLiteral("a.m4a"));
    engine.load(path);
    EXPECT_TRUE(engine.isLoading.value());
    EXPECT_FALSE(engine.isLoaded.value());
    ASSERT_TRUE(waitForBegin());
    EXPECT_TRUE(canTick());
    EXPECT_TRUE(engine.isLoading.value());
    go();
    ASSERT_TRUE(waitUntil([&] { return !engine.isLoading.value(); }));
    EXPECT_TRUE(engine.isLoaded.value());
    EXPECT_EQ(engine.duration.value(), 1.0);
    EXPECT_TRUE(engine.loadError.value().isEmpty());
    EXPECT_FALSE(engine.isPlaying.value());
}

TEST_F(SlowEngineTest, AFileThatNeedsNoDecodingIsThereAtOnce) {
    engine.load(sound(QStringLiteral("a.wav")));
    EXPECT_TRUE(engine.isLoaded.value());
    EXPECT_FALSE(engine.isLoading.value());
    engine.load(folder.path(QStringLiteral("none.m4a")));
    EXPECT_EQ(engine.loadError.value(), QStringLiteral("Cannot preview: No such file or directory"));
    EXPECT_EQ(count(QStringLiteral("begun")), 0);
}

TEST_F(SlowEngineTest, ALaterLoadSupersedesTheOneThatIsDecoded) {
    engine.load(compressed(QStringLiteral("a.m4a")));
    ASSERT_TRUE(waitForBegin());
    engine.play();
    engine.load(sound(QStringLiteral("b.wav"), 2 * kLongFrames));
    EXPECT_TRUE(engine.isLoaded.value());
    EXPECT_FALSE(engine.isLoading.value());
    go();
    ASSERT_TRUE(waitForDone());
    EXPECT_EQ(engine.duration.value(), 2.0);
    EXPECT_FALSE(engine.isPlaying.value()) << "that was asked of the other file";
}

TEST_F(SlowEngineTest, UnloadingAbandonsIt) {
    engine.load(compressed(QStringLiteral("a.m4a")));
    ASSERT_TRUE(waitForBegin());
    engine.unload();
    EXPECT_FALSE(engine.isLoading.value());
    go();
    ASSERT_TRUE(waitForDone());
    EXPECT_FALSE(engine.isLoaded.value());
    EXPECT_EQ(engine.duration.value(), 0.0);
}

TEST_F(SlowEngineTest, PlayingWaitsForTheFile) {
    engine.load(compressed(QStringLiteral("a.m4a")));
    engine.play();
    EXPECT_FALSE(engine.isPlaying.value());
    int finished = 0;
    engine.onPlaybackFinished = [&] { ++finished; };
    go();
    ASSERT_TRUE(waitUntil([&] { return finished == 1; }));
    const std::vector<float> heard = disk.heard(0);
    ASSERT_EQ(heard.size(), static_cast<std::size_t>(kLongFrames));
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        ASSERT_EQ(heard[frame], markedSample(0, static_cast<qint64>(frame))) << frame;
    }
}

TEST_F(SlowEngineTest, StoppingAndPausingTakeBackThePlayAndTheFileStillLoads) {
    const QString path = compressed(QStringLiteral("a.m4a"));
    for (const bool stops : {true, false}) {
        engine.load(path);
        engine.play();
        stops ? engine.stop() : engine.pause();
        EXPECT_TRUE(engine.isLoading.value());
        go();
        ASSERT_TRUE(waitUntil([&] { return !engine.isLoading.value(); }));
        EXPECT_TRUE(engine.isLoaded.value());
        EXPECT_FALSE(engine.isPlaying.value());
        EXPECT_EQ(engine.currentTime.value(), 0.0);
        QFile::remove(folder.path(QStringLiteral("go")));
    }
}

TEST_F(SlowEngineTest, AFileThatCannotBeDecodedIsAnError) {
    engine.load(folder.write(QStringLiteral("text.m4a"), QByteArrayLiteral("not a sound at all")));
    engine.play();
    EXPECT_TRUE(engine.loadError.value().isEmpty());
    go();
    ASSERT_TRUE(waitUntil([&] { return !engine.isLoading.value(); }));
    EXPECT_EQ(engine.loadError.value(), QStringLiteral("Cannot preview: Invalid data found when processing input"));
    EXPECT_FALSE(engine.isLoaded.value());
    engine.load(sound(QStringLiteral("b.wav")));
    EXPECT_FALSE(engine.isPlaying.value());
}

TEST_F(SlowLoadingTest, AnEngineOrMixerThatIsGoneIsNotResumedInto) {
    auto engine = std::make_unique<AudioPlaybackEngine>(disk.output());
    auto mixer = std::make_unique<PreviewMixer>(disk.output());
    engine->setFFmpegPath(slowFfmpeg);
    mixer->setFFmpegPath(slowFfmpeg);
    const QString path = compressed(QStringLiteral("a.m4a"));
    engine->load(path);
    mixer->loadSingle(path);
    ASSERT_TRUE(waitForBegin());
    engine.reset();
    mixer.reset();
    go();
    EXPECT_TRUE(waitForDone());
}

TEST_F(SlowMixerTest, EventsGoOnWhileAMixIsDecodedAndThenItPlaysInStep) {
    const QString first = compressed(QStringLiteral("Take_T1.m4a"), kLongFrames, 1);
    const QString second = sound(QStringLiteral("Take_T2.wav"), kLongFrames, 2);
    mixer.loadMix({first, folder.path(QStringLiteral("none.wav")), second});
    EXPECT_TRUE(mixer.isLoading.value());
    EXPECT_FALSE(mixer.isLoaded.value());
    mixer.play();
    EXPECT_FALSE(mixer.isPlaying.value());
    ASSERT_TRUE(waitForBegin());
    EXPECT_TRUE(canTick());
    bool finished = false;
    mixer.onPlaybackFinished = [&] { finished = true; };
    go();
    ASSERT_TRUE(waitUntil([&] { return mixer.isLoaded.value(); }));
    EXPECT_FALSE(mixer.isLoading.value());
    EXPECT_TRUE(mixer.isPlaying.value());
    EXPECT_EQ(mixer.sourceURLs(), (QStringList{first, second})) << "in their order, and without the missing one";
    EXPECT_EQ(mixer.sourceStates.value()[1].index, 1);
    ASSERT_TRUE(waitUntil([&] { return finished; }));
    const std::vector<float> heard = disk.heard(0);
    ASSERT_GT(heard.size(), 40'000U);
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        const auto at = static_cast<qint64>(frame);
        ASSERT_NEAR(heard[frame], 0.5011872F * (markedSample(1, at) + markedSample(2, at)), 1e-6) << frame;
    }
}

TEST_F(SlowMixerTest, WhatIsChosenWhileItLoadsHolds) {
    const QStringList isos{compressed(QStringLiteral("Take_T1.m4a"), kLongFrames, 1),
                           sound(QStringLiteral("Take_T2.wav"), kLongFrames, 2)};
    mixer.loadMix(isos, sound(QStringLiteral("Take.wav")));
    EXPECT_EQ(mixer.sourceURLs(), isos);
    mixer.soloExclusive(1);
    go();
    ASSERT_TRUE(waitUntil([&] { return mixer.isLoaded.value(); }));
    EXPECT_FALSE(mixer.isPolySourceActive.value());
    EXPECT_EQ(mixer.volumeOf(0), 0.0F);
    EXPECT_EQ(mixer.volumeOf(1), 0.5011872F);
}

TEST_F(SlowMixerTest, APolyThatComesBeforeTheMixHasLoadedIsAddedSilently) {
    mixer.loadMix({compressed(QStringLiteral("Take_T1.m4a")), sound(QStringLiteral("Take_T2.wav"))});
    mixer.setPolySource(sound(QStringLiteral("Take.wav")));
    EXPECT_FALSE(mixer.hasPolySource());
    go();
    ASSERT_TRUE(waitUntil([&] { return mixer.isLoaded.value(); }));
    EXPECT_TRUE(mixer.hasPolySource());
    EXPECT_FALSE(mixer.isPolySourceActive.value());
}

TEST_F(SlowMixerTest, APolyThatIsDecodedLeavesTheMixPlayingAndJoinsIt) {
    constexpr qint64 frames = 60 * 48'000;
    const QString poly = compressed(QStringLiteral("Take.m4a"), frames);
    mixer.loadMix({sound(QStringLiteral("Take_T1.wav"), frames, 1)});
    mixer.play();
    mixer.setPolySource(poly);
    EXPECT_TRUE(mixer.isLoading.value());
    EXPECT_TRUE(mixer.isPlaying.value());
    ASSERT_TRUE(disk.waitForFrames(10'000));
    go();
    ASSERT_TRUE(waitUntil([&] { return mixer.isPolyInStep(); }));
    EXPECT_FALSE(mixer.isLoading.value());
    EXPECT_EQ(mixer.polyVolume(), 0.0F);
    EXPECT_TRUE(mixer.isPlaying.value());
}

TEST_F(SlowMixerTest, ALaterLoadSupersedesTheOneThatIsDecoded) {
    mixer.loadMix({compressed(QStringLiteral("Take_T1.m4a")), sound(QStringLiteral("Take_T2.wav"))});
    mixer.setPolySource(sound(QStringLiteral("Take.wav")));
    mixer.play();
    ASSERT_TRUE(waitForBegin());
    const QString other = sound(QStringLiteral("b.wav"), 2 * kLongFrames);
    mixer.loadSingle(other);
    EXPECT_TRUE(mixer.isLoaded.value());
    go();
    ASSERT_TRUE(waitForDone());
    EXPECT_EQ(mixer.sourceURLs(), QStringList{other});
    EXPECT_EQ(mixer.duration.value(), 2.0);
    EXPECT_FALSE(mixer.hasPolySource());
    EXPECT_FALSE(mixer.isPlaying.value());
    mixer.loadSingle(folder.write(QStringLiteral("text.m4a"), QByteArrayLiteral("not a sound at all")));
    ASSERT_TRUE(waitUntil([&] { return !mixer.isLoading.value(); }));
    EXPECT_EQ(mixer.loadError.value(), QStringLiteral("Cannot load: Invalid data found when processing input"));
    EXPECT_TRUE(mixer.sourceURLs().isEmpty());
}

} // namespace
} // namespace ostrel
