// What all generations of a sealed folder tell together.
//
// Only lists whose bytes are those that the chain names are believed; whatever is wrong with the others is a fault, and
// each fault is a difference. Blocks on the disk; for any thread.
#pragma once

#include "custody/lists/chain.h"
#include "custody/lists/hash_list.h"

#include <map>
#include <set>

namespace ostrel {

// What lists tell of one file. More than one digest of a format: the lists contradict each other, and no file is right.
struct KnownFile {
    std::optional<quint64> size; // bytes
    std::map<HashFormat, std::set<QByteArray>> digests;
    std::map<HashFormat, QByteArray> lastFailed; // that a list wrote down as another than before; never compared with
    bool bySizeAlone = false;                    // an old list holds no digest of it

    void add(const ListEntry& entry);
    void merge(const KnownFile& other);
    // The format to check it by: the strongest of those that are quick, otherwise the quickest of the others.
    std::optional<HashFormat> preferredFormat() const;
};
using KnownFiles = std::map<QString, KnownFile>; // by path from the folder

struct SealHistory {
    QString folder;
    Chain chain;
    QByteArray chainFile; // its bytes as they were read; empty: there is none
    KnownFiles files;
    std::set<QString> folders;        // those that the last generation names
    QStringList ignorePatterns;       // of all generations, those that always hold first
    std::optional<HashFormat> format; // of the last generation's own hashes
    QStringList faults;               // one sentence each
    QStringList remarks;

    bool isSealed() const { return !chain.empty(); }
};

// Never throws for what is wrong with the history; an empty one where the folder has none.
SealHistory readHistory(const QString& folder);

// Takes what a list tells into `files`, renames included: a file that has another name by now is known by that one.
void addToKnown(const HashList& list, KnownFiles& files);

// Whether one of the names on the way from the folder down is a link: what it leads to may lie anywhere.
bool leadsThroughLink(const QString& folder, const QString& path);

} // namespace ostrel
