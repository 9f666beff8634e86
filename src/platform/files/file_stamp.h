// Which file stands under a name, and in which state: to be asked again ahead of a step that relies on it.
#pragma once

#include <QString>
#include <optional>

namespace ostrel {

// Device and inode: the same for every name (link) of one file.
struct FileIdentity {
    quint64 device = 0;
    quint64 inode = 0;

    auto operator<=>(const FileIdentity&) const = default;
};

struct FileStamp {
    FileIdentity identity;
    quint64 size = 0;    // bytes
    qint64 modified = 0; // nanoseconds since 1970
    quint64 links = 1;   // hard links; no part of what makes two stamps equal
    qint64 changed = 0;  // nanoseconds since 1970, of contents, name or permissions; no part of it either

    bool operator==(const FileStamp& other) const {
        return identity == other.identity && size == other.size && modified == other.modified;
    }

    // Of the regular file that the path leads to, through links; nothing where there is none.
    static std::optional<FileStamp> of(const QString& path);
    static std::optional<FileStamp> of(int descriptor);
};

// Of whatever the path leads to, folders too; nothing where nothing stands.
std::optional<FileIdentity> identityOf(const QString& path);

} // namespace ostrel
