#include "stitch/stitched_head.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_fitting.h"
#include "metadata/ixml_surgery.h"
#include "platform/paths.h"
#include "roads/head_chunks.h"
#include "wave/wave_head.h"

#include <algorithm>

namespace ostrel {
namespace {

constexpr std::size_t kVersion = 346; // offsets in a bext chunk, EBU Tech 3285
constexpr std::size_t kLoudness = 412;
constexpr std::size_t kLoudnessFields = 5;

struct Parent {
    QString name;
    QString uid; // empty: it tells none
};

QString documentOf(const QString& file) {
    const auto bytes = WaveChunks(file).bytes("iXML");
    return bytes ? decodedIxml(*bytes).value_or(QString()) : QString();
}

Parent parentOf(const Part& part) {
    return {paths::lastComponent(part.path), extractValue(documentOf(part.path), u"FILE_UID")};
}

// Behind the first parent, which is there already.
QString namingFurther(QString xml, const Series& series) {
    const auto history = elementAcrossLines(xml, u"HISTORY");
    if (!history) return xml;
    QString further;
    for (auto part = series.parts.begin() + 1; part != series.parts.end(); ++part) {
        const Parent parent = parentOf(*part);
        further += QStringLiteral("\n\t\t<PARENT_FILENAME>%1</PARENT_FILENAME>").arg(encodeXMLText(parent.name));
        if (!parent.uid.isEmpty()) further += QStringLiteral("\n\t\t<PARENT_UID>%1</PARENT_UID>").arg(parent.uid);
    }
    const QString inner = history->innerText(xml);
    qsizetype at = 0; // behind the last line of it
    for (qsizetype i = inner.size(); i > 0; --i) {
        if (!inner[i - 1].isSpace()) {
            at = i;
            break;
        }
    }
    return xml.insert(history->innerStart + at, further);
}

QString documentFor(const Series& series, const IxmlPlace& place) {
    const QString bare = QStringLiteral("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n"
                                        "\t<IXML_VERSION>1.61</IXML_VERSION>\n\t<FILE_UID>%1</FILE_UID>\n</BWFXML>\n");
    return namingFurther(placedIxml(bare.arg(generateFileUID()), place), series);
}

void nameParts(std::vector<WaveHeadChunk>& chunks, const Series& series, const IxmlPlace& place,
               QStringList& warnings) {
    const auto found = std::ranges::find(chunks, "iXML", &WaveHeadChunk::id);
    if (found == chunks.end()) {
        chunks.push_back({"iXML", documentFor(series, place).toUtf8().toStdString()});
        return;
    }
    const auto document = decodedIxml(QByteArray::fromStdString(found->bytes));
    const QString named = document ? namingFurther(*document, series) : QString();
    if (document && named != *document) {
        found->bytes = named.toUtf8().toStdString();
    } else {
        warnings << QStringLiteral("The iXML document of %1 can't be edited: it names no parts")
                        .arg(paths::lastComponent(series.parts.front().path));
    }
}

void clearLoudness(std::vector<WaveHeadChunk>& chunks) {
    const auto bext = std::ranges::find(chunks, "bext", &WaveHeadChunk::id);
    if (bext == chunks.end() || bext->bytes.size() < kLoudness + 2 * kLoudnessFields) return;
    const bool hasLoudness = bext->bytes[kVersion] >= 2 || bext->bytes[kVersion + 1] != 0;
    for (std::size_t i = 0; hasLoudness && i < kLoudnessFields; ++i) {
        bext->bytes.replace(kLoudness + 2 * i, 2, "\xFF\x7F"); // not measured
    }
}

// Places in the audio of a part that would be others in the whole.
void tellMarkers(const Series& series, QStringList& warnings) {
    for (auto part = series.parts.begin() + 1; part != series.parts.end(); ++part) {
        if (!part->layout.find("cue ")) continue;
        warnings << QStringLiteral("The markers of %1 are left out").arg(paths::lastComponent(part->path));
    }
}

std::vector<TrackIndices> tracksFor(const QString& file, int channels) {
    const QString document = documentOf(file);
    if (document.isEmpty()) return {};
    const auto only = channels == 1 ? onlyTrack(document) : std::nullopt;
    return only ? std::vector{*only} : tracksOf(document, channels);
}

} // namespace

StitchedHead stitchedHead(const Series& series, quint64 frames, const QString& fileName, const StitchedPlace& place) {
    const Part& first = series.parts.front();
    const int channels = first.layout.format->channels;
    PlannedOutput output;
    for (int channel = 0; channel < channels; ++channel) output.channels.push_back({first.path, channel});
    const IxmlPlace inSet{fileName, paths::lastComponent(first.path), place.number, place.total};
    output.head = {.source = first.path,
                   .umid = SourceUmid::cleared,
                   .tracks = tracksFor(first.path, channels),
                   .place = inSet,
                   .speakers = first.layout.format->speakers};
    HeadChunks head = headChunksOf(output, first.layout);
    nameParts(head.chunks, series, inSet, head.warnings);
    clearLoudness(head.chunks);
    tellMarkers(series, head.warnings);
    const bool hasMd5 = std::ranges::find(head.chunks, "MD5 ", &WaveHeadChunk::id) != head.chunks.end();
    const WaveFormat& format = *first.layout.format;
    return {headBytes({format, frames * format.blockAlign, std::move(head.chunks)}), hasMd5, head.warnings};
}

} // namespace ostrel
