// One folder's entries as they stand, links not followed.
#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <vector>

namespace ostrel {

struct FolderEntry {
    enum class Kind { file, folder, other };
    Kind kind = Kind::file;
    QString name;
    quint64 size = 0; // bytes, of a file
    QDateTime modified;
    QString remark; // what an `other` one is: "a link"
};

struct FolderEntries {
    std::vector<FolderEntry> entries; // by the bytes of their names
    QStringList problems;             // sentences: names that are not UTF-8, or the folder can't be read
};

FolderEntries entriesOf(const QString& folder);

} // namespace ostrel
