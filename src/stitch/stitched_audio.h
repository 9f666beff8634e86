// The audio of a stitched file: which stretches of which parts stand behind each other, written and compared.
#pragma once

#include "stitch/series.h"
#include "wave/copy_file.h"

#include <QStringList>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace ostrel {

class StitchStopped : public std::runtime_error {
public:
    StitchStopped() : std::runtime_error("stopped") {}
};

struct Stretch {
    int part = -1; // index in the series; below 0: silence
    quint64 first = 0;
    quint64 frames = 0;
};

// Asked between blocks with the bytes that were gone through since; throws to stop.
using StitchedBytes = std::function<void(quint64 bytes)>;

// Whether the end of the earlier part and the beginning of the later one are the same bytes. Throws CopyError.
bool isSameOverlap(const Part& earlier, const Part& later, quint64 frames);

// A new file of that head and those stretches. Gives the XXH128 of each channel of what was read where they are
// wanted. Throws CopyError (wave/channel_copy.h), also where a part is changed meanwhile; what stands there then is a
// part.
QStringList writeStitched(const Series& series, const std::vector<Stretch>& stretches, const std::string& head,
                          const QString& to, bool hashes, const StitchedBytes& done);

struct StitchedReading {
    bool isWhole = false; // the audio is that of the stretches, all of it and nothing else
    QStringList channels; // XXH128 of what was read back, where they are wanted
};

// Reads the file from the disk and compares every byte of its audio with the parts. Throws CopyError.
StitchedReading readStitched(const Series& series, const std::vector<Stretch>& stretches, const QString& file,
                             bool hashes, const StitchedBytes& done);

} // namespace ostrel
