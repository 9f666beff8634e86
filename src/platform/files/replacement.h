// A finished file in the place of a recording, in one step: at every moment the name holds the old or the new whole
// file.
//
// Blocks on the disk; for any thread. Every failure is a FileError, ahead of which nothing was changed, or everything
// was put back; the sentence says so where even that failed.
#pragma once

#include "platform/files/file_stamp.h"
#include "platform/files/new_file.h"

#include <QString>

namespace ostrel {

// Whether this recording may be replaced at all: it can be written by this user, and no second hard link would go on
// holding the old contents. Throws otherwise. Links are followed by the caller: `path` is the file itself.
void requireReplaceable(const QString& path);

// `file` was made for `file.finalPath()`, the recording, and is complete and checked. Its mode, owner, extended
// attributes and access lists become the recording's, it goes to the disk, and takes the name. `expected` is the
// recording as it was when the job first read it: another one, or a changed one, stays and is an error.
void replaceRecording(NewFile& file, const FileStamp& expected);

// Mode, owner where that may be set, extended attributes and access lists, of one file to another. What would open the
// copy wider than the original, or lose a list of who may read it, is an error.
void copyAttributes(const QString& from, const QString& to);

} // namespace ostrel
