// How the channels agree below and above 120 Hz.
//
// Blocks of samples (about 1.5 kHz of them) are collected over two seconds and transformed; what their spectrum holds
// below 120 Hz is the low part, and by Parseval's theorem the rest of the window's energy is the upper one. What leaks
// over the edge without a window function is -35 dB of the low part.
#pragma once

#include "stereovalidator/evidence/block_scan.h"
#include "stereovalidator/measures/stereo_sums.h"

#include <array>
#include <complex>
#include <memory>
#include <vector>

namespace ostrel {

class LowBand {
public:
    explicit LowBand(int sampleRate);
    ~LowBand();

    void add(const BlockSummary& block);
    // A half second of the file has ended; `sums` are of it.
    void endHop(const StereoSums& sums);

    // What came so far. Not to be added to afterwards.
    void fill(StereoEvidence& evidence);

private:
    struct Energies {
        double left = 0;
        double right = 0;
        double product = 0;
    };
    static constexpr std::array kEdges{40.0, 60.0, 80.0, 100.0, 120.0}; // Hz

    void transform();

    struct Transform;
    std::unique_ptr<Transform> transform_;
    double blockRate_;
    double blockFrames_;
    std::vector<std::complex<float>> blocks_; // left + i * right
    StereoSums window_;
    int hops_ = 0;
    Energies total_;
    std::array<Energies, kEdges.size()> bands_; // up to each edge from the one before
};

} // namespace ostrel
