#include "metadata/bext_identity.h"

#include "foundation/chunks/chunk_bytes.h"

#include <QtEndian>

namespace ostrel {
namespace {

constexpr qint64 kDescription = 256; // bytes, and so for the others
constexpr qint64 kIdentity = 346;    // up to the end of TimeReference

QByteArray textAt(const QByteArray& bytes, qsizetype offset, qsizetype size) {
    const QByteArray field = bytes.mid(offset, size);
    const qsizetype end = field.indexOf('\0');
    return end < 0 ? field : field.first(end);
}

} // namespace

QStringList BextIdentity::differencesFrom(const BextIdentity& other) const {
    QStringList names;
    const auto compare = [&](const auto& mine, const auto& others, const char16_t* name) {
        if (mine != others) names << QString::fromUtf16(name);
    };
    compare(description, other.description, u"Description");
    compare(originator, other.originator, u"Originator");
    compare(originatorReference, other.originatorReference, u"OriginatorReference");
    compare(originationDate, other.originationDate, u"OriginationDate");
    compare(originationTime, other.originationTime, u"OriginationTime");
    compare(timeReference, other.timeReference, u"TimeReference");
    return names;
}

std::optional<BextIdentity> bextIdentityOf(const QByteArray& bext) {
    if (bext.size() < kIdentity) return std::nullopt;
    return BextIdentity{textAt(bext, 0, kDescription), textAt(bext, 256, 32),
                        textAt(bext, 288, 32),         textAt(bext, 320, 10),
                        textAt(bext, 330, 8),          qFromLittleEndian<quint64>(bext.constData() + 338)};
}

std::optional<BextIdentity> readBextIdentity(const QString& file) {
    const std::optional<ChunkPlace> place = findChunk(file, "bext");
    return bextIdentityOf(place ? bytesAt(file, *place, kIdentity) : QByteArray());
}

} // namespace ostrel
