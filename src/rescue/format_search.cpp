#include "rescue/format_search.h"

#include "metadata/ixml/ixml_text.h"

#include <QString>
#include <QStringList>
#include <algorithm>

namespace ostrel {
namespace {

constexpr std::uint64_t kCodingHistory = 602; // in a bext chunk
constexpr std::size_t kMostText = std::size_t{16} << 20;

struct Told {
    int rate = 0; // Hz; 0: not told, like the others
    int bits = 0;
    int channels = 0;
    bool isWhole() const { return rate > 0 && bits > 0 && channels > 0; }
};

QString textOf(ByteSource& source, const std::vector<WaveChunk>& leading, std::string_view id, std::uint64_t from) {
    const auto found =
        std::find_if(leading.begin(), leading.end(), [id](const WaveChunk& chunk) { return chunk.id == id; });
    if (found == leading.end() || found->size <= from) return {};
    const std::size_t length = std::min<std::uint64_t>(found->size - from, kMostText);
    return QString::fromUtf8(QByteArray::fromStdString(source.read(found->payload + from, length)));
}

int channelsOfMode(const QString& mode) {
    if (mode == QLatin1String("mono")) return 1;
    const bool isPair =
        mode == QLatin1String("stereo") || mode == QLatin1String("dual-mono") || mode == QLatin1String("joint-stereo");
    return isPair ? 2 : 0;
}

// "2 Ch" in a recorder's own words.
int channelsOfText(const QString& text) {
    const QStringList words = text.split(u' ', Qt::SkipEmptyParts);
    for (qsizetype i = 0; i + 1 < words.size(); ++i) {
        if (words[i + 1].startsWith(QLatin1String("ch"), Qt::CaseInsensitive)) return words[i].toInt();
    }
    return 0;
}

// The last line of PCM: the audio that stands in the file.
Told byCodingHistory(const QString& history) {
    Told told;
    for (const QString& line : history.split(u'\n')) {
        if (!line.contains(QLatin1String("A=PCM"), Qt::CaseInsensitive)) continue;
        told = {};
        for (const QString& part : QString(line).remove(u'\0').trimmed().split(u',')) {
            const QString value = part.section(u'=', 1).trimmed();
            const QString key = part.section(u'=', 0, 0).trimmed().toUpper();
            if (key == QLatin1String("F")) told.rate = value.toInt();
            if (key == QLatin1String("W")) told.bits = value.toInt();
            if (key == QLatin1String("M") && told.channels == 0) told.channels = channelsOfMode(value.toLower());
            if (key == QLatin1String("T") && channelsOfText(value) > 0) told.channels = channelsOfText(value);
        }
    }
    return told;
}

Told byIxml(const QString& xml) {
    return {numberInElement(xml, u"FILE_SAMPLE_RATE").value_or(0), numberInElement(xml, u"AUDIO_BIT_DEPTH").value_or(0),
            numberInElement(xml, u"TRACK_COUNT").value_or(0)};
}

// Nothing for numbers that no recording has.
std::optional<WaveFormat> formatOfPcm(const Told& told) {
    const bool isLikely = told.rate >= 1000 && told.rate <= 1'000'000 && told.bits >= 8 && told.bits <= 32 &&
                          told.bits % 8 == 0 && told.channels >= 1 && told.channels <= 1024;
    if (!isLikely) return std::nullopt;
    WaveFormat format;
    format.tag = WaveFormat::pcm;
    format.channels = static_cast<std::uint16_t>(told.channels);
    format.sampleRate = static_cast<std::uint32_t>(told.rate);
    format.bits = static_cast<std::uint16_t>(told.bits);
    format.blockAlign = static_cast<std::uint16_t>(told.channels * told.bits / 8);
    return format;
}

} // namespace

std::optional<LikeFile> readLikeFile(const std::string& path) {
    const std::optional<WaveLayout> layout = readWaveLayout(path);
    if (!layout || !layout->data || !layout->format || layout->format->blockAlign == 0) return std::nullopt;
    LikeFile like{*layout->format, layout->data->payload, {}};
    for (const WaveChunk& chunk : layout->chunks) {
        if (chunk.payload < like.audio) like.leading.push_back(chunk);
    }
    return like;
}

FoundFormat searchFormat(ByteSource& source, const std::vector<WaveChunk>& leading, const LikeFile* like) {
    Told history = byCodingHistory(textOf(source, leading, "bext", kCodingHistory));
    const Told xml = byIxml(textOf(source, leading, "iXML", 0));
    const bool isContradicted = history.channels > 0 && xml.channels > 0 && history.channels != xml.channels;
    const bool isHistoryPcm = history.rate > 0 || history.bits > 0;
    if (history.channels == 0) history.channels = xml.channels;
    if (history.rate == 0) history.rate = xml.rate;
    if (history.bits == 0 && (isHistoryPcm || xml.bits != 32)) history.bits = xml.bits;
    if (!isContradicted && history.isWhole()) {
        if (const auto format = formatOfPcm(history)) return {format, isHistoryPcm ? "the coding history" : "iXML"};
    }
    if (like) return {like->format, "the healthy take"};
    if (isContradicted) {
        return {std::nullopt, "no format: the coding history tells " + std::to_string(history.channels) +
                                  " channels and iXML " + std::to_string(xml.channels) +
                                  "; name a healthy take of the same card (--like)"};
    }
    return {std::nullopt,
            "no format: looked for a \"fmt \" chunk, for F=, W= and M= in the coding history of bext, and for "
            "rate, bits and tracks in iXML; name a healthy take of the same card (--like)"};
}

} // namespace ostrel
