// The Broadcast Extension chunk (EBU Tech 3285, versions 0 to 2).
#pragma once

#include "bwfmetaedit/bytes/text.h"

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

// One text, in the encoding of the file, without the NULs behind it.
struct BextText {
    std::string bytes;
    // Given in this run: stored as it is. A text that was in the file gets CR LF line breaks when the chunk is written.
    bool isFresh = false;
};

struct Bext {
    // In the order of the chunk; the sizes of their fields are in kBextTextSizes. CodingHistory has what remains.
    enum Text {
        Description,
        Originator,
        OriginatorReference,
        OriginationDate,
        OriginationTime,
        CodingHistory,
        TextCount
    };
    enum Loudness {
        LoudnessValue,
        LoudnessRange,
        MaxTruePeakLevel,
        MaxMomentaryLoudness,
        MaxShortTermLoudness,
        LoudnessCount
    };
    static constexpr std::int16_t kUnset = 0x7fff;
    static constexpr std::size_t kFixedSize = 602;
    static constexpr std::size_t kNewSize = 858;
    static constexpr std::size_t kUmidSize = 64;

    std::array<BextText, TextCount> texts;
    std::uint64_t timeReference = 0; // samples since midnight
    std::uint16_t version = 0;
    std::array<char, kUmidSize> umid{}; // counts from version 1 on
    std::array<std::int16_t, LoudnessCount> loudness{kUnset, kUnset, kUnset, kUnset,
                                                     kUnset}; // in 1/100; from version 2
    std::size_t chunkSize = kNewSize;                         // the chunk never shrinks

    // A field counts if the chunk holds all of it.
    static Bext parse(std::string_view chunk);
    // Negative loudness values in the file can move 0.01 towards zero: they pass through single precision, as they do
    // in the tool that this one stands for.
    std::string serialize() const;

    bool hasUmid() const;
    bool hasLoudness() const;
    // No text, TimeReference 0, no UMID, no loudness.
    bool isEmpty() const;

    // Raising the version makes fields count that did not: they become unset.
    void raiseVersion(std::uint16_t atLeast);
};

inline constexpr std::array<std::size_t, Bext::TextCount - 1> kBextTextSizes{256, 32, 32, 10, 8};

} // namespace ostrel::bwfmetaedit
