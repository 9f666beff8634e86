// Blocking work off the main thread, awaited by coroutines of the main thread.
//
//     QCoro::Task<> MyController::run() {
//         const auto work = [engine, group] { return engine.interleave(group); };
//         const auto result = co_await inBackground(this, work);   // this thread goes on with its events meanwhile
//
// The callable runs on `backgroundPool()`; its result comes back on the main thread, its exception too, of whatever
// type. If `context` was destroyed meanwhile, the coroutine is unwound by ControllerGone instead of resumed into a dead
// object: so catch typed errors in a coroutine, never everything, and let no local's destructor touch the controller.
// Name the callable before the await: gcc 12 copies temporaries of an await expression carelessly.
#pragma once

#include <QCoreApplication>
#include <QCoro/QCoroTask>
#include <QPointer>
#include <QThreadPool>
#include <atomic>
#include <coroutine>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <variant>

namespace ostrel {

// The threads that all blocking work runs on, at least four. Never Qt's global pool: the painter waits for that one, so
// a job on each of its threads would freeze the window. The application's end waits for what still runs here.
QThreadPool& backgroundPool();

struct ControllerGone {};

// Runs `function` on the main thread, soon. Callable from any thread.
inline void postToMainThread(std::function<void()> function) {
    if (QCoreApplication* application = QCoreApplication::instance()) {
        QMetaObject::invokeMethod(application, std::move(function), Qt::QueuedConnection);
    }
}

// A hop to the main thread for callbacks of engines: made on the main thread, copied into the callback, called from
// anywhere. Nothing happens once the object that it was made for is gone. Hops keep their order, and those made by a
// background call arrive before its result.
class MainThreadHop {
public:
    explicit MainThreadHop(QObject* context) : context_(std::make_shared<QPointer<QObject>>(context)) {}
    void operator()(std::function<void()> function) const {
        postToMainThread([context = context_, function = std::move(function)] {
            if (*context) function();
        });
    }

private:
    std::shared_ptr<QPointer<QObject>> context_; // shared: hops are copied on any thread, the guard itself is not
};

// A running job, from the side that may stop it. Copies speak of the same job.
class TaskHandle {
public:
    void cancel() { cancelled_->store(true); }
    bool isCancelled() const { return cancelled_->load(); }

private:
    std::shared_ptr<std::atomic<bool>> cancelled_ = std::make_shared<std::atomic<bool>>(false);
};

template <class Work>
class BackgroundCall {
public:
    using Result = std::invoke_result_t<Work&>;

    BackgroundCall(QObject* context, Work work) : state_(std::make_shared<State>(context, std::move(work))) {}

    bool await_ready() const { return false; }

    void await_suspend(std::coroutine_handle<> coroutine) const {
        backgroundPool().start([state = state_, coroutine] {
            state->run();
            postToMainThread([coroutine] { coroutine.resume(); });
        });
    }

    Result await_resume() const {
        if (!state_->context) throw ControllerGone();
        if (state_->error) std::rethrow_exception(state_->error);
        if constexpr (!std::is_void_v<Result>) return std::move(*state_->result);
    }

private:
    struct State {
        State(QObject* object, Work callable) : context(object), work(std::move(callable)) {}

        void run() {
            try {
                if constexpr (std::is_void_v<Result>) {
                    work();
                } else {
                    result.emplace(work());
                }
            } catch (...) {
                error = std::current_exception(); // rethrown where the call is awaited
            }
        }

        QPointer<QObject> context;
        Work work;
        std::optional<std::conditional_t<std::is_void_v<Result>, std::monostate, Result>> result;
        std::exception_ptr error;
    };
    std::shared_ptr<State> state_;
};

template <class Work>
BackgroundCall<Work> inBackground(QObject* context, Work work) {
    return BackgroundCall<Work>(context, std::move(work));
}

} // namespace ostrel
