// The BEXT fields of one file out of bwfmetaedit's CORE CSV, and what recorders write into the Description.
#pragma once

#include "metadata/metadata_manifest.h"

#include <QString>
#include <functional>
#include <vector>

namespace ostrel {

// Row 0 holds the headers, row 1 the values; unknown headers are ignored. Empty metadata for fewer than two rows.
BEXTMetadata parseBextCsv(const QString& csv, const std::function<void(const QString&)>& log);

// The key lines of Sound Devices recorders: "sSCENE=101A", "sTRK1=Boom".
struct SoundDevicesDescription {
    QString scene;
    QString take;
    QString tape;
    QString speed;
    QString note;
    std::vector<SoundDevicesTrackMap> tracks; // by channel number

    bool operator==(const SoundDevicesDescription&) const = default;
};

// Keys are case-sensitive; of two lines of one key the later wins; a line without a value says nothing.
SoundDevicesDescription parseSoundDevicesDescription(const QString& description);

} // namespace ostrel
