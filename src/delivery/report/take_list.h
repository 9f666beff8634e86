// The takes of a folder, as a sound report lists them: a polyphonic file is one, and so are the mono files of one take
// together.
//
// Pure over what was read of the files (`readRecordingFacts`).
#pragma once

#include "delivery/facts/recording_facts.h"

#include <QString>
#include <QStringList>
#include <optional>
#include <span>
#include <vector>

namespace ostrel {

struct ReportedTake {
    QString name;       // of the file; of several: what they share, "12A_03_X.WAV"
    QStringList files;  // absolute
    int channels = 0;   // of all of them together
    QStringList tracks; // their names, in the order of the recorder's inputs; empty where none is told
    QString scene;
    QString take;
    QString tape;
    QString note;
    QString user; // free text of the iXML
    QString date; // of the bext chunk, as it stands
    bool isWild = false;
    bool isCircled = false;
    std::optional<TimecodeRate> rate;
    std::optional<TimecodeOfDay> start;
    quint64 frames = 0;     // samples of one channel
    quint32 sampleRate = 0; // Hz
    int bits = 0;

    bool isPoly() const { return files.size() == 1 && channels > 1; }
    double seconds() const { return sampleRate == 0 ? 0 : static_cast<double>(frames) / sampleRate; }
    // The label behind the last frame; at least one frame behind the start.
    QString endLabel() const;
};

// Files that could not be read are left out. In order of tape, start and name, so that a day reads as it was shot.
std::vector<ReportedTake> takesOf(std::span<const RecordingFacts> files);

} // namespace ostrel
