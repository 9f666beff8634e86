// Edits polys one after the other. Blocks; for the thread pool.
#pragma once

#include "polytools/records/channel_plan.h"
#include "polytools/records/split_records.h"
#include "polytools/services/engine_services.h"

#include <QStringList>
#include <functional>

namespace ostrel {

struct BatchEditOptions {
    QStringList files;
    ChannelFilterOptions filter;
    RenameMap renames;
    ReorderList reorder;
    QString outputFolder; // empty: beside each source
    QString customName;   // for a single file; empty: the file's own name
    bool inPlace = false; // only the names are changed, in the files themselves
    bool skipIfExists = true;
    bool overwriteExisting = false;
};

// An output that is there is skipped, refused or replaced by the two flags; a file of this very run is never replaced.
// What goes wrong with a file is its row; the others go on.
BatchSplitResult batchEdit(const BatchEditOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks,
                           const std::function<void(const BatchProgress&)>& progress);

} // namespace ostrel
