// Sound without a sound card: SDL's disk driver writes what would be heard into a file, faster than real time.
#pragma once

#include "platform/audio/audio_output.h"
#include "support/test_folder.h"

#include <vector>

namespace ostrel::testing {

class DiskOutput {
public:
    // `delay` is the driver's pause after a block, in milliseconds.
    explicit DiskOutput(int sampleRate = 48000, int channels = 2, int blockFrames = 1024, int delay = 2);
    ~DiskOutput();

    AudioOutput& output() { return *output_; }

    // Everything so far, interleaved; blocks of nothing but silence (before a start, during a hold) left out, as are
    // the zeros at the end. Every start falls on a block's first frame.
    std::vector<float> heard() const;

    // One channel of it.
    std::vector<float> heard(int channel) const;

    // Waits until so many frames of sound came out.
    bool waitForFrames(qint64 frames) const;

    // Waits until so many more came out than have by now.
    bool waitForMore(qint64 frames) const;

private:
    TestFolder folder_;
    QByteArray driverBefore_;
    int channels_;
    int blockFrames_;
    std::unique_ptr<AudioOutput> output_;
};

} // namespace ostrel::testing
