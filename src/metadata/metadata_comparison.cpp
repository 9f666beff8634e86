#include "metadata/metadata_comparison.h"

#include "metadata/chunks/chunk_bytes.h"

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

// Chunks that tell of a recording and that a job may meet.
constexpr std::array kChunks{"iXML", "SMED", "aXML", "axml", "chna", "XMP ", "_PMX", "MD5 ", "UMID",
                             "umid", "acid", "Tdat", "cart", "minf", "regn", "cue ", "smpl", "inst"};

// Texts end at their first NUL, and what a recorder left behind it is no text.
QByteArray valueOf(const QByteArray& bext, const BextField& field) {
    QByteArray value = bext.mid(field.offset, field.size);
    if (field.offset < 338 || field.size == kToTheEnd) {
        const qsizetype end = value.indexOf('\0');
        return end < 0 ? value : value.first(end);
    }
    return value.count('\0') == value.size() ? QByteArray() : value;
}

void compareBext(const QByteArray& source, const QByteArray& target, SourceUmid umid, MetadataRecord& record) {
    for (const BextField& field : kBextFields) {
        const QByteArray was = valueOf(source, field);
        const QByteArray is = valueOf(target, field);
        const QString name = QString::fromLatin1(field.name);
        if (was.isEmpty()) continue;
        if (was == is) {
            record.kept << name;
        } else if (is.isEmpty()) {
            const bool isCleared = umid == SourceUmid::cleared && name == QStringLiteral("UMID");
            (isCleared ? record.renewed : record.lost) << name;
        } else {
            record.changed << name;
        }
    }
}

void compareChunk(const char* id, const WaveChunks& source, const WaveChunks& target, MetadataRecord& record) {
    if (!source.find(id)) return;
    const QString name = QString::fromLatin1(id).trimmed();
    const auto place = target.find(id);
    if (!place || (place->size == 0 && source.find(id)->size > 0)) {
        record.lost << name;
        return;
    }
    const auto was = source.bytes(id);
    if (was && was == target.bytes(id)) {
        record.kept << name;
    } else {
        const bool isRenewed = qstrcmp(id, "iXML") == 0 || qstrcmp(id, "MD5 ") == 0;
        (isRenewed ? record.renewed : record.changed) << name;
    }
}

} // namespace

MetadataRecord compareMetadata(const QString& source, const QString& target, SourceUmid umid) {
    MetadataRecord record;
    const WaveChunks was(source);
    const WaveChunks is(target);
    if (const auto bext = was.bytes("bext")) compareBext(*bext, is.bytes("bext").value_or(QByteArray()), umid, record);
    for (const char* id : kChunks) compareChunk(id, was, is, record);
    return record;
}

} // namespace ostrel
