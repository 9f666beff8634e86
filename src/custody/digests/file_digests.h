// Digests of a whole file: one read feeds them all.
//
// Blocks on the disk; for any thread. Memory is one block, whatever the file's size.
#pragma once

#include "custody/digests/hash_format.h"
#include "platform/files/files.h"

#include <functional>

namespace ostrel {

// A job was stopped where it stood: nothing was written by it.
class StoppedError : public FileError {
public:
    StoppedError() : FileError(QStringLiteral("Stopped")) {}
};

struct ReadWatch {
    std::function<void(quint64 bytes)> bytesRead; // those just read; may be empty
    std::function<bool()> isStopped;              // asked a few hundred times a second; may be empty
};

// Throws FileError, also for a file that is no regular one, that is a link, or that somebody changed or replaced while
// it was read; StoppedError.
Digests digestsOfFile(const QString& path, const HashFormats& formats, const ReadWatch& watch = {});

} // namespace ostrel
