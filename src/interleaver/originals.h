// What becomes of a job's sources after a success, where a person asked for it.
#pragma once

#include <QStringList>

namespace ostrel {

// Into the folder "Originals" beside the first file, or away. A failure costs the job nothing and no other file: one
// sentence for each is given back. Nothing in "Originals" is ever replaced. Block; for any thread.
QStringList moveToOriginals(const QStringList& sources);
QStringList deleteOriginals(const QStringList& sources);

} // namespace ostrel
