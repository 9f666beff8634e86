// What all modes of Poly Tools share: the tools, the options, the totals of the last run and its log.
//
// Observed by the views, touched on the main thread only. The other parts are beside it: source_state (the polys that
// Split and Edit work on), split_state, join_state, edit_state, preview_state. Whoever uses one part gets that part.
#pragma once

#include "foundation/logs/activity_log.h"
#include "foundation/records/engine_choice.h"
#include "foundation/records/item_outcome.h"
#include "polytools/records/poly_tools_records.h"

#include <QHash>
#include <QProperty>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>

namespace ostrel {

// A run as it began: what is switched meanwhile is the next one's.
struct PolyRun {
    int number = 0;
    bool writesReport = false;
};

struct PolyToolsState {
    // Mode and tools. Empty paths: not found.
    QProperty<PolyMode> mode{PolyMode::split};
    QProperty<bool> ffmpegAvailable{false};
    QProperty<QString> ffprobePath;
    QProperty<QString> ffmpegPath;
    QProperty<bool> bwfmetaeditAvailable{false};
    QProperty<QString> bwfmetaeditPath;

    // Options of all modes
    QProperty<EngineChoice> engine{EngineChoice::ffmpeg};
    QProperty<bool> preserveMetadata{true}; // has no effect: metadata is kept wherever the tools allow it
    QProperty<bool> skipIfExists{true};
    QProperty<bool> overwriteExisting{false};
    QProperty<bool> generateCSV{false};
    QProperty<bool> autoOrderChannels{false};
    QProperty<bool> proves{false};          // a run reads its outputs back and compares them, channel by channel
    QProperty<bool> conformsHeaders{false}; // as editing systems read them; has an effect with the direct engine

    // What is under way
    QProperty<bool> isAnalyzing{false};
    QProperty<bool> isProcessing{false};
    QProperty<bool> isCancelled{false};
    QProperty<QString> currentProcessingItem;
    QProperty<QHash<QUuid, QString>> foreseenRefusals; // why a run would refuse a poly or a group, by its id

    // Totals of the last run, and its log
    QProperty<int> successCount{0};
    QProperty<int> skipCount{0};
    QProperty<int> errorCount{0};
    QProperty<QStringList> createdFiles;
    QProperty<std::optional<ItemOutcome>> lastOutcome; // of a run over one file or one take
    QProperty<QString> reportPath;                     // of the last CSV report
    ActivityLog logEntries;

    // ffmpeg is there, or the direct engine was chosen, which needs none for plain WAV files.
    bool hasEngine() const { return engine.value() == EngineChoice::direct || ffmpegAvailable.value(); }

    bool conforms() const { return conformsHeaders.value() && engine.value() == EngineChoice::direct; }

    // The totals are the new run's from here on.
    PolyRun beginRun() {
        isCancelled = false;
        successCount = 0;
        skipCount = 0;
        errorCount = 0;
        createdFiles = QStringList();
        lastOutcome = std::nullopt;
        reportPath = QString();
        return {++lastRun, generateCSV.value()};
    }

    // Whether no other run began since: then what was made until a stop still counts.
    bool isLast(const PolyRun& run) const { return run.number == lastRun; }
    int lastRun = 0;

    // The totals of a batch, from its result and the rows of that.
    template <class Result, class Row>
    void count(const Result& result, const std::vector<Row>& rows) {
        successCount = result.successCount;
        skipCount = result.skipCount;
        errorCount = result.errorCount;
        QStringList created;
        for (const Row& row : rows) created << row.outcome.outputs;
        createdFiles = created;
    }
};

} // namespace ostrel
