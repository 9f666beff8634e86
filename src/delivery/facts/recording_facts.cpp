#include "delivery/facts/recording_facts.h"

#include "foundation/chunks/chunk_bytes.h"
#include "metadata/bext/description_lines.h"
#include "platform/text/regular_expression.h"

#include <QFile>
#include <QtEndian>

namespace ostrel {
namespace {

constexpr qsizetype kVersion = 346;
constexpr qsizetype kUmid = 348;
constexpr qsizetype kHistory = 602;

QByteArray upToNul(const QByteArray& bytes) {
    const qsizetype end = bytes.indexOf('\0');
    return end < 0 ? bytes : bytes.first(end);
}

bool hasBareEnds(const QByteArray& text) {
    for (qsizetype at = 0; at < text.size(); ++at) {
        const bool isFeed = text[at] == '\n' && (at == 0 || text[at - 1] != '\r');
        const bool isReturn = text[at] == '\r' && (at + 1 == text.size() || text[at + 1] != '\n');
        if (isFeed || isReturn) return true;
    }
    return false;
}

// Recorders number these lines by input, so those of a file with inputs 2 and 5 are the first and the second.
QString nameInDescription(const BextFacts& bext, int channel, int channels) {
    static const RegularExpression kTrack(QStringLiteral("^TRK?(\\d+)$"));
    QMap<int, QString> names;
    for (const auto& [key, name] : bext.keys.asKeyValueRange()) {
        if (const auto found = kTrack.firstMatch(key)) names.insert(found->text(1).toInt(), name);
    }
    if (names.size() != channels) return names.value(channel);
    return std::next(names.begin(), channel - 1).value();
}

std::optional<BextFacts> bextFactsOf(const std::optional<QByteArray>& chunk) {
    const std::optional<BextIdentity> identity = chunk ? bextIdentityOf(*chunk) : std::nullopt;
    if (!identity) return std::nullopt;
    BextFacts facts{.identity = *identity};
    if (chunk->size() >= kUmid) facts.version = qFromLittleEndian<quint16>(chunk->constData() + kVersion);
    if (facts.version > 0 && chunk->size() >= kUmid + 64) facts.umid = chunk->mid(kUmid, 64);
    facts.codingHistory = upToNul(chunk->mid(kHistory));
    facts.hasBareLineEnds = hasBareEnds(identity->description);
    facts.keys = descriptionKeys(identity->description);
    return facts;
}

} // namespace

QString RecordingFacts::either(const char* element, const char* key) const {
    const QString told = ixml ? ixml->field(element) : QString();
    return !told.isEmpty() || !bext ? told : bext->keys.value(QString::fromLatin1(key));
}

QString RecordingFacts::trackName(int channel) const {
    if (ixml) {
        for (const IxmlTrackFacts& track : ixml->tracks) {
            if (track.interleaveIndex == channel && !track.name.isEmpty()) return track.name;
        }
        // A list without indices is in the order of the channels.
        const auto place = static_cast<std::size_t>(channel - 1);
        if (place < ixml->tracks.size() && !ixml->tracks[place].interleaveIndex) return ixml->tracks[place].name;
    }
    return bext ? nameInDescription(*bext, channel, layout.format ? layout.format->channels : 0) : QString();
}

std::optional<TimecodeRate> RecordingFacts::timecodeRate() const {
    if (ixml) {
        if (const auto rate = TimecodeRate::of(ixml->field("SPEED/TIMECODE_RATE"), ixml->field("SPEED/TIMECODE_FLAG")))
            return rate;
    }
    if (!bext) return std::nullopt;
    for (const char* key : {"SPEED", "FRAMERATE"}) {
        if (const auto rate = TimecodeRate::of(bext->keys.value(QString::fromLatin1(key)))) return rate;
    }
    return std::nullopt;
}

std::optional<quint64> RecordingFacts::timeReference() const {
    if (bext) return bext->identity.timeReference;
    return ixml ? ixml->timestamp() : std::nullopt;
}

std::optional<TimecodeOfDay> RecordingFacts::start() const {
    const auto rate = timecodeRate();
    const auto samples = timeReference();
    if (!rate || !samples || !layout.format || layout.format->sampleRate == 0) return std::nullopt;
    return TimecodeOfDay{*samples, layout.format->sampleRate, *rate};
}

double RecordingFacts::seconds() const {
    const bool isKnown = layout.format && layout.format->sampleRate > 0;
    return isKnown ? static_cast<double>(layout.frames()) / layout.format->sampleRate : 0;
}

RecordingFacts readRecordingFacts(const QString& path) {
    RecordingFacts facts{.path = path};
    const std::optional<WaveLayout> layout = readWaveLayout(QFile::encodeName(path).toStdString());
    if (!layout) {
        facts.fault = QStringLiteral("no WAV file, or not to be read");
        return facts;
    }
    facts.layout = *layout;
    const WaveChunks chunks(path);
    facts.bext = bextFactsOf(chunks.bytes("bext"));
    if (const auto document = chunks.bytes("iXML")) facts.ixml = ixmlFactsOf(*document);
    facts.chna = chunks.bytes("chna");
    facts.axml = chunks.bytes("axml");
    return facts;
}

} // namespace ostrel
