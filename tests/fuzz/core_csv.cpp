// Any text as bwfmetaedit's CORE CSV and as a BEXT Description.
#include "metadata/bext_csv.h"
#include "metadata/csv_table.h"
#include "polytools/grouping/iso_evidence.h"

#include <algorithm>
#include <cstdlib>

using namespace ostrel;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

QString quoted(QString field) { return u'"' + field.replace(u'"', QStringLiteral("\"\"")) + u'"'; }

// The table written out again, every field in quotes, reads as the same table.
void checkRoundTrip(const std::vector<QStringList>& rows) {
    QString text;
    for (const QStringList& row : rows) {
        QStringList fields;
        for (const QString& field : row) fields << quoted(field);
        text += fields.join(u',') + u'\n';
    }
    require(parseCSV(text) == rows);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<qsizetype>(size));
    checkRoundTrip(parseCSV(text));
    parseBextCsv(text, [](const QString& line) { require(!line.isEmpty()); });
    sceneTakeFromCoreCsv(text);
    const SoundDevicesDescription parsed = parseSoundDevicesDescription(text);
    require(std::ranges::is_sorted(parsed.tracks, {}, &SoundDevicesTrackMap::channelNumber));
    for (const SoundDevicesTrackMap& track : parsed.tracks) require(!track.trackName.isEmpty());
    return 0;
}
