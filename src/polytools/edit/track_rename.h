// Renaming tracks in a poly itself. Blocks its caller; for the thread pool.
#pragma once

#include "polytools/edit/edit_result.h"
#include "polytools/records/channel_plan.h"
#include "polytools/records/poly_file.h"
#include "polytools/services/engine_services.h"

namespace ostrel {

// Changes track names in the poly and nothing else: a copy beside it gets the new iXML, is compared with the old file
// and takes its place in one step. Whatever fails before leaves the old file whole. Throws DomainError "ChannelFilter",
// FileError, ProcessLaunchError and, where it `proves` the copy, ProofError.
ChannelFilterResult renameTracksInPlace(const PolyFile& polyFile, const RenameMap& renames,
                                        const PolyEngineTools& tools, const PolyEngineHooks& hooks = {},
                                        bool proves = false);

} // namespace ostrel
