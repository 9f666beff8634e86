// Loose ISOs that a recorder wrote in several files: parts of one track count as one ISO before any are put side by
// side, and what can't have sounded together is no take.
#pragma once

#include "polytools/grouping/iso_evidence.h"
#include "polytools/records/iso_group.h"
#include "stitch/part.h"

#include <QHash>
#include <QStringList>
#include <vector>

namespace ostrel {

// When an ISO with all its parts was recorded.
struct IsoSpan {
    quint64 start = 0; // samples since midnight
    quint64 end = 0;
};

// Moves the parts of each track that fit to the sample into its first file; `parts` stand beside `files`. Gives the
// time of each file that is left and tells one, by path.
QHash<QString, IsoSpan> putInSeries(std::vector<FileWithMetadata>& files, std::vector<Part> parts);

// A group in which one input (CHANNEL_INDEX) stands twice, one file behind the other, becomes one group for each time.
// Gives a sentence for each of those.
QStringList partBySpans(std::vector<ISOGroupCandidate>& groups, const QHash<QString, IsoSpan>& spans);

} // namespace ostrel
