// Reads ISOs for a join and puts them into channel order. Blocks; for the thread pool.
#pragma once

#include "polytools/records/iso_file.h"
#include "polytools/records/poly_tools_records.h"
#include "polytools/services/engine_services.h"

#include <QStringList>
#include <vector>

namespace ostrel {

struct LoadedISOs {
    std::vector<ISOFile> files; // in channel order, numbered from 1
    IsoOrdering ordering = IsoOrdering::selection;
    bool moved = false; // the order is not that of the selection
};

// A file that can't be probed is told of in the log and left out. By the channel numbers of the files' own iXML if all
// of them have one, else by a manifest beside them (by one without a track list as selected), else by track name if
// wanted, else as selected.
LoadedISOs loadISOs(const QStringList& urls, bool autoOrder, const PolyEngineTools& tools,
                    const PolyEngineHooks& hooks);

// Channel numbers from 1, by position.
void numberChannels(std::vector<ISOFile>& files);

} // namespace ostrel
