#include "metadata/metadata_comparison.h"

#include "foundation/chunks/chunk_bytes.h"

#include <QSet>
#include <algorithm>
#include <array>

namespace ostrel {
namespace {

struct BextField {
    const char* name;
    qsizetype offset;
    qsizetype size;
};

constexpr qsizetype kToTheEnd = -1;
constexpr std::array<BextField, 10> kBextFields{{{"Description", 0, 256},
                                                 {"Originator", 256, 32},
                                                 {"OriginatorReference", 288, 32},
                                                 {"OriginationDate", 320, 10},
                                                 {"OriginationTime", 330, 8},
                                                 {"TimeReference", 338, 8},
                                                 {"BextVersion", 346, 2},
                                                 {"UMID", 348, 64},
                                                 {"loudness", 412, 10},
                                                 {"CodingHistory", 602, kToTheEnd}}};

// How a file is laid out, what is compared otherwise, and pictures of the audio that programs draw anew.
bool tellsNothing(const QByteArray& kind) {
    static const QSet<QByteArray> kinds{"fmt ", "data", "ds64", "fact", "bext", "LIST INFO", "JUNK", "junk",
                                        "PAD ", "FLLR", "filr", "wavl", "slnt", "PEAK",      "levl"};
    return kinds.contains(kind);
}

// Texts end at their first NUL, and what a recorder left behind it is no text.
QByteArray valueOf(const QByteArray& bext, const BextField& field) {
    QByteArray value = bext.mid(field.offset, field.size);
    if (field.offset < 338 || field.size == kToTheEnd) {
        const qsizetype end = value.indexOf('\0');
        return end < 0 ? value : value.first(end);
    }
    return value.count('\0') == value.size() ? QByteArray() : value;
}

// `wanted`: the source's as it was to go onto the target.
void compareBext(const QByteArray& source, const QByteArray& target, const QByteArray& wanted, MetadataRecord& record) {
    for (const BextField& field : kBextFields) {
        const QByteArray was = valueOf(source, field);
        const QByteArray is = valueOf(target, field);
        const QString name = QString::fromLatin1(field.name);
        if (was.isEmpty()) continue;
        if (was == is) {
            record.kept << name;
        } else if (is == valueOf(wanted, field)) {
            record.renewed << name;
        } else {
            (is.isEmpty() ? record.lost : record.changed) << name;
        }
    }
}

void compareChunk(const ChunkOfKind& chunk, const WaveChunks& source, const WaveChunks& target,
                  MetadataRecord& record) {
    const QString name = QString::fromLatin1(chunk.kind).trimmed();
    const auto place = target.findKind(chunk.kind);
    if (!place || (place->size == 0 && chunk.place.size > 0)) {
        record.lost << name;
        return;
    }
    const auto was = source.bytes(chunk.place);
    if (was && was == target.bytes(*place)) {
        record.kept << name;
    } else {
        const bool isRenewed = chunk.kind == "iXML" || chunk.kind == "MD5 ";
        (isRenewed ? record.renewed : record.changed) << name;
    }
}

} // namespace

MetadataRecord compareMetadata(const QString& source, const QString& target, SourceUmid umid, const QString& fileName,
                               const DescriptionWish& wish) {
    MetadataRecord record;
    const WaveChunks was(source);
    const WaveChunks is(target);
    if (const auto bext = was.bytes("bext")) {
        const QByteArray wanted = bextFor(*bext, is.bytes("iXML").value_or(QByteArray()), umid, fileName, wish);
        compareBext(*bext, is.bytes("bext").value_or(QByteArray()), wanted, record);
    }
    QSet<QByteArray> seen; // of several of a kind the first counts
    for (const ChunkOfKind& chunk : was.all()) {
        if (tellsNothing(chunk.kind) || seen.contains(chunk.kind)) continue;
        seen.insert(chunk.kind);
        compareChunk(chunk, was, is, record);
    }
    return record;
}

} // namespace ostrel
