// What a whole stereo file shows besides the medians that classify it: how its windows differ, where, and what each
// channel suffers from. The rules of trust and the strip over time read it.
//
// Windows are half seconds (a file of less than a second is one window). Levels are RMS without the window's DC.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

namespace ostrel {

struct Stretch {
    double start = 0;  // seconds
    double length = 0; // seconds; 0: there is none

    bool operator==(const Stretch&) const = default;
};

struct ChannelEvidence {
    double peak = 0; // magnitude of the largest sample
    double dc = 0;   // mean of all samples
    int clippedRuns = 0;
    double firstClip = 0; // seconds
    int dropouts = 0;
    Stretch longestDropout;
    Stretch dead;              // the longest time without sound while the other channel goes on
    double loudestDbfs = -120; // of all windows
    double loudestStart = 0;   // seconds

    bool operator==(const ChannelEvidence&) const = default;
};

// One column of the strip. Made of whole dB, to keep 20,000 files in memory.
struct StripCell {
    static constexpr std::int8_t kNoCorrelation = 127;

    std::int8_t correlation = kNoCorrelation; // -100 to 100; the farthest from 1 in its time, active windows only
    std::uint8_t left = 120;                  // dB below full scale, the loudest; so are right and side
    std::uint8_t right = 120;
    std::uint8_t side = 120;
    std::uint8_t residual = 120; // dB below the louder channel, the strongest of the active windows

    bool operator==(const StripCell&) const = default;
};

struct StereoEvidence {
    double seconds = 0;    // of the file
    int windows = 0;       // that hold any sound
    int activeWindows = 0; // loud enough to be evidence
    bool isShort = false;  // less than a second: one window
    double floorDbfs = -120;
    double loudDbfs = -120; // the 95th percentile of the windows' levels

    // Of active windows.
    double lowestCorrelation = 0;
    double highestCorrelation = 0;
    double changingShare = 0;   // of the energy: in windows whose correlation is below 0.95 in magnitude
    double positiveShare = 0;   // of the energy: correlation above 0.5
    double negativeShare = 0;   // of the energy: correlation below -0.5
    double balanceDb = 0;       // right over left, of the energies of all active windows
    double balanceSpreadDb = 0; // between the windows that lean most to either side
    double balanceStart = 0;    // seconds: the window farthest from `balanceDb`
    double sideDb = -120;       // of (left - right) / 2, relative to the louder channel

    // Without DC and without what lies below 120 Hz; of the whole file.
    double upperCorrelation = 0;
    double upperShare = 0;      // of the energy of both channels
    double oppositeBelowHz = 0; // the channels are opposite below this frequency only; 0: they are not

    // The right channel behind the left one; 0 where no clear peak within 20 ms says otherwise.
    double lagMs = 0;
    double lagCorrelation = 0; // with its sign: of the windows aligned by that lag, by their energy

    // The quieter channel less the louder one, after the best gain, sign and lag of each window: in the worst one.
    double residualDb = -120; // relative to the louder channel
    double residualDbfs = -120;
    double residualShare = -120; // relative to the quieter channel, dB
    Stretch worst;               // the windows around it that differ too

    std::array<ChannelEvidence, 2> channels;
    double cellSeconds = 0.5;
    std::vector<StripCell> strip;

    bool operator==(const StereoEvidence&) const = default;
};

} // namespace ostrel
