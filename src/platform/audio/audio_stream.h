// A file's audio from one position on, decoded ahead into a ring in the format of the output. A seek makes a new
// stream, so no ring is ever emptied under the feet of the sound callback.
//
// Three threads meet here, each with its own methods: the main thread makes and asks, the decoding thread fills, the
// sound callback (AudioMix) takes.
#pragma once

#include "platform/audio/audio_file.h"
#include "platform/audio/audio_ring.h"
#include "platform/audio/resampler.h"
#include "platform/audio/speaker_mixdown.h"

#include <QString>
#include <atomic>
#include <memory>
#include <optional>

namespace ostrel {

struct OutputFormat {
    int sampleRate = 48000; // Hz
    int channels = 2;       // 1 to 8
    bool operator==(const OutputFormat&) const = default;
};

// How a stream goes through its file.
struct StreamTravel {
    // Times as fast as the file was recorded, below 0 backwards. Pitch goes along. Not 0.
    int speed = 1;
    // Forwards at speed 1 alone: whoever reaches the second frame goes on at the first, without a gap. Where the loop
    // is longer than the file there is silence up to its end, so that files of unequal length stay in step.
    struct Loop {
        qint64 first = 0;
        qint64 end = 0; // beyond `first`
        bool operator==(const Loop&) const = default;
    };
    std::optional<Loop> loop;

    bool operator==(const StreamTravel&) const = default;
};

class AudioStream {
public:
    // Streams of one player share the file; only the decoding thread reads from it.
    AudioStream(std::shared_ptr<AudioFile> file, const OutputFormat& format, qint64 startFrame,
                const StreamTravel& travel = StreamTravel());

    // --- main thread
    double currentTime() const;
    // Seconds in the file when so many frames of the output have been heard.
    double timeAfter(qint64 frames) const;
    bool isFinished() const { return finished.load(std::memory_order_acquire); }
    // Why decoding ended before the end of the file; empty if it did not. Asked once the stream is finished.
    QString decodeError() const { return decodeError_; }

    // --- decoding thread
    bool wantsData() const;
    void decodeSome();

    // --- sound callback
    bool isPrimed() const { return endDecoded_.load(std::memory_order_acquire) || ring.available() >= kPrimedFrames; }
    // Enough for so many frames, or all there will ever be.
    bool canGive(int frames) const { return endDecoded_.load(std::memory_order_acquire) || ring.available() >= frames; }
    // Leaves frames out until so many are consumed. False if they are not all decoded yet.
    bool skipTo(qint64 frame);
    // From here on it takes part in the mix, at whose clock it begins.
    void begin(qint64 clock);
    // Adds up to `frames` frames, fewer at the end of the file only.
    void mixInto(float* interleaved, int frames);
    void setGain(float gain);

    // Written by the callback.
    std::atomic<bool> begun{false};    // takes part in the mix; `anchor` holds as long as it does
    std::atomic<bool> finished{false}; // its last frame was taken
    std::atomic<qint64> consumed{0};   // frames at the output's rate
    std::atomic<qint64> anchor{0};     // the mix's clock at which the stream's frame 0 sounded, if it never paused

    AudioRing ring;

private:
    static constexpr int kPrimedFrames = 8192;

    void decodeBlock();
    void readForwards(int most);
    void readBackwards(int most);
    void storeSome();
    const AudioBuffer& ready() const { return resampler_ ? resampled_ : mixed_; }
    float nextGain();

    std::shared_ptr<AudioFile> file_;
    OutputFormat format_;
    StreamTravel travel_; // a loop that lies behind the start is left out
    qint64 startFrame_;

    // decoding thread
    qint64 nextFrame_;
    SpeakerMixdown mixdown_;
    std::optional<Resampler> resampler_;
    AudioBuffer decoded_;
    AudioBuffer mixed_;
    AudioBuffer resampled_;
    int stored_ = 0; // frames of the block that are in the ring
    bool isLastBlock_ = false;
    QString decodeError_; // written before endDecoded_
    std::atomic<bool> endDecoded_{false};

    // sound callback
    float gain_ = 1.0F;
    float targetGain_ = 1.0F;
    int rampFramesLeft_ = 0;
};

} // namespace ostrel
