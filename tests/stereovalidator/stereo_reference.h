// The measures once more, straight from their definitions: double precision throughout, two passes a window, nothing
// shared with the code under test. For comparison only.
#pragma once

#include <QtGlobal>
#include <functional>
#include <vector>

namespace ostrel::testing {

struct StereoFrame {
    float left = 0;
    float right = 0;
};
using StereoSignal = std::function<StereoFrame(qint64 frame)>;

struct ReferenceMeasures {
    double correlation = 0;
    double rmsDiff = 0;
    double msRatio = 0;
    double leftDbfs = 0;
    double rightDbfs = 0;
    double fileCorrelation = 0;
    int windows = 0; // that held sound
};

// `second` is the count of frames of a window.
ReferenceMeasures referenceMeasures(const StereoSignal& signal, qint64 frames, int second);

// What a channel of the signal holds.
std::vector<float> leftOf(const StereoSignal& signal, qint64 frames);
std::vector<float> rightOf(const StereoSignal& signal, qint64 frames);

// White noise in -1..1 that depends on seed and frame alone.
double noiseAt(quint32 seed, qint64 frame);

// The rate of most of the test's recordings: low, to be quick.
constexpr int kRate = 8000;

// One noise at half of full scale, times a factor for either side.
StereoSignal scaled(double left, double right);

// A tone with a whole number of periods in a second: sine in the left channel, and in the right one a share of the same
// sine with the rest as cosine. Over whole seconds the correlation is `correlation` by calculation, and both channels
// have an RMS of amplitude / sqrt(2).
StereoSignal correlatedTones(double correlation, int rate, double amplitude = 0.5);

} // namespace ostrel::testing
