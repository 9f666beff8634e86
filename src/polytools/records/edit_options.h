// What an edit of one poly or of many is asked for.
#pragma once

#include "polytools/records/channel_filter_options.h"
#include "polytools/records/channel_plan.h"

#include <QString>
#include <QStringList>

namespace ostrel {

struct BatchEditOptions {
    QStringList files;
    ChannelFilterOptions filter;
    RenameMap renames;
    ReorderList reorder;
    QString outputFolder; // empty: beside each source
    QString customName;   // for a single file; empty: the file's own name
    bool inPlace = false; // only the names are changed, in the files themselves
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool proves = false;   // every output is read back and compared, channel by channel
    bool conforms = false; // heads as editing systems read them, on the direct road
};

} // namespace ostrel
