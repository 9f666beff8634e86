// What is to be said ahead of a run that touches sealed folders. Blocks on the disk, where folders are walked for the
// histories in them; for any thread.
#pragma once

#include <QStringList>

namespace ostrel {

enum class SealTouch {
    adds,      // new files
    changes,   // recordings get other bytes, or another name
    takesAway, // recordings are moved or deleted
};

// The nearest sealed folder at or above each path, and all sealed ones below it; each once. Links are not followed.
QStringList sealedFoldersAround(const QStringList& paths);

// Sentences for a person, one for each of those folders; and where new files would come to lie in a folder that a seal
// passes over.
QStringList sealNotices(const QStringList& paths, SealTouch touch);

} // namespace ostrel
