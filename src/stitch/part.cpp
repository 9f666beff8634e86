#include "stitch/part.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/bext_identity.h"
#include "metadata/ixml/ixml_text.h"
#include "metadata/ixml_fitting.h"
#include "wave/opened_file.h"

#include <QFile>

namespace ostrel {
namespace {

constexpr int kWidestSample = 8; // bytes

QString textOf(const QString& document, QStringView tag) {
    const auto element = plainElement(document, tag, false);
    return element ? decodeXMLText(element->innerText(document)).trimmed() : QString();
}

// Some recorders write the low word with a sign.
std::optional<quint64> wordOf(const QString& text) {
    bool isNumber = false;
    const qint64 value = text.toLongLong(&isNumber);
    if (!isNumber || value < -2'147'483'648LL || value > 4'294'967'295LL) return std::nullopt;
    return static_cast<quint64>(value) & 0xFFFFFFFFU;
}

std::optional<quint64> timestampOf(const QString& document) {
    const auto low = wordOf(textOf(document, u"TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO"));
    const auto high = wordOf(textOf(document, u"TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI"));
    return low ? std::optional(high.value_or(0) << 32 | *low) : std::nullopt;
}

// A list of one track is that of a mono file, whatever index it has there.
QStringList tracksIn(const QString& document, int channels) {
    QStringList result;
    const auto only = channels == 1 ? onlyTrack(document) : std::nullopt;
    const std::vector<TrackIndices> tracks = only ? std::vector{*only} : tracksOf(document, channels);
    bool isTold = false;
    for (const TrackIndices& track : tracks) {
        isTold |= track.channelIndex != 0 || !track.trackName.isEmpty();
        result << QStringLiteral("%1 %2").arg(track.channelIndex).arg(track.trackName);
    }
    return isTold ? result : QStringList();
}

void readDocument(const QByteArray& chunk, Part& part) {
    const std::optional<QString> document = decodedIxml(chunk);
    if (!document) return;
    part.familyUid = textOf(*document, u"FAMILY_UID");
    part.scene = textOf(*document, u"SCENE");
    part.take = textOf(*document, u"TAKE");
    part.tracks = tracksIn(*document, part.layout.format ? part.layout.format->channels : 0);
    part.timecodeRate = TimecodeRate::of(textOf(*document, u"TIMECODE_RATE"), textOf(*document, u"TIMECODE_FLAG"));
    if (!part.start) part.start = timestampOf(*document);
}

// Its length has to be beyond doubt: where the next part begins follows from it.
QString faultOf(const WaveLayout& layout, const std::string& path) {
    const bool isLinear =
        layout.format && (layout.format->tag == WaveFormat::pcm || layout.format->tag == WaveFormat::ieeeFloat);
    if (!layout.data || !layout.format) return QStringLiteral("it has no audio");
    const int width = layout.format->bytesPerSample();
    if (!isLinear || width < 1 || width > kWidestSample || layout.format->sampleRate == 0) {
        return QStringLiteral("it does not hold plain integers or floats");
    }
    const bool isSound = !layout.isStreamed && !layout.sizesDisagree && missingBytes(layout) == 0 &&
                         unexplainedBytes(layout, OpenedFile(path).get()) == 0 &&
                         layout.audioBytes() % layout.format->blockAlign == 0;
    if (!isSound)
        return QStringLiteral("its head does not tell its true length: if it was never closed, rescue it first");
    return layout.frames() == 0 ? QStringLiteral("it is empty") : QString();
}

} // namespace

Part readPart(const QString& path) {
    Part part{.path = path};
    const std::string native = QFile::encodeName(path).toStdString();
    const std::optional<WaveLayout> layout = readWaveLayout(native);
    if (!layout) {
        part.fault = QStringLiteral("it is no WAV file, or not to be read");
        return part;
    }
    part.layout = *layout;
    part.fault = faultOf(*layout, native);
    const WaveChunks chunks(path);
    const auto bext = chunks.bytes("bext");
    if (const auto identity = bext ? bextIdentityOf(*bext) : std::nullopt) {
        part.originator = identity->originator;
        part.start = identity->timeReference;
    }
    if (const auto document = chunks.bytes("iXML")) readDocument(*document, part);
    if (part.fault.isEmpty() && !part.start) part.fault = QStringLiteral("it tells no start time");
    return part;
}

} // namespace ostrel
