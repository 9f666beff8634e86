// Recordings whose header does not tell all that the file holds: audio may lie behind the declared end, as a recorder
// leaves it that lost its power. Every job says so, and none moves, deletes or replaces such a source.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// One sentence without the file's name; empty for a healthy file and for what is no WAV file. Walks headers only;
// blocks on the disk, for any thread.
QString unexplainedBytesOf(const QString& file);

// "{name}: {sentence}" for each file that has any.
QStringList unexplainedBytesWarnings(const QStringList& files);

} // namespace ostrel
