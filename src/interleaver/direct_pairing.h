// Pairs hand-picked files by the channel tags in their names.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/interleave_group.h"

#include <QStringList>
#include <vector>

namespace ostrel {

struct DirectPairing {
    struct Line {
        LogLevel level;
        QString text;
    };
    std::vector<InterleaveGroup> groups; // every base name in natural order, complete or not; status pending
    std::vector<Line> log;               // what to tell, category scan

    // Takes ".wav" files only; a later file replaces an earlier one of the same base name and tag.
    static DirectPairing of(const QStringList& files);
};

} // namespace ostrel
