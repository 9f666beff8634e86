#include "custody/lists/old_digests.h"

#include <QtEndian>
#include <algorithm>

namespace ostrel {
namespace {

std::optional<QByteArray> digestOfDecimal(const QString& text) {
    bool isNumber = false;
    const quint32 number = text.toUInt(&isNumber);
    if (!isNumber) return std::nullopt;
    QByteArray digest(4, '\0');
    qToBigEndian(number, digest.data());
    return digest;
}

std::optional<QByteArray> digestOfReversed(const QString& text) {
    std::optional<QByteArray> digest = digestFromText(HashFormat::xxh64, text);
    if (digest) std::reverse(digest->begin(), digest->end());
    return digest;
}

} // namespace

bool isOldDigestName(const QString& name) {
    static const QStringList names{QStringLiteral("md5"),      QStringLiteral("sha1"),       QStringLiteral("xxhash"),
                                   QStringLiteral("xxhash64"), QStringLiteral("xxhash64be"), QStringLiteral("null")};
    return names.contains(name);
}

std::optional<ListedHash> oldDigest(const QString& name, const QString& text) {
    HashFormat format = HashFormat::xxh64;
    std::optional<QByteArray> digest;
    if (name == QLatin1String("null")) {
        digest = QByteArray();
    } else if (name == QLatin1String("xxhash")) {
        format = HashFormat::xxh32;
        digest = digestOfDecimal(text);
    } else if (name == QLatin1String("xxhash64")) {
        digest = digestOfReversed(text);
    } else {
        format = hashFormatOf(name).value_or(HashFormat::xxh64); // md5, sha1; else xxhash64be
        digest = digestFromText(format, text);
    }
    if (!digest) return std::nullopt;
    return ListedHash{format, *digest, HashAction::none, {}};
}

} // namespace ostrel
