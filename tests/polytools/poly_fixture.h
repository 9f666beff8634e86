// Polys, ISOs and tools for the tests of this room.
#pragma once

#include "polytools/records/iso_file.h"
#include "polytools/records/poly_file.h"
#include "polytools/services/engine_services.h"
#include "support/test_folder.h"
#include "support/wave_file.h"

namespace ostrel::testing {

// ffmpeg and ffprobe as the application finds them; with the delivered bwfmetaedit where this build has it.
PolyEngineTools realTools();
bool hasBwfmetaedit();
PolyEngineTools toolsWithoutBwfmetaedit();

struct TrackSpec {
    int channelIndex = 0;
    int interleaveIndex = 0;
    QByteArray name; // XML text
};

struct IxmlSpec {
    QByteArray scene = "12A";
    QByteArray take = "3";
    QByteArray extra; // elements ahead of the track list
    std::vector<TrackSpec> tracks;
};
QByteArray ixmlDocument(const IxmlSpec& spec);

// "Boom", "Lav1" ... in channel order, channel index 10 above the position so that the two can be told apart.
IxmlSpec ixmlOf(const std::vector<QByteArray>& names);

// A poly on disk and its record.
PolyFile writePoly(const QString& path, WaveSpec spec, const std::optional<IxmlSpec>& ixml = std::nullopt);
ISOFile writeISO(const QString& path, WaveSpec spec, const std::optional<IxmlSpec>& ixml = std::nullopt);

// The file's iXML chunk up to the first NUL; empty without one.
QByteArray ixmlOfFile(const QString& path);

QStringList messages(const std::vector<ProcessingLogEntry>& log);
const ProcessingLogEntry* entryWith(const std::vector<ProcessingLogEntry>& log, const QString& text);

// The file names of a list, in its order.
inline QStringList fileNames(const std::vector<ISOFile>& files) {
    QStringList result;
    for (const ISOFile& file : files) result << file.fileName;
    return result;
}

} // namespace ostrel::testing
