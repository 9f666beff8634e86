// The recordings in a folder, as every scan takes them; and what becomes of the unfinished files that lie among them.
#pragma once

#include "platform/files/files.h"

#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

// How the names of WAV files end, in lower case; recorders and programs write RF64 and BW64 under any of them.
const QStringList& waveFileExtensions();

// What becomes of files that earlier runs left unfinished: whoever only looks leaves them, too.
enum class Leftovers { cleared, left };

// As files::list. What earlier runs left under private names and nobody holds is removed or, where it may be the only
// copy of a recording, put back, unless it is to be left; either is told among the unreadable. Blocks on the disk; for
// any thread.
std::optional<files::Listing> listRecordings(const QString& folder, bool recursive, const QStringList& extensions,
                                             files::HiddenEntries hidden = files::HiddenEntries::leftOut,
                                             Leftovers leftovers = Leftovers::cleared);

struct CollectedRecordings {
    QStringList files;    // each once, in order of the selection, those of a folder in natural order
    QStringList remarks;  // sentences: those of the listings, and which files came under a second name
    QStringList unopened; // folders of the selection that could not be opened
};

// The recordings of a selection, which may lead to one of them several times: folders are listed as above, files are
// taken as they are if their extension is wanted.
CollectedRecordings collectRecordings(const QStringList& selection, bool recursive, const QStringList& extensions,
                                      files::HiddenEntries hidden = files::HiddenEntries::leftOut,
                                      Leftovers leftovers = Leftovers::cleared);

// Removes or puts back these files; one sentence for each with which something was done. What another program is at
// work on stays, untold.
QStringList clearLeftovers(const QStringList& unfinished);

// The same for all in one folder: where outputs are about to be written.
QStringList clearLeftoversIn(const QString& folder);

} // namespace ostrel
