// Removes the two mono sources of a certified stereo merge from the library. Makes no check of its own.
#pragma once

#include <QString>

namespace ostrel {

class LRCleanupEngine {
public:
    // Into "{libraryRoot}/Originals", the library's folders mirrored below. Throws FileError; nothing is ever replaced,
    // and a left file that was moved before the right one failed stays moved.
    static void moveToBackupFolder(const QString& leftURL, const QString& rightURL, const QString& libraryRoot);

    // A file already gone is no error. Throws FileError; if the left file fails, the right one is not tried.
    static void deleteFiles(const QString& leftURL, const QString& rightURL);
};

} // namespace ostrel
