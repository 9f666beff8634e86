// The `MD5 ` chunk of a WAV file: 16 bytes, the MD5 of the data chunk's payload, last byte first. Here a digest is the
// 32 digits that a person reads. Block on the disk; for any thread.
#pragma once

#include "foundation/run/journal.h"

#include <QString>
#include <optional>

namespace ostrel {

// The digest that the file's first such chunk tells. Nothing where there is none; empty for one that is too short.
std::optional<QString> embeddedMd5(const QString& file);

// Puts the digest into the recording, in its place: into the chunk that is there, otherwise into a new one at the end
// of the file. `seen` is the file as it was when the digest was made of it. Changed in a private copy, which is
// compared whole with the recording and then takes its name in one step. False where the chunk tells it already.
//
// Throws FileError, and the recording is whole then: for a chunk that tells another digest, unless `replacesOther`; for
// headers that leave bytes unexplained or do not end where the file does; for a recording that can't be replaced.
bool embedMd5(const QString& file, const QString& digest, const FileStamp& seen, bool replacesOther, Journal& journal);

// Makes the chunk, where the file has one, the digest of its audio; only for files that can be made again. False where
// that was not to be done.
bool renewMd5Chunk(const QString& file);

} // namespace ostrel
