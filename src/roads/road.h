// The road that an item takes from its sources to its files: the one that was chosen, or ffmpeg where that one can't
// take them. An engine asks a road and does the same around it, whichever it is.
//
//     const Road road(options.engine, sources, 1, "wav");
//     road.make(outputs, [&] { runFFmpeg(...); addMetadata(...); });
//
// Blocks; for any thread but the main one.
#pragma once

#include "foundation/records/engine_choice.h"
#include "roads/direct_road.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

class Road {
public:
    // `channels`: how many the job takes each source to have. `container`: the format of the files that are to be made
    // ("wav", "flac").
    Road(EngineChoice chosen, const QStringList& sources, int channels, const QString& container);

    // Whether the files come whole, with their metadata, without a tool.
    bool isDirect() const { return direct_.has_value(); }
    // What the log says where the chosen road can't be taken; empty: it is.
    const QString& detour() const { return detour_; }

    // Either of them; `byFFmpeg` tells its failures its own way. Gives warnings. Throws RoadError where the direct road
    // fails, and what `byFFmpeg` throws. `progress` and `hashes` as DirectRoad's; the ffmpeg road
    // tells none, and its sources are read once more for a proof.
    QStringList make(const std::vector<PlannedOutput>& outputs, const std::function<void()>& byFFmpeg,
                     const std::function<void(double)>& progress = {}, SourceHashes* hashes = nullptr) const;

private:
    std::optional<DirectRoad> direct_;
    QString detour_;
};

} // namespace ostrel
