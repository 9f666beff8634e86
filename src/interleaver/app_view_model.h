// The controller of the Interleaver tab: selection, scan, processing, options and log.
//
// Lives on the main thread as long as the window (or the command). One run has two phases, scan and process, each a
// background task that `stopProcessing` ends before its next item. Views show the fields and call the actions.
#pragma once

#include "foundation/logs/activity_log.h"
#include "foundation/records/app_mode.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/multi_channel_source.h"
#include "foundation/records/record_list.h"
#include "foundation/task_set.h"
#include "foundation/tools/external_tool_detector.h"
#include "interleaver/interleaver_run.h"
#include "interleaver/interleaver_scan.h"
#include "platform/background.h"
#include "platform/desktop_services.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QProperty>
#include <QString>
#include <QStringList>
#include <array>
#include <memory>
#include <optional>

namespace ostrel {

class AudioOutput;
class PlaybackManager;

class AppViewModel : public QObject {
    Q_OBJECT

public:
    // A detector of its own unless one is given, which others may share; `desktop` and `audio` outlive the controller.
    AppViewModel(DesktopServices& desktop, AudioOutput& audio,
                 std::shared_ptr<ExternalToolDetector> detector = nullptr);
    ~AppViewModel() override;

    QProperty<AppMode> currentMode{AppMode::interleave};
    QProperty<ChannelLayout> selectedLayout{ChannelLayout::stereo};
    QProperty<QString> sourceURL;
    QProperty<QString> sourcePath;
    QProperty<QStringList> selectedFiles;
    QProperty<QString> outputURL;
    QProperty<QString> outputPath;
    QProperty<bool> useCustomOutput{false};
    QProperty<bool> generateCSV{false};
    RecordList<InterleaveGroup> interleaveGroups;
    RecordList<MultiChannelSource> deinterleaveSources;
    QProperty<ProcessingOptions> options;
    QProperty<EngineChoice> engine{EngineChoice::ffmpeg}; // of scans and runs
    QProperty<bool> proves{false}; // a run reads its outputs back and compares them, channel by channel
    QProperty<bool> showOptions{true};
    QProperty<bool> showLog{false}; // inert: the views keep that themselves
    QProperty<bool> isScanning{false};
    QProperty<bool> isProcessing{false};
    QProperty<bool> isCancelled{false};
    QProperty<bool> isAuditioning{false};
    QProperty<double> progress{0};      // 0 to 1
    QProperty<double> scanProgress{-1}; // of the files that a scan found, how many were read; below 0: it still looks
    QProperty<QString> currentItemName;
    QProperty<QString> statusMessage;
    ActivityLog logEntries{ActivityLog::Telling{.level = LogLevel::info, .showsFolder = false}};
    QProperty<Appearance> appearance{Appearance::system}; // kept in the user's settings
    QProperty<bool> showDeleteConfirmation{false};
    QProperty<AppMode> deleteConfirmationMode{AppMode::interleave};

    ExternalToolDetector& toolDetector() { return *toolDetector_; }
    const ExternalToolDetector& toolDetector() const { return *toolDetector_; }

    DesktopServices& desktop() { return desktop_; }
    PlaybackManager& playbackManager() { return *playbackManager_; }

    // Where the last report went; empty before there is one.
    QString reportPath() const { return reportPath_; }

    bool canScan() const;
    // ffmpeg is there, or the direct engine was chosen, which needs none for plain WAV files.
    bool hasEngine() const;
    bool canRun() const;
    bool hasProcessableItems() const;
    int totalCount() const;
    int readyCount() const; // exactly `ready`: an L/R pair that is ready is not counted, deliberately
    int errorCount() const;
    int skippedCount() const;
    int completedCount() const; // exactly `completed`, deliberately
    int successCount() const;   // every item whose audio output stands

    void selectSource();
    // What the panel, a drop or the command line chose; the first decides the source folder.
    void select(const QStringList& chosen);
    void selectOutputFolder();
    void setOutputFolder(const QString& folder);
    void triggerAutoDetectLayout();
    void clearResults();
    void scan();
    // Writes into each item what a run would refuse it for: two items with one output, an output that is a source.
    void foreseeCollisions();
    void startProcessing();
    // Runs the failed ones among these rows of the current mode's list, and nothing else.
    void retry(const QList<int>& rows);
    void stopProcessing();
    void confirmDelete();
    // Told when the window opens: steps of the journal that an earlier run began and did not end.
    void tellUnfinishedSteps();
    void recheckTools();
    QString exportLogs() const;
    void saveLogToFile();
    void copyLogToClipboard();
    void toggleAllInterleave(bool include);
    void toggleAllDeinterleave(bool include);
    void applyAppearance();

    // Whether a scan, a job or a layout detection has not really ended. After a stop that is longer than `isScanning`
    // and `isProcessing` tell, since a running child process finishes by itself.
    bool hasRunningTask() const { return tasks_.isAnyRunning(); }

Q_SIGNALS:
    void taskEnded();

private:
    bool canProbe() const;
    template <class Predicate>
    int count(Predicate matches) const; // of the mode's list
    void log(LogLevel level, LogCategory category, const QString& message, const QString& baseName = QString());

    QCoro::Task<> detectLayout();
    QCoro::Task<> runScan(TaskHandle handle);
    InterleaverScan::Request scanRequest() const;
    InterleaverScan::Hooks scanHooks();
    void setDefaultOutputs(std::vector<InterleaveGroup>& groups) const;

    std::shared_ptr<InterleaverRun> makeRun() const; // as things stand now
    void start(const std::shared_ptr<InterleaverRun>& run);
    QCoro::Task<> runProcessing(std::shared_ptr<InterleaverRun> run);
    template <class Records>
    InterleaverRun::Hooks runHooks(Records& records, const std::shared_ptr<InterleaverRun>& run);
    void writeReport(const InterleaverRun& run);

    DesktopServices& desktop_;
    std::shared_ptr<ExternalToolDetector> toolDetector_;
    std::unique_ptr<PlaybackManager> playbackManager_; // told when to stop; nothing here depends on it
    const QString sessionID_;
    enum class Task { scan, run };
    TaskSet<Task> tasks_{[this] { Q_EMIT taskEnded(); }};
    QString reportPath_;
    QPropertyNotifier appearanceNotifier_;
    std::array<QPropertyNotifier, 3> outputNotifiers_; // of all that decides where outputs go
};

} // namespace ostrel
