// The sets of a mixed selection that lie wholly inside it.
#pragma once

#include "foundation/records/channel_layout.h"

#include <QStringList>

namespace ostrel {

struct WholeSets {
    QStringList items; // folders and files that remain
    int leftOut = 0;   // sets that went
};

// Beside folders, a file that was picked by hand is taken along only with its whole set: where a sibling for one of the
// layout's channels stands in its folder and was not selected, the set's files are left out. A selection without a
// folder, or without a file, remains as it is. Blocks on the disk; for any thread.
WholeSets wholeSetsOf(const QStringList& selection, const ChannelLayout& layout);

} // namespace ostrel
