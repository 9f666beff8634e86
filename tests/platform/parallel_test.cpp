#include "platform/parallel.h"

#include "support/test_folder.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

TEST(ForEachInParallel, EveryItemRunsOnce) {
    for (const std::size_t count : {0u, 1u, 2u, 1000u}) {
        std::vector<std::atomic<int>> runs(count);
        forEachInParallel(count, [&](std::size_t i) { ++runs[i]; });
        EXPECT_TRUE(std::all_of(runs.begin(), runs.end(), [](const auto& times) { return times == 1; }));
    }
}

TEST(ForEachInParallel, NoMoreThanTheWidthRunTogether) {
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    const auto work = [&](std::size_t) {
        const int now = ++running;
        for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);) {
        }
        std::this_thread::yield();
        --running;
    };
    forEachInParallel(500, work, 3);
    EXPECT_LE(most, 3);
    most = 0;
    forEachInParallel(50, work, 1);
    EXPECT_EQ(most, 1);
}

TEST(ForEachInParallel, TheFirstExceptionKeepsTheRestFromBeginning) {
    std::atomic<int> begun = 0;
    const auto work = [&](std::size_t i) {
        ++begun;
        if (i == 3) throw QStringLiteral("item 3");
    };
    try {
        forEachInParallel(100'000, work, 2);
        FAIL();
    } catch (const QString& error) {
        EXPECT_EQ(error, QStringLiteral("item 3"));
    }
    EXPECT_GE(begun, 4);
    EXPECT_LT(begun, 100'000);
}

} // namespace
} // namespace ostrel
