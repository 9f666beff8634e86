// Hashes of folders, made of those of what they hold. Pure; one format throughout.
#pragma once

#include "custody/digests/hash_format.h"

#include <QString>
#include <vector>

namespace ostrel {

struct FolderHashes {
    QByteArray content;   // of what it holds, whatever that is called
    QByteArray structure; // of names and place too
};

class DirectoryHash {
public:
    explicit DirectoryHash(HashFormat format) : format_(format) {}

    void addFile(const QString& name, const QByteArray& digest) { add(name, digest, digest); }
    void addFolder(const QString& name, const FolderHashes& hashes) { add(name, hashes.content, hashes.structure); }

    // In whichever order they were added.
    FolderHashes finish() const;

private:
    void add(const QString& name, const QByteArray& content, const QByteArray& structure);

    HashFormat format_;
    std::vector<QByteArray> contents_;
    std::vector<QByteArray> structures_;
};

} // namespace ostrel
