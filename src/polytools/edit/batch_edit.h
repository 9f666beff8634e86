// Edits polys one after the other. Blocks; for the thread pool.
#pragma once

#include "polytools/records/edit_options.h"
#include "polytools/records/split_records.h"
#include "polytools/services/engine_services.h"

#include <functional>

namespace ostrel {

// An output that is there is skipped, refused or replaced by the two flags; a file of this very run is never replaced.
// What goes wrong with a file is its row; the others go on.
BatchSplitResult batchEdit(const BatchEditOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks,
                           const std::function<void(const BatchProgress&)>& progress);

} // namespace ostrel
