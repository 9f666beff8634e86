// Where things live on this desktop.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

// The folder of what is delivered with the application (its `bin` holds the delivered tools): libexec/ostrel beside the
// running program's bin folder, in the build tree as once installed. OSTREL_RESOURCE_FOLDER, if set, takes its place.
QString resourceFolder();

// Where resources of the application are looked up by name: `ostrel` in the XDG data folders, this user's first. None
// where OSTREL_RESOURCE_FOLDER is set.
QStringList dataFolders();

// `{caches}/Ostrel`, under the XDG cache folder. Not created here.
QString cacheFolder();

// `{state}/Ostrel`, under the XDG state folder: what has to outlive caches and belongs to no document. Not created
// here.
QString stateFolder();

// The system's folder for temporary files.
QString temporaryFolder();

} // namespace ostrel
