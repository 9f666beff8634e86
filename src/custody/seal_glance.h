// What can be said of a folder's seal without reading a recording: how many files and generations it has.
#pragma once

#include <QString>
#include <optional>

namespace ostrel {

struct SealGlance {
    QString folder;      // the sealed one
    int files = 0;       // that its histories tell of, those of folders below included
    int generations = 0; // of its own history
    bool isDamaged = false;

    QString text() const; // "Sealed, 212 files, 3 generations"
};

// Of the nearest sealed folder at or above `path`. Walks that folder and reads its lists; blocks, for any thread. Never
// throws.
std::optional<SealGlance> glanceAtSeal(const QString& path);

} // namespace ostrel
