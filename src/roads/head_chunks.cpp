#include "roads/head_chunks.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_fitting.h"
#include "platform/paths.h"

#include <QtEndian>
#include <algorithm>
#include <array>

namespace ostrel {
namespace {

constexpr std::uint64_t kLargest = 64 << 20; // bytes; pictures in ID3 and XMP documents are the largest that are met
constexpr qsizetype kChnaHead = 4;
constexpr qsizetype kChnaRow = 40;

// What is made anew for every file, or tells of the old one's bytes alone.
bool belongsToTheOldFile(const std::string& id) {
    static constexpr std::array kIds{"fmt ", "fact", "data", "ds64", "JUNK", "junk", "PAD ",
                                     "pad ", "FLLR", "filr", "PEAK", "levl", "slnt", "wavl"};
    return std::ranges::any_of(kIds, [&](const char* each) { return id == each; });
}

bool isOfTheWholeSet(const std::string& id) { return id == "axml" || id == "chna"; }

// Each row names its track by its place in the file, from 1; 0 is no row.
QByteArray chnaOf(QByteArray chna, const std::vector<int>& positions) {
    for (qsizetype at = kChnaHead; at + kChnaRow <= chna.size(); at += kChnaRow) {
        const auto track = qFromLittleEndian<quint16>(chna.constData() + at);
        if (track == 0 || track > positions.size()) continue;
        qToLittleEndian(static_cast<quint16>(positions[track - 1U] + 1), chna.data() + at);
    }
    return chna;
}

std::string* payloadOf(std::vector<WaveHeadChunk>& chunks, const char* id) {
    const auto found = std::ranges::find(chunks, id, &WaveHeadChunk::id);
    return found == chunks.end() ? nullptr : &found->bytes;
}

// Its lines speak of the tracks that the document lists, so it comes last.
void fitDescription(std::vector<WaveHeadChunk>& chunks, const HeadRecipe& recipe) {
    std::string* bext = payloadOf(chunks, "bext");
    const std::string* ixml = payloadOf(chunks, "iXML");
    if (!bext) return;
    const QByteArray document = ixml ? QByteArray::fromStdString(*ixml) : QByteArray();
    *bext = bextFor(QByteArray::fromStdString(*bext), document, recipe.umid, recipe.place.fileName,
                    recipe.descriptionWish())
                .toStdString();
}

} // namespace

DescriptionWish HeadRecipe::descriptionWish() const {
    DescriptionWish wish{.conforms = conforms};
    for (std::size_t i = 0; conforms && i < tracks.size(); ++i) {
        const int number = tracks[i].channelIndex > 0 ? tracks[i].channelIndex : static_cast<int>(i) + 1;
        wish.channels.push_back({number, decodeXMLText(tracks[i].trackName)});
    }
    return wish;
}

std::vector<int> wholeSetOf(const PlannedOutput& output, int sourceChannels) {
    std::vector<int> positions(static_cast<std::size_t>(sourceChannels), -1);
    if (output.channels.size() != positions.size()) return {};
    for (std::size_t i = 0; i < output.channels.size(); ++i) {
        const ChannelPlace& place = output.channels[i];
        const bool isOwn = place.file == output.head.source && place.channel >= 0 && place.channel < sourceChannels;
        if (!isOwn || positions[static_cast<std::size_t>(place.channel)] >= 0) return {};
        positions[static_cast<std::size_t>(place.channel)] = static_cast<int>(i);
    }
    return positions;
}

HeadChunks headChunksOf(const PlannedOutput& output, const WaveLayout& source) {
    const HeadRecipe& recipe = output.head;
    const std::vector<int> positions = wholeSetOf(output, source.format ? source.format->channels : 0);
    HeadChunks head;
    for (const WaveChunk& chunk : source.chunks) {
        const bool isSecond = (chunk.id == "bext" || chunk.id == "iXML") && &chunk != source.find(chunk.id);
        if (isSecond || belongsToTheOldFile(chunk.id) || (isOfTheWholeSet(chunk.id) && positions.empty())) continue;
        const QString name = QString::fromLatin1(chunk.id.c_str()).trimmed();
        const auto lost = [&](const char* why) {
            head.warnings << QStringLiteral("The %1 chunk of %2 is lost: %3")
                                 .arg(name, paths::lastComponent(recipe.source), QLatin1String(why));
        };
        if (chunk.size > kLargest || chunk.payloadEnd() > source.fileSize) {
            lost(chunk.size > kLargest ? "it is too large" : "it overruns the file");
            continue;
        }
        const ChunkPlace place{static_cast<qint64>(chunk.payload), static_cast<qint64>(chunk.size)};
        QByteArray bytes = bytesAt(recipe.source, place, place.size);
        if (bytes.size() != place.size) {
            lost("it can't be read");
            continue;
        }
        if (chunk.id == "chna") bytes = chnaOf(bytes, positions);
        if (chunk.id == "iXML" && !recipe.tracks.empty()) bytes = fittedIxml(bytes, recipe.tracks, recipe.place);
        head.chunks.push_back({chunk.id, bytes.toStdString()});
    }
    fitDescription(head.chunks, recipe);
    return head;
}

} // namespace ostrel
