// What the controller's collaborators share besides its state: the tools, the log, and the tasks under way.
//
// Lives on the main thread.
#pragma once

#include "foundation/task_set.h"
#include "foundation/tools/external_tool_detector.h"
#include "metadata/metadata_manifest_extractor.h"
#include "metadata/universal_metadata_engine.h"
#include "platform/background.h"
#include "platform/desktop_services.h"
#include "polytools/services/engine_services.h"
#include "polytools/state/poly_tools_state.h"

#include <QCoro/QCoroTask>
#include <functional>
#include <memory>
#include <optional>

namespace ostrel {

// What work in the background gave, or the sentence that says why it gave nothing.
template <class Result>
struct Attempt {
    std::optional<Result> result;
    QString failure;
};

class PolyToolsServices {
public:
    // `owner` is the controller: background work is never resumed once it is gone. `onTaskEnded` tells it of every end.
    PolyToolsServices(QObject& owner, PolyToolsState& state, DesktopServices& desktop,
                      std::shared_ptr<ExternalToolDetector> detector, std::function<void()> onTaskEnded);

    QObject* owner() const { return &owner_; }
    DesktopServices& desktop() const { return desktop_; }
    ExternalToolDetector& toolDetector() const { return *detector_; }

    // Looks for the tools, publishes what was found and makes the metadata engines that they allow.
    void checkTools();
    // The same with what is known already.
    void takeTools();
    PolyEngineTools engineTools() const;
    // Null without bwfmetaedit.
    const MetadataManifestExtractor* manifestExtractor() const;

    void log(LogLevel level, LogCategory category, const QString& message);
    void info(LogCategory category, const QString& message) { log(LogLevel::info, category, message); }
    void success(LogCategory category, const QString& message) { log(LogLevel::success, category, message); }
    void warning(LogCategory category, const QString& message) { log(LogLevel::warning, category, message); }
    void error(LogCategory category, const QString& message) { log(LogLevel::error, category, message); }

    // Says so in the log where they are missing.
    bool requireFFmpeg();
    bool requireFFprobe();
    // A folder that a person chose; empty: none.
    QString chooseFolder(const QString& message);
    // Each file of a selection once; further names of a file are told in the log.
    QStringList eachOnce(const QStringList& selection);
    // Keeps the path of a CSV report that was written; empty: it was not.
    void noteReport(const QString& path);

    enum class Task {
        split,
        join,
        batchSplit,
        batchJoin,
        channelFilter,
        isoAnalysis,
        analysis,
        listing,
        grouping,
        preview
    };

    TaskHandle begin(Task task) { return tasks_.begin(task); }
    void cancel(Task task) { tasks_.cancel(task); }
    void cancelAll() { tasks_.cancelAll(); }
    void run(QCoro::Task<> task) { tasks_.run(std::move(task)); }
    bool hasRunningTask() const { return tasks_.isAnyRunning(); }

    // Runs blocking work; its exceptions come as a failure.
    template <class Work>
    QCoro::Task<Attempt<std::invoke_result_t<Work&>>> attempt(Work work) {
        Attempt<std::invoke_result_t<Work&>> attempt;
        try {
            attempt.result = co_await inBackground(&owner_, work);
        } catch (const std::exception& error) {
            attempt.failure = describe(error);
        }
        co_return attempt;
    }

    // For an engine on another thread to report its steps: `show` runs here, unless the job was stopped meanwhile.
    template <class Show>
    auto follow(const TaskHandle& handle, Show show) const {
        return [hop = hop(), handle, show](const auto&... step) {
            hop([handle, show, ... step = step] {
                if (!handle.isCancelled()) show(step...);
            });
        };
    }

    // For an engine on another thread: its log entries arrive here, and it stops when the handle says so.
    PolyEngineHooks hooks(const TaskHandle& handle) const;
    MainThreadHop hop() const { return MainThreadHop(&owner_); }

private:
    MetadataManifestExtractor::Logger manifestLogger() const;

    QObject& owner_;
    PolyToolsState& state_;
    DesktopServices& desktop_;
    std::shared_ptr<ExternalToolDetector> detector_;
    std::optional<MetadataManifestExtractor> manifestExtractor_;
    std::shared_ptr<const UniversalMetadataEngine> universalEngine_;
    // The direct engine's: they read what the tools would say.
    std::shared_ptr<SourceAnswers> ownAnswers_;
    std::shared_ptr<const UniversalMetadataEngine> ownEngine_;
    std::optional<MetadataManifestExtractor> ownExtractor_;
    std::shared_ptr<SourceAnswers> answers_; // from the selection on, through every job
    TaskSet<Task> tasks_;
};

} // namespace ostrel
