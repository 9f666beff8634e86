// What one recording says of itself, read once from its headers: the ground of checks and reports.
#pragma once

#include "delivery/facts/ixml_facts.h"
#include "foundation/records/timecode.h"
#include "metadata/bext_identity.h"
#include "wave/wave_layout.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <optional>

namespace ostrel {

struct BextFacts {
    BextIdentity identity;
    int version = 0;
    QByteArray umid;              // 64 bytes; empty for version 0
    QByteArray codingHistory;     // as it stands, up to its first NUL
    bool hasBareLineEnds = false; // lines of the Description that end with LF or CR alone
    // Of the Description's lines, the recorder's own letter ahead of it left out: "SCENE", "TRK2", "SPEED".
    QMap<QString, QString> keys;
};

struct RecordingFacts {
    QString path;
    QString fault; // a sentence; then nothing else is known
    WaveLayout layout;
    std::optional<BextFacts> bext;
    std::optional<IxmlFacts> ixml;
    std::optional<QByteArray> chna; // payloads
    std::optional<QByteArray> axml;

    // Of iXML, or of the Description where that tells none. Empty where neither does.
    QString scene() const { return either("SCENE", "SCENE"); }
    QString take() const { return either("TAKE", "TAKE"); }
    QString tape() const { return either("TAPE", "TAPE"); }
    QString note() const { return either("NOTE", "NOTE"); }
    // Of the file's channel, from 1.
    QString trackName(int channel) const;
    std::optional<TimecodeRate> timecodeRate() const;
    std::optional<quint64> timeReference() const; // samples since midnight
    std::optional<TimecodeOfDay> start() const;   // nothing without both of the above
    double seconds() const;

private:
    QString either(const char* element, const char* key) const;
};

// Never throws. Blocks on the disk; for any thread.
RecordingFacts readRecordingFacts(const QString& path);

} // namespace ostrel
