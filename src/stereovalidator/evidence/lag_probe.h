// The lag between the channels by their cross-correlation, of stretches spread over the file, within 20 ms.
//
// The spectra's products add up, so that one inverse transform at the end gives the correlation of all stretches by
// their energy; what lies below 120 Hz takes no part where there is anything above. The stretches begin at the begin of
// half seconds: of each of the first 24, of every second one of the next, of every fourth, and so on.
#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace ostrel {

class LagProbe {
public:
    explicit LagProbe(int sampleRate);
    ~LagProbe();

    void beginHop(); // ahead of its first frame
    void addInterleaved(std::span<const float> samples);

    struct Peak {
        long lag = 0;         // frames; the right channel runs behind the left one
        double magnitude = 0; // of the correlation, roughly
        double atZero = 0;
    };
    // The clear peak; lag 0 where others come near it, as they do in a tone.
    Peak peak();

private:
    void probe();

    struct Transform;
    std::unique_ptr<Transform> transform_;
    std::size_t points_;
    std::size_t reach_; // frames of 20 ms
    std::size_t firstBin_;
    std::size_t hop_ = 0;
    std::size_t stride_ = 1;
    std::size_t probes_ = 0; // of this stride
    bool collects_ = false;
    std::vector<std::complex<float>> frames_; // left + i * right
    std::vector<std::complex<float>> cross_;  // summed
    double leftEnergy_ = 0;
    double rightEnergy_ = 0;
};

} // namespace ostrel
