// The controller of the Poly Tools tab: one class with three faces, chosen by `mode`.
//
// Lives on the main thread as long as the window (or the command). Views observe its fields, which are the parts of
// polytools/state, and call the actions of the collaborator that they mean; here is what several of them do together.
//
//     source()     choosing polys, one file or a batch       (poly_source_selection.h)
//     split()      the Split mode's runs                     (poly_split_flow.h)
//     join()       the Join mode: loading, grouping, runs    (poly_join_flow.h)
//     review()     a person's changes to the groups          (poly_join_review.h)
//     edit()       the Edit mode                             (poly_edit_flow.h)
//     foresight()  what a run would refuse                   (poly_foresight.h)
//     preview()    what can be heard in all three            (poly_preview.h)
//
// Tools, log and tasks are shared by all of them (poly_tools_services.h).
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

    PolySourceSelection& source() { return selection_; }
    PolySplitFlow& split() { return split_; }
    PolyJoinFlow& join() { return join_; }
    PolyJoinReview& review() { return review_; }
    PolyEditFlow& edit() { return edit_; }
    PolyForesight& foresight() { return foresight_; }
    PolyPreview& preview() { return preview_; }

    const ExternalToolDetector& toolDetector() const { return services_.toolDetector(); }
    void checkTools();
    void takeTools(); // those that the detector knows already

    // Source selection. Missing paths are dropped.
    void selectSource();
    void selectJoinSource();
    void applyIntelligentModeDetection(const QStringList& urls, PolyMode forMode);

    // What a run would do, and what of it would be refused.
    QString batchProcessHelperText() const;
    QString editPolyHelperText() const;

    void stopProcessing();
    void revealInFinder(const QString& url);
    DesktopServices& desktop() { return services_.desktop(); }
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
