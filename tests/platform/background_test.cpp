#include "platform/background.h"

#include "support/blocked_workers.h"

#include <QSemaphore>
#include <QThread>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using testing::waitUntil;

struct Foreign { // an exception of nobody's family
    int value;
};

// The coroutines take all they use as parameters: a lambda's captures would be gone at the first wait.
template <class Result>
QCoro::Task<> awaitResult(QObject* context, std::function<Result()> work, std::optional<Result>* result) {
    *result = co_await inBackground(context, work);
}

QCoro::Task<> awaitForeign(QObject* context, int* caught) {
    const auto work = [] { throw Foreign{42}; };
    try {
        co_await inBackground(context, work);
    } catch (const Foreign& error) {
        *caught = error.value;
    }
}

struct Traces {
    QSemaphore gate;
    std::atomic<bool> workEnded = false;
    bool resumed = false;
    bool unwound = false;
};

struct Unwinding {
    bool& flag;
    ~Unwinding() { flag = true; }
};

QCoro::Task<> awaitGate(QObject* context, Traces* traces) {
    const Unwinding unwinding{traces->unwound};
    const auto work = [traces] {
        traces->gate.acquire();
        traces->workEnded = true;
    };
    co_await inBackground(context, work);
    traces->resumed = true;
}

// A caller above, as a job has: it must not be resumed either.
QCoro::Task<> awaitNested(QObject* context, Traces* inner, Traces* outer) {
    const Unwinding unwinding{outer->unwound};
    co_await awaitGate(context, inner);
    outer->resumed = true;
}

QCoro::Task<> awaitHops(QObject* context, MainThreadHop hop, std::vector<int>* seen) {
    const auto work = [hop, seen] {
        for (int i = 0; i < 100; ++i) hop([seen, i] { seen->push_back(i); });
    };
    co_await inBackground(context, work);
    seen->push_back(-1);
}

TEST(InBackground, RunsElsewhereAndComesBackToTheMainThread) {
    QObject context;
    std::optional<QThread*> worker;
    bool here = true;
    const auto task = awaitResult<QThread*>(
        &context, [] { return QThread::currentThread(); }, &worker);
    here = worker.has_value();
    EXPECT_FALSE(here); // the caller went on meanwhile
    ASSERT_TRUE(waitUntil([&] { return worker.has_value(); }));
    EXPECT_NE(*worker, QThread::currentThread());
}

// The painter waits for Qt's own pool: with a job on each of its threads no window would be drawn.
TEST(InBackground, LeavesTheGlobalPoolAlone) {
    const testing::BlockedWorkers workers;
    EXPECT_EQ(QThreadPool::globalInstance()->activeThreadCount(), 0);
    std::atomic<bool> painted = false;
    QThreadPool::globalInstance()->start([&] { painted = true; });
    EXPECT_TRUE(QThreadPool::globalInstance()->waitForDone(60'000));
    EXPECT_TRUE(painted);
}

TEST(InBackground, AJobAScanADetectionAndAPreviewRunSideBySide) {
    EXPECT_GE(backgroundPool().maxThreadCount(), 4);
    EXPECT_GE(backgroundPool().maxThreadCount(), QThread::idealThreadCount());
}

TEST(InBackground, GivesResultsThatCanOnlyBeMoved) {
    QObject context;
    std::optional<std::unique_ptr<QString>> result;
    awaitResult<std::unique_ptr<QString>>(
        &context, [] { return std::make_unique<QString>(QStringLiteral("done")); }, &result);
    ASSERT_TRUE(waitUntil([&] { return result.has_value(); }));
    EXPECT_EQ(**result, QStringLiteral("done"));
}

TEST(InBackground, AnExceptionOfAnyTypeArrivesWhereItIsAwaited) {
    QObject context;
    int caught = 0;
    awaitForeign(&context, &caught);
    ASSERT_TRUE(waitUntil([&] { return caught != 0; }));
    EXPECT_EQ(caught, 42);
}

TEST(InBackground, WorkWithoutAResultIsAwaitedToItsEnd) {
    QObject context;
    Traces traces;
    awaitGate(&context, &traces);
    QCoreApplication::processEvents();
    EXPECT_FALSE(traces.resumed);
    traces.gate.release();
    ASSERT_TRUE(waitUntil([&] { return traces.resumed; }));
    EXPECT_TRUE(traces.workEnded);
    EXPECT_TRUE(traces.unwound); // its frame ended the ordinary way
}

TEST(InBackground, AControllerDestroyedMeanwhileIsNeverResumedInto) {
    Traces inner;
    Traces outer;
    {
        QObject controller;
        awaitNested(&controller, &inner, &outer);
    }
    EXPECT_FALSE(inner.workEnded);
    inner.gate.release();
    ASSERT_TRUE(waitUntil([&] { return inner.unwound && outer.unwound; }));
    EXPECT_TRUE(inner.workEnded);
    EXPECT_FALSE(inner.resumed);
    EXPECT_FALSE(outer.resumed);
}

TEST(InBackground, ManyCallsAtOnceAllComeBack) {
    QObject context;
    std::vector<std::optional<int>> results(200);
    for (std::size_t i = 0; i < results.size(); ++i)
        awaitResult<int>(
            &context, [i] { return static_cast<int>(i) * 3; }, &results[i]);
    ASSERT_TRUE(
        waitUntil([&] { return std::all_of(results.begin(), results.end(), [](auto& r) { return r.has_value(); }); }));
    for (std::size_t i = 0; i < results.size(); ++i) EXPECT_EQ(results[i], static_cast<int>(i) * 3);
}

TEST(MainThreadHop, HopsKeepTheirOrderAndArriveBeforeTheResult) {
    QObject context;
    std::vector<int> seen;
    awaitHops(&context, MainThreadHop(&context), &seen);
    ASSERT_TRUE(waitUntil([&] { return !seen.empty() && seen.back() == -1; }));
    ASSERT_EQ(seen.size(), 101u);
    for (int i = 0; i < 100; ++i) EXPECT_EQ(seen[static_cast<std::size_t>(i)], i);
}

TEST(MainThreadHop, NothingHappensOnceTheObjectIsGone) {
    auto context = std::make_unique<QObject>();
    const MainThreadHop hop(context.get());
    bool called = false;
    bool later = false;
    hop([&] { called = true; });
    context.reset();
    hop([&] { called = true; });
    postToMainThread([&] { later = true; });
    ASSERT_TRUE(waitUntil([&] { return later; }));
    EXPECT_FALSE(called);
}

TEST(MainThreadHop, NeverCallsOnTheSpot) {
    QObject context;
    bool called = false;
    const MainThreadHop hop(&context);
    hop([&] { called = true; });
    EXPECT_FALSE(called);
    EXPECT_TRUE(waitUntil([&] { return called; }));
}

TEST(TaskHandle, CopiesSpeakOfTheSameJob) {
    TaskHandle handle;
    const TaskHandle copy = handle;
    const TaskHandle other;
    EXPECT_FALSE(copy.isCancelled());
    handle.cancel();
    EXPECT_TRUE(copy.isCancelled());
    EXPECT_FALSE(other.isCancelled());
}

} // namespace
} // namespace ostrel
