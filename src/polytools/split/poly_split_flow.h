// The Split mode's runs: one file, or a batch.
#pragma once

#include "polytools/services/poly_tools_services.h"
#include "polytools/split/poly_source_selection.h"
#include "polytools/split/poly_split_engine.h"
#include "polytools/state/poly_tools_state.h"
#include "polytools/state/source_state.h"
#include "polytools/state/split_state.h"

namespace ostrel {

class PolySplitFlow {
public:
    PolySplitFlow(PolyToolsState& state, SourceState& source, SplitState& split, PolyToolsServices& services,
                  const PolySourceSelection& selection)
        : state_(state), source_(source), split_(split), services_(services), selection_(selection) {}

    bool canRun() const;
    bool canRunBatch() const;
    void run(); // the loaded file
    void runBatch();
    // Splits these files of the last batch once more; what became of the others stays.
    void retry(const QStringList& urls);

private:
    // What a run over one file needs from its start to its report.
    struct Run {
        PolyFile poly;
        SplitOptions options;
        QString baseFolder;
        FolderOrganization organization;
        std::vector<ChannelItem> channels;
        PolyRun run;
        TaskHandle handle;
    };
    struct BatchRun {
        BatchSplitOptions options;
        PolyRun run;
        TaskHandle handle;
        std::optional<BatchSplitResult> before; // of which files are tried again
    };

    void startBatch(const std::optional<QStringList>& selected, std::optional<BatchSplitResult> before);
    PolyRun beginRun();
    SplitOptions splitOptions() const;
    PolySplitEngine::Progress channelProgress(const TaskHandle& handle) const;
    QCoro::Task<> split(Run run);
    QCoro::Task<QString> effectiveFolder(Run run);
    QCoro::Task<> splitInto(Run run, QString folder);
    void countSplit(const SplitResult& result);
    void showSplit(const SplitResult& result, Run run, const QString& folder);
    QCoro::Task<> batchSplit(BatchRun run);
    void showBatch(const BatchSplitResult& result, const BatchRun& run);
    void countBatch(const BatchSplitResult& result, const BatchRun& run);

    PolyToolsState& state_;
    SourceState& source_;
    SplitState& split_;
    PolyToolsServices& services_;
    const PolySourceSelection& selection_;
};

} // namespace ostrel
