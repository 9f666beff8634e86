// The Edit mode: what is to be changed, and the run over one or many polys.
#pragma once

#include "polytools/edit/batch_edit.h"
#include "polytools/services/poly_tools_reports.h"
#include "polytools/services/poly_tools_services.h"
#include "polytools/split/poly_source_selection.h"
#include "polytools/state/edit_state.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/source_state.h"

#include <QStringList>

namespace ostrel {

class PolyPreview;

class PolyEditFlow {
public:
    PolyEditFlow(PolyToolsState& state, SourceState& source, EditState& edit, PolyToolsServices& services,
                 const PolySourceSelection& selection, PolyPreview& preview)
        : state_(state), source_(source), edit_(edit), services_(services), selection_(selection), preview_(preview) {}

    bool hasAdvancedConfig() const;
    bool canRun() const;
    QString editPolyHelperText() const;

    void initializeReorderFromChannelItems();
    void moveChannelUp(int row);
    void moveChannelDown(int row);

    void run();
    void startBatchChannelRemoval();
    // Edits these files of the last batch once more; what became of the others stays.
    void retry(const QStringList& urls);
    void clear();

private:
    // What a run needs from its start to its report.
    struct Run {
        BatchEditOptions options;
        ReportSource source;
        PolyRun run;
        TaskHandle handle;
        std::optional<BatchSplitResult> before; // of which files are tried again
    };

    bool mayRun(const QString& missingEdits, const QString& missingFolder);
    BatchEditOptions makeOptions() const;
    void logRun(const BatchEditOptions& options);
    QCoro::Task<> runOver(Run run);
    QCoro::Task<QStringList> findFiles(QString folder, TaskHandle handle);
    QCoro::Task<> edit(Run run);
    void showResults(const BatchSplitResult& result, const Run& run);
    void countResults(const BatchSplitResult& result, const Run& run);
    void swapChannels(int row, int other);

    PolyToolsState& state_;
    SourceState& source_;
    EditState& edit_;
    PolyToolsServices& services_;
    const PolySourceSelection& selection_;
    PolyPreview& preview_;
};

} // namespace ostrel
