#include "platform/audio/audio_stream.h"

namespace ostrel {
namespace {

constexpr int kDecodedBlock = 2048;    // source frames a step
constexpr double kRampSeconds = 0.005; // of a volume change: long enough not to click, too short to hear
constexpr int kRingFrames = 1 << 15;   // 0.7 seconds at 48 kHz

int ringFrames(const OutputFormat& format) { return format.sampleRate > 48000 ? 4 * kRingFrames : kRingFrames; }

} // namespace

AudioStream::AudioStream(std::shared_ptr<AudioFile> file, const OutputFormat& format, qint64 startFrame)
    : ring(format.channels, ringFrames(format)), file_(std::move(file)), format_(format),
      startTime_(static_cast<double>(startFrame) / file_->sampleRate()), nextFrame_(startFrame),
      mixdown_(file_->channelCount(), file_->speakerPositions(), format.channels) {
    if (file_->sampleRate() != format.sampleRate) {
        resampler_.emplace(format.channels, file_->sampleRate(), format.sampleRate);
    }
}

double AudioStream::currentTime() const {
    return startTime_ + static_cast<double>(consumed.load(std::memory_order_acquire)) / format_.sampleRate;
}

bool AudioStream::wantsData() const {
    return !endDecoded_.load(std::memory_order_relaxed) && ring.space() >= ring.capacity() / 4;
}

// A resampler may give all at once what it held back before, more than there is room for.
void AudioStream::decodeSome() {
    if (stored_ == ready().frames()) decodeBlock();
    storeSome();
    if (isLastBlock_ && stored_ == ready().frames()) endDecoded_.store(true, std::memory_order_release);
}

void AudioStream::decodeBlock() {
    const auto fitting = static_cast<int>(static_cast<qint64>(ring.space()) * file_->sampleRate() / format_.sampleRate);
    try {
        if (file_->position() != nextFrame_) file_->seek(nextFrame_);
        nextFrame_ += file_->read(decoded_, std::clamp(fitting, 1, kDecodedBlock));
        isLastBlock_ = nextFrame_ >= file_->lengthInFrames();
    } catch (const AudioFileError& error) {
        decodeError_ = error.errorDescription();
        decoded_.resize(file_->channelCount(), 0);
        isLastBlock_ = true;
    }
    mixdown_.apply(decoded_, mixed_);
    if (resampler_) resampler_->process(mixed_, isLastBlock_, resampled_);
    stored_ = 0;
}

void AudioStream::storeSome() {
    const int count = std::min(ready().frames() - stored_, ring.space());
    ring.write(count, [this](int frame, int channel) {
        return ready().channel(channel)[static_cast<std::size_t>(stored_ + frame)];
    });
    stored_ += count;
}

void AudioStream::setGain(float gain) {
    if (gain == targetGain_) return;
    targetGain_ = gain;
    if (begun.load(std::memory_order_relaxed)) {
        rampFramesLeft_ = static_cast<int>(format_.sampleRate * kRampSeconds);
    } else {
        gain_ = gain;
        rampFramesLeft_ = 0;
    }
}

float AudioStream::nextGain() {
    if (rampFramesLeft_ > 0) {
        gain_ += (targetGain_ - gain_) / static_cast<float>(rampFramesLeft_);
        if (--rampFramesLeft_ == 0) gain_ = targetGain_;
    }
    return gain_;
}

bool AudioStream::skipTo(qint64 frame) {
    const qint64 missing = frame - consumed.load(std::memory_order_relaxed);
    const auto skipped = static_cast<int>(std::clamp<qint64>(missing, 0, ring.available()));
    ring.advance(skipped);
    consumed.fetch_add(skipped, std::memory_order_release);
    return skipped >= missing || endDecoded_.load(std::memory_order_acquire);
}

// From now on clock and consumed frames advance together, so the anchor stands. It is there before anybody can see that
// the stream has begun.
void AudioStream::begin(qint64 clock) {
    anchor.store(clock - consumed.load(std::memory_order_relaxed), std::memory_order_relaxed);
    begun.store(true, std::memory_order_release);
}

void AudioStream::mixInto(float* interleaved, int frames) {
    const bool wasLast = endDecoded_.load(std::memory_order_acquire); // before the ring is asked how much there is
    int done = 0;
    while (done < frames) {
        const std::span<const float> part = ring.peek(frames - done);
        if (part.empty()) break;
        const int count = static_cast<int>(part.size()) / format_.channels;
        float* into = interleaved + static_cast<std::ptrdiff_t>(done) * format_.channels;
        if (rampFramesLeft_ == 0) {
            if (gain_ != 0.0F) {
                for (std::size_t at = 0; at < part.size(); ++at) into[at] += gain_ * part[at];
            }
        } else {
            std::size_t at = 0;
            for (int frame = 0; frame < count; ++frame) {
                const float gain = nextGain();
                for (int channel = 0; channel < format_.channels; ++channel, ++at) into[at] += gain * part[at];
            }
        }
        ring.advance(count);
        done += count;
    }
    consumed.fetch_add(done, std::memory_order_release);
    if (wasLast && ring.available() == 0) finished.store(true, std::memory_order_release);
}

} // namespace ostrel
