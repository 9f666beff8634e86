// Each file of a selection once. A selection may lead to one file several times: by a folder and its subfolder, by a
// folder and a file in it, by links, by "./a" and "a". Taken twice, a recording would be worked on twice, and its
// second turn would find what the first one left.
//
// Links of both kinds are followed here. What has no identity on the disk is told apart by its path. One look at the
// disk a path; for any thread.
#pragma once

#include <QString>
#include <QStringList>

namespace ostrel {

struct UniqueFiles {
    QStringList files; // each file, or folder, once: under the first of its names, in order
    // One sentence for each further name of a file (a name that was only repeated goes silently) and for each
    // unfinished file of a run, which is no recording whoever names it.
    QStringList repeats;
};
UniqueFiles uniqueFiles(const QStringList& selection);

} // namespace ostrel
