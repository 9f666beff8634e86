#include "delivery/rules/file_rules.h"

#include <set>

namespace ostrel {
namespace {

void checkTracks(const IxmlFacts& ixml, int channels, Findings& findings) {
    const int listed = static_cast<int>(ixml.tracks.size());
    if (const auto count = ixml.number("TRACK_LIST/TRACK_COUNT"); count && listed > 0 && *count != listed) {
        findings.add("ixml.track-count", QStringLiteral("iXML TRACK_COUNT"), QString::number(*count),
                     QString::number(listed));
    }
    if (listed > 0 && channels > 0 && listed != channels) {
        findings.add("ixml.tracks-of-file", QStringLiteral("iXML TRACK_LIST"), QStringLiteral("%1 tracks").arg(listed),
                     QString::number(channels));
    }
    std::set<int> places;
    std::set<int> inputs;
    for (const IxmlTrackFacts& track : ixml.tracks) {
        const QString who =
            track.name.isEmpty() ? QStringLiteral("iXML TRACK") : QStringLiteral("iXML TRACK \"%1\"").arg(track.name);
        if (const auto place = track.interleaveIndex) {
            const QString field = who + QStringLiteral(" INTERLEAVE_INDEX");
            if (!places.insert(*place).second)
                findings.add("ixml.interleave-doubled", field, QString::number(*place), QString());
            if (channels > 0 && listed == channels && (*place < 1 || *place > channels)) {
                findings.add("ixml.interleave-range", field, QString::number(*place),
                             QStringLiteral("1 to %1").arg(channels));
            }
        }
        if (const auto input = track.channelIndex; input && !inputs.insert(*input).second) {
            findings.add("ixml.channel-doubled", who + QStringLiteral(" CHANNEL_INDEX"), QString::number(*input),
                         QString());
        }
    }
}

void checkSpeed(const RecordingFacts& file, Findings& findings) {
    const IxmlFacts& ixml = *file.ixml;
    if (file.layout.format) {
        const WaveFormat& format = *file.layout.format;
        const auto compare = [&](const char* id, const char* path, qint64 expected) {
            const auto told = ixml.number(path);
            if (told && *told != 0 && *told != expected) {
                findings.add(id, QStringLiteral("iXML ") + QString::fromLatin1(path), QString::number(*told),
                             QString::number(expected));
            }
        };
        compare("ixml.sample-rate", "SPEED/FILE_SAMPLE_RATE", format.sampleRate);
        compare("ixml.bit-depth", "SPEED/AUDIO_BIT_DEPTH", format.bits);
    }
    if (!file.timecodeRate() && file.timeReference().value_or(0) > 0) {
        findings.add("ixml.timecode-rate", QStringLiteral("iXML SPEED/TIMECODE_RATE"),
                     ixml.field("SPEED/TIMECODE_RATE"), QStringLiteral("a fraction such as 25/1"));
    }
}

} // namespace

void checkIxml(const RecordingFacts& file, Findings& findings) {
    if (!file.ixml) return;
    if (!file.ixml->isReadable) {
        findings.add("ixml.unreadable", QStringLiteral("iXML"), QString(), QString());
        return;
    }
    if (!file.ixml->isWellFormed) findings.add("ixml.malformed", QStringLiteral("iXML"), QString(), QString());
    checkTracks(*file.ixml, file.layout.format ? file.layout.format->channels : 0, findings);
    checkSpeed(file, findings);
}

} // namespace ostrel
