// What the controller reads of a poly ahead of a job. Blocks; for the thread pool.
#pragma once

#include "foundation/tools/source_answers.h"
#include "polytools/records/poly_file.h"
#include "polytools/records/poly_tools_records.h"

#include <QString>
#include <memory>
#include <vector>

namespace ostrel {

// Throws FFProbeError.
PolyFile readPolyFile(const QString& url, const QString& ffprobePath,
                      const std::shared_ptr<SourceAnswers>& answers = std::make_shared<SourceAnswers>());

struct TrackReading {
    std::vector<TrackInfo> tracks; // by interleave index
    bool hasIXML = false;
};

// Nothing if bwfmetaedit can't be had.
TrackReading readTrackInfo(const QString& url, const QString& bwfmetaeditPath, SourceAnswers& answers);

// Throws FFProbeError.
BatchPolyMetadata readBatchPolyMetadata(const QString& url, const QString& ffprobePath, const QString& bwfmetaeditPath,
                                        const std::shared_ptr<SourceAnswers>& answers);

} // namespace ostrel
