// Splits polys one after the other. Blocks; for the thread pool.
#pragma once

#include "polytools/records/split_records.h"
#include "polytools/services/engine_services.h"

#include <functional>

namespace ostrel {

// All polys of a folder or a selection, one after the other, each into the folder that its scene and take give.
// Throws DomainError "BatchSplit" if there is nothing to split, "ScanError" if the folder can't be read.
BatchSplitResult batchSplit(const BatchSplitOptions& options, const PolyEngineTools& tools,
                            const PolyEngineHooks& hooks = {},
                            const std::function<void(const BatchProgress&)>& progress = {});

} // namespace ostrel
