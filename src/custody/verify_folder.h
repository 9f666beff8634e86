// Compares a folder with every hash list it has: all generations of its history and of those in its subfolders, and old
// lists of version 1 that lie in it. Reads, and writes nothing.
//
// A file is read once, by the strongest of the quick formats that its lists hold (xxh128, xxh3, xxh64), else by the
// quickest of the others (md5, sha1, C4); with `everyFormat` by all of them. Blocks; for any thread.
#pragma once

#include "custody/file_verdict.h"
#include "custody/survey_digests.h"

namespace ostrel {

struct VerifyOptions {
    bool everyFormat = false;
};

struct VerifyResult {
    QString folder;
    int generations = 0;            // of the folder's own history
    int lists = 0;                  // old ones, and lists that were named
    std::vector<FileVerdict> files; // by path
    QStringList faults;  // differences that are no file's: damaged or missing lists, folders that can't be read
    QStringList remarks; // what a person should know, and no difference

    int count(FileState state) const;
    bool isWhole() const; // no difference at all
};

// `path` is a folder, or one hash list, of which the folder is taken and nothing counts as new. Throws FileError where
// there is nothing to compare with, StoppedError.
VerifyResult verifyFolder(const QString& path, const VerifyOptions& options = {}, const CustodyWatch& watch = {});

} // namespace ostrel
