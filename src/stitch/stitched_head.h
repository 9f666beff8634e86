// What stands ahead of the audio of a stitched file: the head of its first part, made true for all of them.
#pragma once

#include "stitch/series.h"

#include <QStringList>
#include <string>

namespace ostrel {

struct StitchedHead {
    std::string bytes;    // all ahead of the first frame
    bool hasMd5 = false;  // of the first part's audio: to be renewed
    QStringList warnings; // what is not true for the whole or stays behind, whole sentences
};

// The place of the new file among those that ran side by side: the `number`th of `total`, from 1.
struct StitchedPlace {
    int number = 1;
    int total = 1;
};

// `frames` of the new file. The chunks of the first part as other jobs carry them (roads/head_chunks.h); no UMID (SMPTE
// 330M), as it is that of a part, and no loudness, as it was measured over one. HISTORY of iXML names every part:
// PARENT_FILENAME and PARENT_UID once for each, in order; a file without iXML gets a document that holds no more than
// that. Blocks on the disk.
StitchedHead stitchedHead(const Series& series, quint64 frames, const QString& fileName, const StitchedPlace& place);

} // namespace ostrel
