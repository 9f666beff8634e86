#include "platform/processes/stop_signals.h"

#include "platform/processes/in_flight.h"
#include "support/test_folder.h"

#include <QCoreApplication>
#include <QFile>
#include <csignal>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ostrel {
namespace {

using testing::TestFolder;
using testing::waitUntil;

struct sigaction actionOf(int number) {
    struct sigaction action {};
    ::sigaction(number, nullptr, &action);
    return action;
}

void wait(int milliseconds) { ::usleep(static_cast<useconds_t>(milliseconds) * 1000); }

// A child in a group of its own that ends by a kill alone.
pid_t startChild() {
    const pid_t child = ::fork();
    if (child == 0) {
        ::setpgid(0, 0);
        for (;;) ::pause();
    }
    ::setpgid(child, child);
    return child;
}

// The status that a process ends with in which `work` runs and must not come back.
template <class Work>
int statusOf(Work work) {
    const pid_t child = ::fork();
    if (child == 0) {
        work();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}

class EveryStopSignal : public ::testing::TestWithParam<int> {
    // Tests that are themselves run under nohup have one of them ignored.
    void SetUp() override { before_ = ::signal(GetParam(), SIG_DFL); }
    void TearDown() override { ::signal(GetParam(), before_); }
    sighandler_t before_ = SIG_DFL;
};

TEST_P(EveryStopSignal, TheFirstAsksFromTheEventLoop) {
    int asked = 0;
    const StopSignals signals([&] { ++asked; });
    EXPECT_FALSE(signals.happened());
    EXPECT_EQ(signals.exitStatus(), 0);
    ::raise(GetParam());
    EXPECT_TRUE(signals.happened()); // ahead of the event loop
    EXPECT_EQ(signals.exitStatus(), 128 + GetParam());
    EXPECT_EQ(asked, 0);
    EXPECT_TRUE(waitUntil([&] { return asked > 0; }));
    QCoreApplication::processEvents();
    EXPECT_EQ(asked, 1);
}

TEST_P(EveryStopSignal, TheSecondEndsAtOnceAndLeavesNothing) {
    const TestFolder folder;
    const QString file = folder.write(QStringLiteral(".ostrel-unfinished.wav"), "x");
    const pid_t child = startChild();
    EXPECT_EQ(statusOf([&] {
                  const StopSignals signals([] {});
                  const inFlight::Child running(child);
                  const inFlight::UnfinishedFile unfinished(QFile::encodeName(file));
                  ::raise(SIGTERM);
                  wait(100);
                  ::raise(GetParam());
              }),
              128 + GetParam());
    EXPECT_FALSE(QFile::exists(file));
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
}

TEST_P(EveryStopSignal, TheFirstEndsAtOnceWhereNobodyIsAsked) {
    const pid_t child = startChild();
    EXPECT_EQ(statusOf([&] {
                  const StopSignals signals;
                  const inFlight::Child running(child);
                  ::raise(GetParam());
              }),
              128 + GetParam());
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status));
}

TEST_P(EveryStopSignal, DoesAsBeforeWhenTheSignalsAreNoLongerWatched) {
    {
        const StopSignals signals([] {});
        EXPECT_NE(actionOf(GetParam()).sa_handler, SIG_DFL);
        EXPECT_TRUE(actionOf(GetParam()).sa_flags & SA_RESTART);
        ::raise(GetParam());
    }
    EXPECT_EQ(actionOf(GetParam()).sa_handler, SIG_DFL);
    const StopSignals again([] {});
    EXPECT_FALSE(again.happened());
}

INSTANTIATE_TEST_SUITE_P(StopSignals, EveryStopSignal, ::testing::Values(SIGINT, SIGTERM, SIGHUP),
                         [](const auto& each) { return std::string("SIG") + ::sigabbrev_np(each.param); });

// timeout(1) signals its child and then the group that the child is in.
TEST(StopSignals, OneRequestMayArriveTwice) {
    const auto twice = [] {
        const StopSignals signals([] {});
        ::raise(SIGTERM);
        ::raise(SIGTERM);
        ::_exit(7);
    };
    // Between the two a busy machine may let so long a time pass that they are two.
    int status = 0;
    for (int attempt = 0; attempt < 20 && status != 7; ++attempt) status = statusOf(twice);
    EXPECT_EQ(status, 7);
}

TEST(StopSignals, AHangUpThatWasIgnoredStaysIgnored) {
    EXPECT_EQ(statusOf([] {
                  ::signal(SIGHUP, SIG_IGN);
                  ::signal(SIGINT, SIG_IGN);
                  const StopSignals signals([] {});
                  ::raise(SIGHUP);
                  if (signals.happened()) ::_exit(1);
                  ::raise(SIGINT);
                  if (!signals.happened()) ::_exit(2);
                  ::_exit(7);
              }),
              7);
}

} // namespace
} // namespace ostrel
