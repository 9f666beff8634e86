// The chunks of a new file's head, made of its source's bytes: right the first time, so no tool has to mend them.
#pragma once

#include "roads/planned_output.h"
#include "wave/wave_head.h"
#include "wave/wave_layout.h"

#include <QStringList>
#include <vector>

namespace ostrel {

struct HeadChunks {
    std::vector<WaveHeadChunk> chunks;
    QStringList warnings; // whole sentences that name the source
};

// Every chunk of the source that stays true, in its order: all but those that tell of the old file's bytes (fmt, fact,
// data, sizes, fillers, peaks and overviews of the audio). A bext chunk (EBU Tech 3285) is the source's byte for byte,
// but for a UMID that is to be cleared and what its Description says of tracks and file name. An iXML document is
// fitted to the new file's tracks. `axml` and `chna` (ITU-R BS.2076) describe the whole set of channels and go along
// only where it stays whole; the rows of `chna` then follow their channels. An `MD5 ` chunk stands with the old digest
// and is to be renewed once the audio is there. Blocks on the disk.
HeadChunks headChunksOf(const PlannedOutput& output, const WaveLayout& source);

// The positions (0-based) of the source's channels in the output where those are all of them, each once; else empty.
std::vector<int> wholeSetOf(const PlannedOutput& output, int sourceChannels);

} // namespace ostrel
