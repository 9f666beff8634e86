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

private:
    void beginRun();
    SplitOptions splitOptions() const;
    PolySplitEngine::Progress channelProgress(const TaskHandle& handle) const;
    QCoro::Task<> split(PolyFile poly, TaskHandle handle);
    QCoro::Task<QString> effectiveFolder(PolyFile poly);
    QCoro::Task<> splitInto(PolyFile poly, QString folder, TaskHandle handle);
    bool isOfLastRun() const;
    void countSplit(const SplitResult& result);
    void showSplit(const SplitResult& result, const QString& folder);
    QCoro::Task<> batchSplit(BatchSplitOptions options, TaskHandle handle);
    void showBatch(const BatchSplitResult& result, const QString& folder);
    void countBatch(const BatchSplitResult& result, const QString& folder);

    PolyToolsState& state_;
    SourceState& source_;
    SplitState& split_;
    PolyToolsServices& services_;
    const PolySourceSelection& selection_;
};

} // namespace ostrel
