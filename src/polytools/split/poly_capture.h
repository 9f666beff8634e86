// What a poly holds besides its sound, lifted once ahead of a split for all its ISOs: metadata and the list of tracks.
// Blocks: runs bwfmetaedit; for any thread but the main one.
#pragma once

#include "metadata/universal_metadata_engine.h"
#include "polytools/records/ixml_track_list.h"
#include "polytools/records/poly_file.h"
#include "polytools/services/engine_services.h"

#include <optional>
#include <vector>

namespace ostrel {

struct PolyCapture {
    std::optional<MetadataPreservationResult> preservation;
    std::vector<SourceTrack> tracks; // of every channel; empty: their sequential order
};

// Saves the manifest of the take along. Throws nothing: any failure costs the metadata alone, and the log says so.
PolyCapture capturePoly(const PolyEngineTools& tools, const PolyFile& poly, EngineLog& log);

} // namespace ostrel
