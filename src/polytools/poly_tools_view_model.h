// The controller of the Poly Tools tab: one class with three faces, chosen by `mode`.
//
// Lives on the main thread as long as the window (or the command). Views observe its fields, which are the parts of
// polytools/state, and call the actions here; every action is one line into the collaborator that does it:
//
//     PolySourceSelection  choosing polys, one file or a batch            (poly_source_selection.h)
//     PolySplitFlow        the Split mode's runs                          (poly_split_flow.h)
//     PolyJoinFlow         the Join mode: loading, grouping, runs         (poly_join_flow.h)
//     PolyJoinReview       a person's changes to the groups               (poly_join_review.h)
//     PolyEditFlow         the Edit mode                                  (poly_edit_flow.h)
//     PolyForesight        what a run would refuse                        (poly_foresight.h)
//     PolyPreview          what can be heard in all three                 (poly_preview.h)
//     PolyToolsServices    tools, log and tasks, shared by all of them    (poly_tools_services.h)
#pragma once

#include "polytools/edit/poly_edit_flow.h"
#include "polytools/join/poly_join_flow.h"
#include "polytools/join/poly_join_review.h"
#include "polytools/poly_foresight.h"
#include "polytools/preview/poly_preview.h"
#include "polytools/services/poly_tools_services.h"
#include "polytools/split/poly_source_selection.h"
#include "polytools/split/poly_split_flow.h"
#include "polytools/state/edit_state.h"
#include "polytools/state/join_state.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/preview_state.h"
#include "polytools/state/source_state.h"
#include "polytools/state/split_state.h"

#include <QObject>
#include <memory>

namespace ostrel {

class PolyToolsViewModel : public QObject,
                           public PolyToolsState,
                           public SourceState,
                           public SplitState,
                           public JoinState,
                           public EditState,
                           public PreviewState {
    Q_OBJECT

public:
    // A detector of its own unless one is given, which others may share; `desktop` outlives the controller. Without an
    // audio output nothing is prepared for listening, as on a terminal.
    explicit PolyToolsViewModel(DesktopServices& desktop, AudioOutput* audioOutput = nullptr,
                                std::shared_ptr<ExternalToolDetector> detector = nullptr);
    ~PolyToolsViewModel() override;

    const ExternalToolDetector& toolDetector() const { return services_.toolDetector(); }
    PreviewMixer* previewMixer() { return preview_.deck().mixer(); } // null without an audio output
    PolyPreview& preview() { return preview_; }

    void checkTools();
    void takeTools(); // those that the detector knows already

    // Source selection. Missing paths are dropped.
    void selectSource();
    void selectJoinSource();
    void applyIntelligentModeDetection(const QStringList& urls, PolyMode forMode);
    void selectPolyFile() { selection_.selectPolyFile(); }
    void analyzePolyFile(const QString& url) { selection_.analyzePolyFile(url); }
    void populateBatchPolyMetadata(const QStringList& urls) { selection_.populateBatchPolyMetadata(urls); }
    QString generateOutputName(const QString& baseName, int index, const QString& trackName) const {
        return selection_.generateOutputName(baseName, index, trackName);
    }
    void updateOutputNames() { selection_.updateOutputNames(); }
    bool hasSplitSourceContent() const { return selection_.hasSplitSourceContent(); }
    QString batchProcessHelperText() const;
    void foresee() { foresight_.foresee(); }
    QString foreseenHelperEnding() const { return foresight_.helperEnding(); }
    void clearSplitData() { selection_.clearSplitData(); }

    // Split
    bool canRunSplit() const { return split_.canRunSplit(); }
    bool canRunBatchSplit() const { return split_.canRunBatchSplit(); }
    void selectSplitOutputFolder() { selection_.selectOutputFolder(); }
    void runSplit() { split_.runSplit(); }
    void startBatchSplit() { split_.startBatchSplit(); }

    // Join
    void selectISOFiles() { join_.selectISOFiles(); }
    void analyzeISOFiles(const QStringList& urls) { join_.analyzeISOFiles(urls); }
    void scanAndGroupISOs() { join_.scanAndGroupISOs(); }
    void moveISOUp(int row) { join_.moveISOUp(row); }
    void moveISODown(int row) { join_.moveISODown(row); }
    void moveISO(int row, int to) { join_.moveISO(row, to); }
    void updateChannelIndices() { join_.updateChannelIndices(); }
    void selectAllISOs() { join_.setAllSelected(true); }
    void deselectAllISOs() { join_.setAllSelected(false); }
    void setISOSelected(int row, bool isSelected) { join_.setSelected(row, isSelected); }
    bool canRunJoin() const { return join_.canRunJoin(); }
    bool canRunBatchJoin() const { return join_.canRunBatchJoin(); }
    bool hasJoinSourceContent() const { return join_.hasJoinSourceContent(); }
    void selectJoinOutputFolder() { join_.selectOutputFolder(); }
    void clearJoinOutputFolder() { join_.clearOutputFolder(); }
    void setJoinKeepOriginalName(bool keep) { join_.setKeepOriginalName(keep); }
    void runJoin() { join_.runJoin(); }
    void startBatchJoin() { join_.startBatchJoin(); }
    void clearJoinData() { join_.clearJoinData(); }
    void setReviewsGroups(bool isOn) { join_.setReviewsGroups(isOn); }
    PolyJoinReview& review() { return review_; }

    // Edit
    bool hasAdvancedConfig() const { return edit_.hasAdvancedConfig(); }
    bool canRunEditPoly() const { return edit_.canRunEditPoly(); }
    QString editPolyHelperText() const;
    void initializeReorderFromChannelItems() { edit_.initializeReorderFromChannelItems(); }
    void moveChannelUp(int row) { edit_.moveChannelUp(row); }
    void moveChannelDown(int row) { edit_.moveChannelDown(row); }
    void startEditPolyProcessing() { edit_.startEditPolyProcessing(); }
    void startBatchChannelRemoval() { edit_.startBatchChannelRemoval(); }
    void clearEditPolyData() { edit_.clearEditPolyData(); }

    // All modes
    void stopProcessing();
    void revealInFinder(const QString& url); // the folder that a file is in
    void addLog(const QString& message, LogLevel level, LogCategory category) {
        services_.log(level, category, message);
    }
    QString exportLogs() const;
    void saveLog();
    void copyLogToClipboard();
    void clearLog() { logEntries.clear(); }

    // Whether anything has not really ended; after a stop that is longer than the flags tell.
    bool hasRunningTask() const { return services_.hasRunningTask(); }

Q_SIGNALS:
    void taskEnded();

private:
    void showSourcePanel(const QString& message);

    PolyToolsServices services_;
    PolyPreview preview_;
    PolySourceSelection selection_;
    PolySplitFlow split_;
    PolyJoinFlow join_;
    PolyJoinReview review_;
    PolyEditFlow edit_;
    PolyForesight foresight_;
};

} // namespace ostrel
