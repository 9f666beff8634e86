// What became of a file since it was sealed.
#pragma once

#include "custody/folder_survey.h"

namespace ostrel {

enum class FileState { verified, changed, missing, isNew, unreadable };
QString rawText(FileState state); // "verified", "changed", "missing", "new", "unreadable"

struct FileVerdict {
    QString path; // from the folder; one of a folder itself ends with "/"
    FileState state = FileState::verified;
    std::optional<HashFormat> format; // what it was checked by
    QByteArray digest;                // of the file as it is; of a missing one, as it was
    QString detail;                   // a sentence, where there is more to be said

    QString hash() const { return format ? digestText(*format, digest) : QString(); }
};

// Of a file that was read. `known` is null for one that no list names.
FileVerdict verdictOf(const FoundFile& file, const KnownFile* known);
FileVerdict verdictOfMissing(const QString& path, const KnownFile& known);

} // namespace ostrel
