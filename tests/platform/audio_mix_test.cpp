#include "platform/audio/audio_mix.h"

#include "platform/realtime_guard.h"
#include "support/sound.h"
#include "support/test_folder.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <mutex>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::markedSample;
using testing::RealtimeGuard;
using testing::TestFolder;
using testing::writeSound;

constexpr int kBlock = 1024;

std::shared_ptr<AudioStream> streamOf(const QString& path, qint64 start = 0) {
    return std::make_shared<AudioStream>(std::make_shared<AudioFile>(path), OutputFormat{48000, 1}, start);
}

void fill(AudioStream& stream) {
    while (stream.wantsData()) stream.decodeSome();
}

std::vector<float> rendered(AudioMix& mix, int frames = kBlock) {
    std::vector<float> block(static_cast<std::size_t>(frames), 9.0F);
    mix.render(block.data(), frames);
    return block;
}

bool isSilent(const std::vector<float>& block) {
    return std::ranges::all_of(block, [](float sample) { return sample == 0.0F; });
}

TEST(AudioMix, AStalledDiskGivesSilenceAndNothingIsLostOrOutOfStep) {
    const TestFolder folder;
    const auto quiet = [](int, qint64) { return 0.0F; };
    const auto fast = streamOf(writeSound(folder.path(QStringLiteral("a.wav")), 1, 100'000));
    const auto slow = streamOf(writeSound(folder.path(QStringLiteral("b.wav")), 1, 100'000, quiet));
    AudioMix mix(1);
    mix.publish({{fast, 1.0F, true}, {slow, 1.0F, true}});
    fill(*fast);
    EXPECT_TRUE(isSilent(rendered(mix))) << "the other has nothing decoded yet";
    EXPECT_EQ(fast->consumed, 0);
    fill(*slow);
    std::vector<float> heard;
    while (heard.size() < 60'000) {
        fill(*fast); // the slow one is not decoded on: it runs dry
        const std::vector<float> block = rendered(mix);
        if (isSilent(block)) {
            EXPECT_TRUE(isSilent(rendered(mix)));
            EXPECT_EQ(fast->consumed, slow->consumed);
            fill(*slow);
        } else {
            heard.insert(heard.end(), block.begin(), block.end());
        }
    }
    for (std::size_t frame = 0; frame < heard.size(); ++frame) {
        ASSERT_EQ(heard[frame], markedSample(0, static_cast<qint64>(frame)));
    }
}

TEST(AudioMix, ANewcomerThatIsNotReadyDoesNotHoldWhatPlays) {
    const TestFolder folder;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 50'000);
    const auto playing = streamOf(path);
    const auto newcomer = streamOf(path);
    AudioMix mix(1);
    fill(*playing);
    mix.publish({{playing, 1.0F, true}});
    EXPECT_FALSE(isSilent(rendered(mix)));
    mix.publish({{playing, 1.0F, true}, {newcomer, 1.0F, true}});
    EXPECT_FALSE(isSilent(rendered(mix)));
    EXPECT_EQ(newcomer->consumed, 0);
    fill(*newcomer);
    EXPECT_FALSE(isSilent(rendered(mix)));
    EXPECT_EQ(newcomer->consumed, kBlock);
}

TEST(AudioMix, AStartOnTheClockFallsOnThatFrame) {
    const TestFolder folder;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 50'000);
    const auto leading = streamOf(path);
    const auto joining = streamOf(path, 1500);
    AudioMix mix(1);
    fill(*leading);
    fill(*joining);
    mix.publish({{leading, 1.0F, true}, {joining, -1.0F, true, 1500}});
    rendered(mix);
    EXPECT_EQ(joining->consumed, 0);
    const std::vector<float> block = rendered(mix);
    EXPECT_EQ(block[475], markedSample(0, 1024 + 475));
    EXPECT_EQ(block[476], 0.0F) << "one cancels the other from frame 1500 on";
    EXPECT_EQ(block[1000], 0.0F);
}

TEST(AudioMix, WhoeverSeesThatAStreamHasBegunKnowsWhere) {
    const TestFolder folder;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 200'000);
    const auto slow = streamOf(path);
    const auto newcomer = streamOf(path);
    AudioMix mix(1);
    mix.publish({{slow, 1.0F, true}});
    fill(*slow);
    while (!isSilent(rendered(mix))) {
    }
    fill(*newcomer);
    mix.publish({{slow, 1.0F, true}, {newcomer, 1.0F, true}});
    EXPECT_TRUE(isSilent(rendered(mix))) << "the slow one holds all";
    EXPECT_TRUE(newcomer->begun);
    EXPECT_GT(mix.clock(), 0);
    EXPECT_EQ(newcomer->anchor, mix.clock());
}

TEST(AudioMix, AStartThatTheClockHasPassedLeavesOutWhatItMissed) {
    const TestFolder folder;
    const QString path = writeSound(folder.path(QStringLiteral("a.wav")), 1, 200'000);
    const auto leading = streamOf(path);
    const auto joining = streamOf(path, 1500);
    AudioMix mix(1);
    mix.publish({{leading, 1.0F, true}});
    while (mix.clock() < 100 * kBlock) {
        fill(*leading);
        rendered(mix);
    }
    mix.publish({{leading, 1.0F, true}, {joining, -1.0F, true, 1500}});
    int together = 0; // blocks in which one cancels the other
    for (int block = 0; block < 20; ++block) {
        fill(*leading);
        fill(*joining); // a ring of it at a time
        together += isSilent(rendered(mix)) ? 1 : 0;
    }
    EXPECT_GE(together, 10);
    EXPECT_EQ(mix.clock(), 120 * kBlock) << "what plays is not held";
    EXPECT_EQ(joining->consumed + 1500, leading->consumed);
}

TEST(AudioMix, ASnapshotThatWasNeverTakenUpIsFreed) {
    const TestFolder folder;
    const auto stream = streamOf(writeSound(folder.path(QStringLiteral("a.wav")), 1, 100));
    AudioMix mix(1);
    for (int round = 0; round < 3; ++round) mix.publish({{stream, 1.0F, false}});
    EXPECT_EQ(stream.use_count(), 2);
    rendered(mix);
    mix.publish({});
    rendered(mix);
    EXPECT_EQ(stream.use_count(), 2) << "handed back, and freed by the main thread only";
    mix.freeRetired();
    EXPECT_EQ(stream.use_count(), 1);
}

TEST(AudioMix, TheCallbackNeitherLocksNorAllocatesNorTouchesFiles) {
    const TestFolder folder;
    std::vector<MixEntry> entries;
    for (int file = 0; file < 4; ++file) {
        const int rate = file % 2 ? 44100 : 48000; // with and without conversion
        const QString path = folder.path(QStringLiteral("%1.wav").arg(file));
        entries.push_back({streamOf(writeSound(path, 2, 40'000, markedSample, rate)), 1.0F, true});
        fill(*entries.back().stream);
    }
    AudioMix mix(1);
    std::vector<float> block(kBlock);
    for (int round = 0; round < 50; ++round) {
        for (MixEntry& entry : entries) entry.gain = static_cast<float>(round % 3) / 2;
        if (round % 3 == 0) mix.publish(entries);
        const RealtimeGuard guard;
        mix.render(block.data(), kBlock);
        EXPECT_EQ(guard.violations(), 0) << "round " << round;
    }
    EXPECT_GT(entries.front().stream->consumed, 0);
}

TEST(RealtimeGuard, SeesLocksMemoryAndFiles) {
    const RealtimeGuard guard;
    std::mutex mutex;
    mutex.lock();
    mutex.unlock();
    EXPECT_EQ(guard.violations(), 1);
    auto memory = std::make_unique<std::vector<int>>(100);
    EXPECT_GT(guard.violations(), 1);
    const int before = guard.violations();
    ::close(::open("/dev/null", O_RDONLY));
    EXPECT_GT(guard.violations(), before);
}

} // namespace
} // namespace ostrel
