// What the last run of a tab made and proved, for a certificate.
#pragma once

#include "foundation/records/engine_choice.h"
#include "foundation/records/item_outcome.h"
#include "foundation/tools/external_tool_detector.h"

#include <QStringList>
#include <algorithm>
#include <utility>
#include <vector>

namespace ostrel {

struct ProvenRun {
    QString job;                                        // as the command line calls it: "interleave"
    std::vector<std::pair<QString, ItemOutcome>> items; // with their names
    QStringList tools;                                  // paths of those that the run used

    bool isProven() const {
        return std::any_of(items.begin(), items.end(), [](const auto& item) { return item.second.proof.has_value(); });
    }
};

inline QStringList outputsOf(const ProvenRun& run) {
    QStringList outputs;
    for (const auto& [name, outcome] : run.items) outputs << outcome.outputs;
    return outputs;
}

// Where nothing was asked of a tool, none is named.
inline QStringList usedTools(EngineChoice engine, const ExternalToolDetector& found) {
    if (engine == EngineChoice::direct) return {};
    return {found.ffmpegPath.value(), found.ffprobePath.value(), found.bwfmetaeditPath.value()};
}

} // namespace ostrel
