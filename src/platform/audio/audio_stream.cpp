#include "platform/audio/audio_stream.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace ostrel {
namespace {

constexpr int kDecodedBlock = 2048;    // source frames a step
constexpr double kRampSeconds = 0.005; // of a volume change: long enough not to click, too short to hear
constexpr int kRingFrames = 1 << 15;   // 0.7 seconds at 48 kHz

int ringFrames(const OutputFormat& format) { return format.sampleRate > 48000 ? 4 * kRingFrames : kRingFrames; }

} // namespace

AudioStream::AudioStream(std::shared_ptr<AudioFile> file, const OutputFormat& format, qint64 startFrame,
                         const StreamTravel& travel)
    : ring(format.channels, ringFrames(format)), file_(std::move(file)), format_(format), travel_(travel),
      startFrame_(startFrame), nextFrame_(startFrame),
      mixdown_(file_->channelCount(), file_->speakerPositions(), format.channels) {
    if (travel_.loop && (travel_.speed != 1 || startFrame >= travel_.loop->end)) travel_.loop.reset();
    if (!travel_.loop) startFrame_ = nextFrame_ = std::min(startFrame, file_->lengthInFrames());
    const int rate = file_->sampleRate() * std::abs(travel_.speed);
    if (rate != format.sampleRate) resampler_.emplace(format.channels, rate, format.sampleRate);
}

double AudioStream::currentTime() const { return timeAfter(consumed.load(std::memory_order_acquire)); }

double AudioStream::timeAfter(qint64 frames) const {
    const auto rate = static_cast<double>(file_->sampleRate());
    const double gone = static_cast<double>(frames) / format_.sampleRate * travel_.speed;
    const double time = static_cast<double>(startFrame_) / rate + gone;
    if (!travel_.loop) return std::max(0.0, time);
    const double first = static_cast<double>(travel_.loop->first) / rate;
    const double end = static_cast<double>(travel_.loop->end) / rate;
    return time < end ? time : first + std::fmod(time - end, end - first);
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
    const int rate = file_->sampleRate() * std::abs(travel_.speed);
    const auto fitting = static_cast<qint64>(ring.space()) * rate / format_.sampleRate;
    const auto most = static_cast<int>(std::clamp<qint64>(fitting, 1, kDecodedBlock));
    try {
        travel_.speed > 0 ? readForwards(most) : readBackwards(most);
    } catch (const AudioFileError& error) {
        decodeError_ = error.errorDescription();
        decoded_.resize(file_->channelCount(), 0);
        isLastBlock_ = true;
    }
    mixdown_.apply(decoded_, mixed_);
    if (resampler_) resampler_->process(mixed_, isLastBlock_, resampled_);
    stored_ = 0;
}

void AudioStream::readForwards(int most) {
    const qint64 length = file_->lengthInFrames();
    if (travel_.loop) most = static_cast<int>(std::min<qint64>(most, travel_.loop->end - nextFrame_));
    if (travel_.loop && nextFrame_ >= length) {
        decoded_.resize(file_->channelCount(), most);
        for (int channel = 0; channel < decoded_.channels(); ++channel) std::ranges::fill(decoded_.channel(channel), 0);
        nextFrame_ += most;
    } else {
        if (file_->position() != nextFrame_) file_->seek(nextFrame_);
        nextFrame_ += file_->read(decoded_, most);
    }
    if (travel_.loop && nextFrame_ == travel_.loop->end) nextFrame_ = travel_.loop->first;
    isLastBlock_ = !travel_.loop && nextFrame_ >= length;
}

void AudioStream::readBackwards(int most) {
    const auto count = static_cast<int>(std::min<qint64>(most, nextFrame_));
    file_->seek(nextFrame_ - count);
    nextFrame_ -= file_->read(decoded_, count);
    for (int channel = 0; channel < decoded_.channels(); ++channel) std::ranges::reverse(decoded_.channel(channel));
    isLastBlock_ = nextFrame_ <= 0;
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
