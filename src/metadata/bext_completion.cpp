#include "metadata/bext_completion.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/bext/description_lines.h"
#include "metadata/chunks/chunk_setting.h"
#include "platform/paths.h"
#include "wave/wave_layout.h"

#include <QFile>
#include <optional>

namespace ostrel {
namespace {

constexpr qsizetype kDescriptionBytes = 256;
constexpr qint64 kUmid = 348; // offset of its 64 bytes in the payload
constexpr qint64 kUmidBytes = 64;
constexpr qint64 kLargest = 1 << 20; // bytes; a coding history is a few lines

} // namespace

QByteArray bextFor(QByteArray sourceBext, const QByteArray& targetIxml, SourceUmid umid, const QString& fileName,
                   const DescriptionWish& wish) {
    if (umid == SourceUmid::cleared && sourceBext.size() >= kUmid + kUmidBytes) {
        sourceBext.replace(kUmid, kUmidBytes, QByteArray(kUmidBytes, '\0'));
    }
    if (sourceBext.size() < kDescriptionBytes) return sourceBext;
    std::vector<NamedChannel> channels = namedChannelsOf(targetIxml);
    if (wish.conforms && channels.empty()) channels = wish.channels;
    QByteArray description = fittedDescription(sourceBext.first(kDescriptionBytes), channels, fileName);
    if (wish.conforms) description = descriptionWith(description, {}, true).value_or(description);
    return sourceBext.replace(0, kDescriptionBytes, description);
}

bool refitDescription(const QString& file) {
    const WaveChunks chunks(file);
    const auto place = chunks.find("bext");
    const auto bext = chunks.bytes("bext");
    if (!place || !bext) return true;
    const QByteArray wanted = bextFor(*bext, chunks.bytes("iXML").value_or(QByteArray()), SourceUmid::kept, QString());
    return wanted == *bext || overwrite(file, place->payload, wanted);
}

BextCompletion completeBext(const QString& source, const QString& target, SourceUmid umid, const QString& fileName,
                            const DescriptionWish& wish) {
    const std::optional<ChunkPlace> from = findChunk(source, "bext");
    if (!from || !readWaveLayout(QFile::encodeName(target).toStdString())) return {};
    if (from->size > kLargest) return {false, QStringLiteral("the bext chunk of the source is too large")};
    QByteArray wanted = bytesAt(source, *from, kLargest);
    if (wanted.size() != from->size) return {false, QStringLiteral("the bext chunk of the source can't be read")};
    wanted = bextFor(wanted, WaveChunks(target).bytes("iXML").value_or(QByteArray()), umid, fileName, wish);
    // A longer coding history of the target's own ends in zeros, which are no text.
    if (const QString why = setChunk(target, "bext", wanted, '\0'); !why.isEmpty()) {
        return {false, QStringLiteral("no room for the bext chunk: ") + why};
    }
    const QByteArray now = WaveChunks(target).bytes("bext").value_or(QByteArray());
    if (now.isEmpty() || now != wanted.leftJustified(now.size(), '\0')) {
        return {false, QStringLiteral("the bext chunk can't be read back")};
    }
    return {true, QString()};
}

QByteArray bextFor(QByteArray bext, SourceUmid umid) {
    if (umid == SourceUmid::cleared && bext.size() >= kUmid + kUmidBytes) {
        bext.replace(kUmid, kUmidBytes, QByteArray(kUmidBytes, '\0'));
    }
    return bext;
}

QString differingBextSentence(const QString& source, const BextCompletion& completion) {
    return QStringLiteral("The new file's BEXT is not that of %1: %2")
        .arg(paths::lastComponent(source), completion.why);
}

} // namespace ostrel
