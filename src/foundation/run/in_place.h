// A recording that a job changes where it stands: a private copy beside it is changed, compared, and takes its place.
//
//     NewFile copy(recording);                // the file itself, links followed
//     copyForChanges(copy);
//     ...                                     // changed, then compared with the recording
//     takePlace(copy, stampAheadOfTheFirstLook, journal);
//
// Block on the disk; for any thread. Every failure is a FileError that leaves the recording whole.
#pragma once

#include "foundation/run/journal.h"
#include "platform/files/new_file.h"

namespace ostrel {

// The recording's contents under the private name, for writing even where the recording is read-only.
void copyForChanges(const NewFile& copy);

// In one step, written into the journal ahead of it and after it. Another recording than the one that was looked at, or
// one that was changed meanwhile, stays.
void takePlace(NewFile& copy, const FileStamp& before, Journal& journal, const QString& detail = QString());

} // namespace ostrel
