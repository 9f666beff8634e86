// A hash list: what a seal wrote down of a folder. One generation of a folder's history, or an old list of version 1.
//
// Paths count from the folder that the list is for, with "/" between names; whoever holds one of these can rely on it
// that none leads out of that folder. Absent texts are empty, absent times invalid.
#pragma once

#include "custody/digests/hash_format.h"

#include <QDateTime>
#include <QString>
#include <QStringList>
#include <optional>
#include <utility>
#include <vector>

namespace ostrel {

// What a digest was, when it was written down. A `failed` one was not what earlier lists told, and is never compared
// with. Old lists say nothing: theirs are `none`.
enum class HashAction { none, original, verified, failed };
QString rawText(HashAction action); // "original"; empty for none

struct ListedHash {
    HashFormat format = HashFormat::xxh128;
    QByteArray digest;
    HashAction action = HashAction::none;
    QDateTime date;

    bool isTrusted() const { return action != HashAction::failed; }
};

// One element of another namespace, which a list carries for a file: where it comes from, say. Its name must not be one
// of the list's own words (path, hash, md5, ...), since some readers go by local names alone.
struct ForeignElement {
    QString prefix;       // "o"
    QString namespaceUri; // "urn:..."
    QString name;
    std::vector<std::pair<QString, QString>> attributes; // in this order

    bool operator==(const ForeignElement&) const = default;
};

struct ListEntry {
    enum class Kind { file, folder };
    Kind kind = Kind::file;
    QString path;
    QString previousPath; // under which an earlier list has it

    // Of a file. An old list may hold no digest at all: then the size alone is known.
    std::optional<quint64> size; // bytes
    QDateTime modified;
    std::vector<ListedHash> hashes;
    std::optional<ForeignElement> metadata;

    // Of a folder.
    Digests content;
    Digests structure;
};

// A list of a folder below that has a history of its own.
struct ListReference {
    QString path;
    QByteArray c4;
};

struct HashList {
    int version = 2; // 1 for the old ones
    QDateTime created;
    QString host;
    QString tool;
    QString toolVersion;
    QString process = QStringLiteral("in-place");
    Digests rootContent;
    Digests rootStructure;
    QStringList ignorePatterns;
    std::vector<ListEntry> entries;
    std::vector<ListReference> references;
};

} // namespace ostrel
