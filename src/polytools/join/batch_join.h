// Joins groups one after the other, one poly a group. Blocks; for the thread pool.
#pragma once

#include "polytools/records/join_records.h"
#include "polytools/services/engine_services.h"

#include <functional>
#include <vector>

namespace ostrel {

// The folder must exist. What goes wrong with a group is its row; the others go on.
BatchJoinResult batchJoin(const std::vector<ISOGroupCandidate>& groups, const QString& outputFolder,
                          const JoinOptions& options, const PolyEngineTools& tools, const PolyEngineHooks& hooks = {},
                          const std::function<void(const BatchJoinProgress&)>& progress = {});

} // namespace ostrel
