// What an edit of one poly gives: written anew, or with other track names in its place.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/item_outcome.h"

#include <QStringList>
#include <vector>

namespace ostrel {

struct ChannelFilterResult {
    ItemOutcome outcome; // skipped: nothing matched, or the output is there
    std::vector<ProcessingLogEntry> logEntries;
    int channelCount = 0; // of what was written
    QStringList trackNames;
};

} // namespace ostrel
