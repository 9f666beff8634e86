#include "platform/processes/stand_still.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::TestFolder;

// A watch over a child that the test plays, with a limit of 8 s: it looks every second.
class Watched : public ::testing::Test {
protected:
    bool after(std::chrono::milliseconds time) { return watch_.standsStill(now_ += time); }

    StandStillWatch::Clock::time_point now_{};
    ChildProgress progress_{7, {100}};
    int looks_ = 0;
    StandStillWatch watch_{8s, [this] { return ++looks_, progress_; }, now_};
};

TEST_F(Watched, StandsStillOnceNothingChangedForTheLimit) {
    for (int second = 1; second <= 8; ++second) EXPECT_FALSE(after(1s)) << second;
    EXPECT_TRUE(after(1s)); // the first look only learns what there is
    EXPECT_TRUE(after(1s));
}

TEST_F(Watched, ProcessorTimeOrGrowthBeginsItAnew) {
    for (int change = 0; change < 6; ++change) {
        for (int second = 1; second <= 8; ++second) EXPECT_FALSE(after(1s));
        change % 2 ? ++progress_.ticks : ++progress_.sizes[0];
    }
}

TEST_F(Watched, AFileThatComesUpIsGrowth) {
    for (int second = 1; second <= 8; ++second) after(1s);
    progress_.sizes[0] = -1;
    EXPECT_FALSE(after(1s));
    for (int second = 1; second <= 7; ++second) EXPECT_FALSE(after(1s));
    EXPECT_TRUE(after(1s));
}

TEST_F(Watched, LooksOnlyWhenItIsTime) {
    EXPECT_EQ(watch_.nextLook(), now_ + 1s);
    for (int i = 0; i < 9; ++i) after(100ms);
    EXPECT_EQ(looks_, 0);
    after(100ms);
    EXPECT_EQ(looks_, 1);
    EXPECT_EQ(watch_.nextLook(), now_ + 1s);
}

TEST_F(Watched, AMachineThatSleptSaysNothingOfTheChild) {
    after(1s);
    for (int night = 0; night < 7; ++night) EXPECT_FALSE(after(10h));
}

TEST(ChildProgress, TellsTheSizesOfFiles) {
    const TestFolder folder;
    const QString file = folder.write(QStringLiteral("a b é"), "1234");
    EXPECT_EQ(progressOf(::getpgrp(), {file, folder.path(QStringLiteral("none"))}).sizes, (std::vector<qint64>{4, -1}));
    folder.write(QStringLiteral("a b é"), "12345");
    EXPECT_EQ(progressOf(::getpgrp(), {file}).sizes, std::vector<qint64>{5});
}

TEST(ChildProgress, TellsTheProcessorTimeOfAGroup) {
    const quint64 before = progressOf(::getpgrp(), {}).ticks;
    EXPECT_TRUE(testing::waitUntil([&] { return progressOf(::getpgrp(), {}).ticks > before + 2; }));
    // No group has this number: it is above what the kernel gives out.
    EXPECT_EQ(progressOf(std::numeric_limits<pid_t>::max(), {}).ticks, 0u);
}

} // namespace
} // namespace ostrel
