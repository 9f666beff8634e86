// Recordings that a recorder has written in several files, found by arithmetic: a part begins where the one before it
// ends, to the sample. Names are hints where several would fit, and nothing else. Pure.
//
// Parts of a series tell the same originator, format and track list, and TimeReference (EBU Tech 3285) of the next is
// that of the one before plus its frames, modulo a day: of the clock, or of timecode labels, which at 23.976 and 29.97
// is another one. Files of one FAMILY_UID with one start run side by side and are no parts of each other.
#pragma once

#include "stitch/part.h"

#include <vector>

namespace ostrel {

// Between a part and the next one, in frames: above 0 so many are missing, below 0 so many stand in both.
using Seam = qint64;

struct Series {
    std::vector<Part> parts; // in order of time; one: it has no other
    std::vector<Seam> seams; // one less than parts
    QString ambiguity;       // a clause where more than one file fits as the next; empty: none

    bool isExact() const;
    quint64 frames() const; // of all parts, as they stand
};

// How far off the next one begins; nothing where the two can't be neighbours. Without a FAMILY_UID in common a gap or
// an overlap counts up to a second; up to ten where scene and take are the same, or the earlier file is near a size at
// which recorders split.
std::optional<Seam> seamBetween(const Part& earlier, const Part& later);

// Every part is in one series. In order of the first part's path, as given.
std::vector<Series> seriesOf(const std::vector<Part>& parts);

// The series (indices) that ran side by side, part for part: equal starts and lengths. Each is in one set.
std::vector<std::vector<std::size_t>> parallelSets(const std::vector<Series>& series);

} // namespace ostrel
