// What the recorder says of the two channels of a file: names and functions of its tracks (iXML, or else the keys of
// the bext description), and its file name. Pure, but for the one function that reads.
#pragma once

#include <QString>
#include <array>

namespace ostrel {

struct TrackLabel {
    QString name;
    QString function; // of iXML: "M-MID_SIDE"

    bool operator==(const TrackLabel&) const = default;
};

struct RecordedPair {
    enum class Kind {
        unknown,
        stereo,    // left and right
        mix,       // left and right of a mix
        midSide,   // to be decoded, not to be judged
        dualLevel, // one microphone at two levels
        backup,    // a track and its backup
        ambisonic, // two of W, X, Y, Z
        separate,  // two names that have nothing to do with each other
    };
    Kind kind = Kind::unknown;
    QString words; // "Boom, Lav 1"; empty for unknown

    bool operator==(const RecordedPair&) const = default;
    // Where a difference or a likeness between the channels is meant, and no fault.
    bool isMeant() const { return kind != Kind::unknown && kind != Kind::stereo && kind != Kind::mix; }
};

RecordedPair recordedPairOf(const std::array<TrackLabel, 2>& tracks, const QString& fileName);

// Of channels `first` and `second` (from 0) of a file with `channels` of them. Blocks; unknown for what can't be read.
RecordedPair readRecordedPair(const QString& path, int channels = 2, int first = 0, int second = 1);

} // namespace ostrel
