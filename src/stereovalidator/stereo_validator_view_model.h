// The controller of the Stereo Validator tab: selection, thresholds, analysis, Clean & Export, log.
//
// Lives on the main thread as long as the window (or the command). An analysis is a background task; Clean & Export is
// a loop on the main thread, deliberately. Views show the fields and call the actions.
#pragma once

#include "foundation/logs/activity_log.h"
#include "foundation/records/record_list.h"
#include "foundation/tools/external_tool_detector.h"
#include "platform/background.h"
#include "platform/desktop_services.h"
#include "preview/playback_manager.h"
#include "stereovalidator/analysis_result.h"
#include "stereovalidator/clean_run.h"
#include "stereovalidator/recording_search.h"
#include "stereovalidator/stereo_validator_options.h"

#include <QCoro/QCoroTask>
#include <QHash>
#include <QObject>
#include <QProperty>
#include <QStringList>
#include <QUuid>
#include <memory>
#include <optional>
#include <vector>

namespace ostrel {

class StereoValidatorViewModel : public QObject {
    Q_OBJECT

public:
    // A detector of its own unless one is given, which others may share; `desktop` and `audio` outlive the controller.
    StereoValidatorViewModel(DesktopServices& desktop, AudioOutput& audio,
                             std::shared_ptr<ExternalToolDetector> detector = nullptr);
    ~StereoValidatorViewModel() override;

    // Selection: files (and folders among them), if there is such a list, otherwise the folder. An empty list counts as
    // a selection.
    QProperty<QString> sourceFolder;
    QProperty<std::optional<QStringList>> selectedFiles;
    QProperty<bool> recursiveScan{true};
    QProperty<bool> skipMonoFiles{false}; // leave out files with fewer than two channels
    QProperty<QString> outputFolder;      // empty: next to each source

    // Analysis. The thresholds are those of StereoValidatorOptions.
    QProperty<double> dualMonoThreshold{StereoValidatorOptions().dualMonoThreshold};
    QProperty<double> nearMonoThreshold{StereoValidatorOptions().nearMonoThreshold};
    QProperty<double> smallLagMs{StereoValidatorOptions().smallLagMs};
    QProperty<double> bigLagMs{StereoValidatorOptions().bigLagMs};
    QProperty<double> oneSidedDb{StereoValidatorOptions().oneSidedDb};
    QProperty<bool> includeMidSide{true};
    QProperty<bool> gathersEvidence{true}; // how far to trust each verdict, and why
    RecordList<StereoValidatorResult> analysisResults;
    QProperty<bool> isAnalyzing{false};
    QProperty<double> analysisProgress{0}; // 0 to 1
    QProperty<QString> currentAnalysisFile;

    // Clean & Export.
    QProperty<bool> showCleanExportDialog{false};
    QProperty<ExportScope> exportScope{ExportScope::allResults};
    QProperty<bool> processDualMono{true};
    QProperty<bool> processOneSided{true};
    QProperty<bool> processBroken{true};
    QProperty<DualMonoSideSelection> dualMonoSideSelection{DualMonoSideSelection::automatic};
    QProperty<bool> addMonoSuffix{true};
    QProperty<bool> allowOverwrite{false};
    QProperty<bool> sureOnly{false}; // leave out what is not sure; always so where sources are replaced
    QProperty<EngineChoice> engine{EngineChoice::ffmpeg};
    QProperty<bool> proves{false}; // every result is read back and compared with the channel it was made of
    QProperty<bool> generateCSV{false};
    QProperty<bool> isExporting{false};
    QProperty<double> exportProgress{0}; // 0 to 1
    QProperty<QString> currentExportFile;

    QProperty<bool> isAuditioning{false}; // a result is playing

    ActivityLog logEntries;

    PlaybackManager& playbackManager() { return *playbackManager_; }
    DesktopServices& desktop() { return desktop_; }
    const ExternalToolDetector& toolDetector() const { return *toolDetector_; }

    // The counts of the last analysis, and where the last report went; empty before there is one.
    QString summary() const { return summary_; }
    // Of how many files, and whether it was stopped ahead of some of them.
    int totalFiles() const { return totalFiles_; }
    bool wasStopped() const { return wasStopped_; }
    QString reportPath() const { return reportPath_; }
    // A report was asked for and is not there.
    bool reportFailed() const { return reportFailed_; }

    bool canAnalyze() const;
    StereoValidatorOptions options() const;

    // Writes the preset's thresholds into the five fields.
    void applyPreset(AnalysisPreset preset);

    void detectTools();
    void selectSource();
    // What the panel, a drop or the command line chose: a folder if the first is one, otherwise all as files.
    void select(const QStringList& urls);
    void selectOutputFolder();
    void startAnalysis();
    // Ends a running analysis before its next file; what was analysed so far becomes the result.
    void stopAnalysis();
    // Returns when all is done, and meanwhile lets the events of this thread go on; a second call does nothing.
    void cleanAndExport(const std::vector<StereoValidatorResult>& selectedResults);
    // What a run would refuse as things stand: a sentence by the id of each such result. Changes nothing.
    QHash<QUuid, QString> foreseenRefusals(const std::vector<StereoValidatorResult>& selectedResults) const;
    // How many files a run would leave out as not sure, and how many of what it could take are not sure.
    int countOfLeftOut(const std::vector<StereoValidatorResult>& selectedResults) const;
    int countOfNotSure(const std::vector<StereoValidatorResult>& selectedResults) const;
    // Ends a running cleanAndExport before its next file.
    void stopExport() { exportTask_.cancel(); }
    // Loads a result's file into the player and plays it.
    void audition(const StereoValidatorResult& result);
    // The CSV report of an analysis of which nothing was converted.
    void saveReport() { autoGenerateCSVReport({}); }
    void saveLog();
    void copyLogToClipboard();

Q_SIGNALS:
    void analysisEnded();
    // Clean & Export has dealt with a file: its outcome stands in its record.
    void fileConverted(const ostrel::StereoValidatorResult& result);

private:
    void log(LogLevel level, LogCategory category, const QString& message);
    void watchOptions();

    QCoro::Task<> runAnalysis(TaskHandle handle);
    bool reportFound(const FoundRecordings& found);

    std::optional<std::vector<StereoValidatorResult>>
    resultsInScope(const std::vector<StereoValidatorResult>& selectedResults);
    CleanOptions cleanOptions() const;
    std::vector<StereoValidatorResult> convertibleInScope(const std::vector<StereoValidatorResult>& selected) const;
    void tellUnfinishedSteps();
    CleanCounts convertAll(const std::vector<StereoValidatorResult>& results);
    ItemOutcome convertAside(CleanRun& run, const StereoValidatorResult& result);
    void count(const StereoValidatorResult& result, CleanCounts& counts);
    void autoGenerateCSVReport(const CleanCounts& counts);

    DesktopServices& desktop_;
    std::shared_ptr<ExternalToolDetector> toolDetector_;
    std::unique_ptr<PlaybackManager> playbackManager_;
    TaskHandle analysisTask_;
    TaskHandle exportTask_;
    RecordingSearch analyzed_; // of the analysis that the results are from
    QString summary_;
    int totalFiles_ = 0;
    bool wasStopped_ = false;
    QString reportPath_;
    bool reportFailed_ = false;
    std::vector<QPropertyNotifier> notifiers_;
};

} // namespace ostrel
