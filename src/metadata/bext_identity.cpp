#include "metadata/bext_identity.h"

#include "wave/wave_layout.h"

#include <QFile>
#include <QtEndian>
#include <algorithm>

namespace ostrel {
namespace {

constexpr qint64 kDescription = 256; // bytes, and so for the others
constexpr qint64 kIdentity = 346;    // up to the end of TimeReference

std::optional<qint64> bextOf(const QString& file) {
    const std::optional<WaveLayout> layout = readWaveLayout(QFile::encodeName(file).toStdString());
    if (!layout) return std::nullopt;
    const auto bext = std::find_if(layout->chunks.begin(), layout->chunks.end(),
                                   [](const WaveChunk& chunk) { return chunk.id == "bext"; });
    if (bext == layout->chunks.end() || bext->size < static_cast<std::uint64_t>(kIdentity)) return std::nullopt;
    return static_cast<qint64>(bext->payload);
}

QByteArray bytesAt(const QString& file, qint64 offset, qint64 count) {
    QFile opened(file);
    if (!opened.open(QIODevice::ReadOnly) || !opened.seek(offset)) return {};
    return opened.read(count);
}

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

std::optional<BextIdentity> readBextIdentity(const QString& file) {
    const std::optional<qint64> start = bextOf(file);
    const QByteArray bytes = start ? bytesAt(file, *start, kIdentity) : QByteArray();
    if (bytes.size() != kIdentity) return std::nullopt;
    return BextIdentity{textAt(bytes, 0, kDescription), textAt(bytes, 256, 32),
                        textAt(bytes, 288, 32),         textAt(bytes, 320, 10),
                        textAt(bytes, 330, 8),          qFromLittleEndian<quint64>(bytes.constData() + 338)};
}

} // namespace ostrel
