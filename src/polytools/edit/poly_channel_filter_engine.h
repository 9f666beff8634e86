// Writes a poly anew with some channels gone, in a new order or under new names, and gives it a track list that
// matches.
//
// Blocks its caller; for the thread pool. The source poly is only read.
#pragma once

#include "foundation/run/run_ledger.h"
#include "polytools/edit/edit_result.h"
#include "polytools/records/channel_plan.h"
#include "polytools/records/poly_file.h"
#include "polytools/services/engine_services.h"

#include <QStringList>
#include <functional>
#include <vector>

namespace ostrel {

class PolyChannelFilterEngine {
public:
    explicit PolyChannelFilterEngine(PolyEngineTools tools, PolyEngineHooks hooks = {});

    // Writes `{outputFolder}/{name}.wav`; what an existing file means is the rule's. Without a name
    // it is the poly's own, and "_{k}ch" is added where that would be the poly itself; a given name that leads to the
    // poly is refused. Metadata is restored wherever the tools allow it. Throws
    // DomainError "ChannelFilter" 1 (nothing to do), 2 (no channel would stay), 3 (ffmpeg failed), 4 (the output is the
    // source), ProcessLaunchError, FileError and, where it `proves` the new poly, ProofError. Failed metadata is a log
    // line. `conforms`: the head of the new poly, see HeadRecipe; by way of ffmpeg that is a warning.
    ChannelFilterResult removeChannelsFromPoly(const PolyFile& polyFile, const ChannelFilterOptions& filter,
                                               const QString& outputFolder, const QString& outputFileName,
                                               const RenameMap& batchRenameMap, const ReorderList& channelReorderMap,
                                               ExistingOutput rule = ExistingOutput::replaced, bool proves = false,
                                               bool conforms = false) const;

    // The file's own track list by interleave index; numbered channels where it has none.
    std::vector<SourceTrack> extractTrackListFromPoly(const QString& polyURL, int channelCount,
                                                      const QString& bwfmetaeditPath) const;

    static QStringList buildFilterCommand(const QString& polyURL, const QString& filter, const QString& codec,
                                          const QString& output);

private:
    const PolyEngineTools tools_;
    const PolyEngineHooks hooks_;
};

} // namespace ostrel
