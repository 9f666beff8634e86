// The loop that every waveform is made by.
#pragma once

#include <QtGlobal>

namespace ostrel {

// Raises the peaks of `width` interleaved channels to the greatest magnitudes of a run. What is no number is passed
// over.
void raisePeaks(const float* samples, qint64 frames, int width, float* peaks);

} // namespace ostrel
