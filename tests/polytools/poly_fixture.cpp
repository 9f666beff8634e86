#include "poly_fixture.h"

#include "metadata/universal_metadata_engine.h"
#include "platform/files/standard_folders.h"
#include "platform/paths.h"

#include <gtest/gtest.h>

namespace ostrel::testing {
namespace {

QString deliveredBwfmetaedit() {
    const QString path = paths::append(resourceFolder(), QStringLiteral("bin/bwfmetaedit"));
    return paths::isExecutableFile(path) ? path : QString();
}

WaveSpec withIxml(WaveSpec spec, const std::optional<IxmlSpec>& ixml) {
    if (ixml) spec.before.emplace_back("iXML", ixmlDocument(*ixml));
    return spec;
}

void write(const QString& path, const WaveSpec& spec) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(waveBytes(spec));
}

} // namespace

PolyEngineTools toolsWithoutBwfmetaedit() {
    PolyEngineTools tools;
    tools.ffmpegPath = installedTool(QStringLiteral("ffmpeg"));
    tools.ffprobePath = installedTool(QStringLiteral("ffprobe"));
    return tools;
}

PolyEngineTools realTools() {
    PolyEngineTools tools = toolsWithoutBwfmetaedit();
    tools.bwfmetaeditPath = deliveredBwfmetaedit();
    if (hasBwfmetaedit()) tools.universalEngine = std::make_shared<UniversalMetadataEngine>(tools.bwfmetaeditPath);
    return tools;
}

bool hasBwfmetaedit() { return !deliveredBwfmetaedit().isEmpty(); }

QByteArray ixmlDocument(const IxmlSpec& spec) {
    QByteArray xml =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<BWFXML>\n\t<IXML_VERSION>1.5</IXML_VERSION>\n\t<PROJECT>Tide"
        "</PROJECT>\n\t<SCENE>" +
        spec.scene + "</SCENE>\n\t<TAKE>" + spec.take + "</TAKE>\n\t<TAPE>R7</TAPE>\n" + spec.extra;
    if (!spec.tracks.empty()) {
        xml += "\t<TRACK_LIST>\n\t\t<TRACK_COUNT>" + QByteArray::number(spec.tracks.size()) + "</TRACK_COUNT>\n";
        for (const TrackSpec& track : spec.tracks) {
            xml += "\t\t<TRACK>\n\t\t\t<CHANNEL_INDEX>" + QByteArray::number(track.channelIndex) +
                   "</CHANNEL_INDEX>\n\t\t\t<INTERLEAVE_INDEX>" + QByteArray::number(track.interleaveIndex) +
                   "</INTERLEAVE_INDEX>\n\t\t\t<NAME>" + track.name + "</NAME>\n\t\t</TRACK>\n";
        }
        xml += "\t</TRACK_LIST>\n";
    }
    return xml + "</BWFXML>\n";
}

IxmlSpec ixmlOf(const std::vector<QByteArray>& names) {
    IxmlSpec spec;
    spec.extra =
        "\t<SPEED>\n\t\t<TIMECODE_RATE>25/1</TIMECODE_RATE>\n\t\t<TIMECODE_FLAG>NDF</TIMECODE_FLAG>\n"
        "\t\t<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>0</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_HI>\n"
        "\t\t<TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>1728000000</TIMESTAMP_SAMPLES_SINCE_MIDNIGHT_LO>\n\t</SPEED>\n"
        "\t<FILE_UID>POLY1</FILE_UID>\n\t<FAMILY_UID>FAMILY1</FAMILY_UID>\n";
    for (const QByteArray& name : names) {
        const int position = static_cast<int>(spec.tracks.size()) + 1;
        spec.tracks.push_back({position + 10, position, name});
    }
    return spec;
}

PolyFile writePoly(const QString& path, WaveSpec spec, const std::optional<IxmlSpec>& ixml) {
    spec = withIxml(std::move(spec), ixml);
    write(path, spec);
    PolyFile poly;
    poly.url = path;
    poly.fileName = paths::lastComponent(path);
    poly.channelCount = spec.channels;
    poly.sampleRate = spec.sampleRate;
    poly.bitDepth = spec.bitDepth;
    poly.codecName = QStringLiteral("pcm_s%1le").arg(spec.bitDepth);
    poly.duration = static_cast<double>(spec.frames) / spec.sampleRate;
    poly.fileSize = static_cast<quint64>(QFileInfo(path).size());
    return poly;
}

ISOFile writeISO(const QString& path, WaveSpec spec, const std::optional<IxmlSpec>& ixml) {
    spec = withIxml(std::move(spec), ixml);
    spec.channels = 1;
    write(path, spec);
    ISOFile iso;
    iso.url = path;
    iso.fileName = paths::lastComponent(path);
    iso.sampleRate = spec.sampleRate;
    iso.bitDepth = spec.bitDepth;
    iso.duration = static_cast<double>(spec.frames) / spec.sampleRate;
    return iso;
}

QByteArray ixmlOfFile(const QString& path) {
    const QByteArray chunk = chunkOf(readAll(path), "iXML");
    const qsizetype end = chunk.indexOf('\0');
    return end < 0 ? chunk : chunk.left(end);
}

QStringList messages(const std::vector<ProcessingLogEntry>& log) {
    QStringList result;
    for (const ProcessingLogEntry& entry : log) result << entry.message;
    return result;
}

const ProcessingLogEntry* entryWith(const std::vector<ProcessingLogEntry>& log, const QString& text) {
    for (const ProcessingLogEntry& entry : log) {
        if (entry.message.contains(text)) return &entry;
    }
    return nullptr;
}

} // namespace ostrel::testing
