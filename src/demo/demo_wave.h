// Writes short demonstration recordings: a tone of its own in every channel, and whatever chunks a recorder would add.
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <utility>
#include <vector>

namespace ostrel {

struct DemoWave {
    int sampleRate = 48000; // Hz
    int bitDepth = 24;      // 16 or 24, integer PCM
    double seconds = 2;
    // One a channel: the sample, -1 to 1, at a time in seconds.
    std::vector<std::function<double(double seconds)>> channels;
    // Chunks ahead of and behind the audio: four characters and payload.
    std::vector<std::pair<QByteArray, QByteArray>> before;
    std::vector<std::pair<QByteArray, QByteArray>> after;
};

// A steady sine at -18 dBFS with soft ends.
std::function<double(double)> tone(double hertz);

// Creates the folder too. Throws FileError.
void writeDemoWave(const QString& path, const DemoWave& wave);

// The payload of a bext chunk, version 1 (EBU Tech 3285).
QByteArray demoBext(const QByteArray& description, const QByteArray& originator, quint64 timeReference);

} // namespace ostrel
