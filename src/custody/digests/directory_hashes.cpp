#include "custody/digests/directory_hashes.h"

#include "custody/digests/digest.h"

#include <algorithm>
#include <cstring>

namespace ostrel {
namespace {

bool isLessByBytes(const QByteArray& a, const QByteArray& b) {
    return std::memcmp(a.constData(), b.constData(), static_cast<std::size_t>(std::min(a.size(), b.size()))) < 0;
}

// Equal ones stay, each in its place.
QByteArray listHash(HashFormat format, std::vector<QByteArray> digests) {
    std::sort(digests.begin(), digests.end(), isLessByBytes);
    Digest list(format);
    for (const QByteArray& digest : digests) list.add(digest);
    return list.finish();
}

} // namespace

void DirectoryHash::add(const QString& name, const QByteArray& content, const QByteArray& structure) {
    contents_.push_back(content);
    structures_.push_back(Digest::of(format_, name.toUtf8() + structure));
}

FolderHashes DirectoryHash::finish() const { return {listHash(format_, contents_), listHash(format_, structures_)}; }

} // namespace ostrel
