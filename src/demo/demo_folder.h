// Demo recordings of one kind, made on the spot for somebody who has none at hand.
#pragma once

#include <QString>

namespace ostrel {

enum class DemoKind { pairs, interleaved, polys, isos, stereo };

// Where a person's demo recordings stand: below the folder for this user's data.
QString demoFolder();

// Writes the recordings of that kind below `folder`, but for those that are there already, whatever they hold by now:
// what stands there is the person's. Returns the folder of that kind. Throws FileError; blocks for some tenths of a
// second.
QString writeDemoRecordings(const QString& folder, DemoKind kind);

} // namespace ostrel
