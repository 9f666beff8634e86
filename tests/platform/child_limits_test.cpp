// Children that misbehave: they print without end, stand still, or leave something behind on their outputs.
#include "platform/processes/child_process.h"
#include "platform/processes/in_flight.h"

#include "support/test_folder.h"

#include <csignal>
#include <gtest/gtest.h>
#include <thread>

namespace ostrel {
namespace {

using namespace std::chrono_literals;
using testing::TestFolder;
using testing::waitUntil;

// Empty while there is no such file.
QByteArray contents(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Gone, or waiting for nothing but its parent's look.
bool hasEnded(const QByteArray& pid) {
    const QByteArray stat = contents(QStringLiteral("/proc/%1/stat").arg(QString::fromLatin1(pid)));
    return stat.isEmpty() || stat.mid(stat.lastIndexOf(')') + 2).startsWith('Z');
}

class ChildLimitsTest : public ::testing::Test {
protected:
    ProcessResult run(const char* body, const ChildLimits& limits = {}) {
        return ChildProcess::runForResult(script(body), {folder_.path()}, limits);
    }
    QString script(const char* body) const {
        return folder_.writeScript(QStringLiteral("tool"), QStringLiteral("cd \"$1\"\n") + QString::fromUtf8(body));
    }
    // The number that the script wrote into the file "left".
    QByteArray leftBehind() const { return contents(folder_.path(QStringLiteral("left"))).trimmed(); }

    TestFolder folder_;
};

ChildLimits atMost(std::chrono::milliseconds time) { return {.total = time, .standStill = std::nullopt}; }
ChildLimits notStillFor(std::chrono::milliseconds time) {
    return {.total = std::nullopt, .standStill = StandStill{.files = {}, .limit = time}};
}

TEST_F(ChildLimitsTest, OneThatPrintsWithoutEndIsEndedWithItsGroup) {
    const ProcessResult result = run("yes >&2 & echo $! > left; yes");
    EXPECT_EQ(result.ended, ChildEnd::outputTooLong);
    EXPECT_FALSE(result.succeeded());
    EXPECT_TRUE(result.crashed);
    EXPECT_EQ(result.exitStatus, 128 + SIGKILL);
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.why, QStringLiteral("ended because it printed more than 64 MiB"));
    EXPECT_EQ(result.errorText(), result.why);
    const QByteArray other = leftBehind();
    ASSERT_FALSE(other.isEmpty());
    EXPECT_TRUE(waitUntil([&] { return hasEnded(other); }));
}

TEST_F(ChildLimitsTest, AsMuchAsIsAllowedArrivesWhole) {
    const ProcessResult result = run("head -c 67108864 /dev/zero");
    EXPECT_TRUE(result.succeeded());
    EXPECT_EQ(result.standardOutput.size(), 64 << 20);
}

TEST_F(ChildLimitsTest, AfterItsTimeItIsEnded) {
    const ProcessResult result = run("printf half; sleep 1000", atMost(300ms));
    EXPECT_EQ(result.ended, ChildEnd::timeLimit);
    EXPECT_FALSE(result.succeeded());
    EXPECT_EQ(result.standardOutput, "");
    EXPECT_EQ(result.errorText(), QStringLiteral("ended because it ran longer than 0.3 s"));
}

TEST_F(ChildLimitsTest, TheTimeLimitHoldsWhereNothingIsCapturedToo) {
    const QString tool = script("exec sleep 1000");
    EXPECT_EQ(
        ChildProcess::runSilently(tool, {folder_.path()}, atMost(200ms), ChildProcess::StandardError::dropped).ended,
        ChildEnd::timeLimit);
    EXPECT_EQ(ChildProcess::runInherited(tool, {folder_.path()}, atMost(200ms)).ended, ChildEnd::timeLimit);
}

TEST_F(ChildLimitsTest, TheTimeLimitHoldsForOneThatClosedItsOutputs) {
    EXPECT_EQ(run("exec >&- 2>&-; exec sleep 1000", atMost(200ms)).ended, ChildEnd::timeLimit);
}

TEST_F(ChildLimitsTest, WithinItsTimeNothingHappensToIt) {
    const ProcessResult result = run("printf out; exit 3", {.total = 10min, .standStill = StandStill()});
    EXPECT_EQ(result.ended, ChildEnd::byItself);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.standardOutput, "out");
    EXPECT_EQ(result.why, QString());
}

TEST_F(ChildLimitsTest, OneThatSleepsStandsStill) {
    const ProcessResult result = run("sleep 1000", notStillFor(400ms));
    EXPECT_EQ(result.ended, ChildEnd::stoodStill);
    EXPECT_FALSE(result.succeeded());
    EXPECT_EQ(result.errorText(),
              QStringLiteral("ended because it used no processor time and wrote nothing for 0.4 s"));
}

TEST_F(ChildLimitsTest, OneThatWaitsForItsOwnChildToWorkDoesNot) {
    // The first process does nothing at all, its child works for three times the limit.
    const ProcessResult result = run("end=$(($(date +%s) + 4)); sh -c 'while [ $(date +%s) -lt '$end' ]; do :; done'; "
                                     "printf done",
                                     notStillFor(1s));
    EXPECT_EQ(result.ended, ChildEnd::byItself);
    EXPECT_EQ(result.standardOutput, "done");
}

TEST_F(ChildLimitsTest, WhatHoldsTheOutputsAfterItsEndIsEnded) {
    const ProcessResult result = run("sleep 1000 & echo $! > left; printf out; printf err >&2; exit 3");
    EXPECT_EQ(result.ended, ChildEnd::byItself);
    EXPECT_FALSE(result.crashed);
    EXPECT_EQ(result.exitStatus, 3);
    EXPECT_EQ(result.standardOutput, "out");
    EXPECT_EQ(result.standardError, "err");
    const QByteArray left = leftBehind();
    ASSERT_FALSE(left.isEmpty());
    EXPECT_TRUE(waitUntil([&] { return hasEnded(left); }));
}

TEST_F(ChildLimitsTest, WhatLeftTheGroupAndHoldsTheOutputsIsNotWaitedFor) {
    const ProcessResult result =
        run("setsid sh -c 'echo $$ > left; exec sleep 1000' & while [ ! -s left ]; do :; done");
    EXPECT_TRUE(result.succeeded());
    const QByteArray pid = leftBehind();
    EXPECT_FALSE(hasEnded(pid));
    ::kill(pid.toInt(), SIGKILL);
}

TEST_F(ChildLimitsTest, ASignalThatEndsUsEndsTheRunningChildToo) {
    // Many times, since it may come while the child is just coming up.
    const QString tool = script("sleep 1000 & echo $! > left; wait");
    for (int i = 0; i < 30; ++i) {
        QFile::remove(folder_.path(QStringLiteral("left")));
        ProcessResult result;
        std::jthread other([&] { result = ChildProcess::runForResult(tool, {folder_.path()}); });
        while (leftBehind().isEmpty()) std::this_thread::yield();
        inFlight::endAtOnce();
        other.join();
        EXPECT_EQ(result.exitStatus, 128 + SIGKILL);
        const QByteArray left = leftBehind();
        EXPECT_TRUE(waitUntil([&] { return hasEnded(left); }));
    }
}

TEST_F(ChildLimitsTest, TheExitStatusIsKnownWhereSomebodyHadSigchldIgnored) {
    const auto old = std::signal(SIGCHLD, SIG_IGN);
    const ProcessResult result = run("exit 7");
    std::signal(SIGCHLD, old);
    EXPECT_EQ(result.exitStatus, 7);
}

} // namespace
} // namespace ostrel
