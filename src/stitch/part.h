// What a recording says of itself that tells which other ones it was cut from: format, tracks, start and length.
#pragma once

#include "foundation/records/timecode.h"
#include "wave/wave_layout.h"

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <optional>

namespace ostrel {

struct Part {
    QString path;
    QString fault; // why it can be no part of a series, a clause; the rest is then as far as it could be read
    WaveLayout layout;
    QByteArray originator;        // of the bext chunk
    std::optional<quint64> start; // TimeReference, samples since midnight; of iXML where there is no bext chunk
    QString familyUid;            // FAMILY_UID of iXML, and the next two; empty where it tells none
    QString scene;
    QString take;
    QStringList tracks; // CHANNEL_INDEX and NAME of each channel, in order; empty: no list
    std::optional<TimecodeRate> timecodeRate;

    quint64 frames() const { return layout.frames(); }
    quint32 sampleRate() const { return layout.format ? layout.format->sampleRate : 0; } // Hz
};

// Reads headers alone. Never throws. Blocks on the disk; for any thread.
Part readPart(const QString& path);

} // namespace ostrel
