// One chunk of a file that a job has just written, set in place: only for files that can be made again.
// Blocks on the disk; for any thread.
#pragma once

#include <QByteArray>
#include <QString>

namespace ostrel {

// Makes `payload` what the file's chunk of that id holds, filled up with `fill` where the chunk is longer. Without room
// for it the old chunk becomes a filler and the new one goes ahead of the audio, which moves. Empty on success,
// otherwise why not; the old chunk stands then.
QString setChunk(const QString& file, const char* id, const QByteArray& payload, char fill);

// Writes over bytes of a file; false where that can't be done.
bool overwrite(const QString& file, qint64 offset, const QByteArray& bytes);

} // namespace ostrel
