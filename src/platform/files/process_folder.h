// Folders that belong to one running process, so that a later one can tell which of them nobody uses any more.
#pragma once

#include <QString>

namespace ostrel {

// "{process}-{start}-{namespace}" of this process. A number of a process is given again after its end; with the moment
// of its start, in ticks since the system's, it is not. The namespace tells whose numbers these are: a process of
// another container is not seen from here, alive as it may be.
QString processFolderName();

// Removes, of the folders in `parent` that have such a name, those of processes that have ended. Whatever is of another
// namespace, has another name or is a link stays. Failures are ignored: the next start tries again.
void sweepProcessFolders(const QString& parent);

} // namespace ostrel
