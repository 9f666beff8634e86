#include "platform/audio/resampler.h"

#include <algorithm>
#include <new>
#include <numeric>
#include <soxr.h>

namespace ostrel {

void Resampler::Deletion::operator()(soxr* resampler) const { soxr_delete(resampler); }

Resampler::Resampler(int channels, int inputRate, int outputRate)
    : channels_(channels), step_(inputRate / std::gcd(inputRate, outputRate)),
      phases_(outputRate / std::gcd(inputRate, outputRate)), from_(static_cast<std::size_t>(channels)),
      to_(static_cast<std::size_t>(channels)) {
    const soxr_io_spec_t planarFloats = soxr_io_spec(SOXR_FLOAT32_S, SOXR_FLOAT32_S);
    // The exact clock, or an hour between rates without a small ratio would be samples off.
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, SOXR_HI_PREC_CLOCK);
    const soxr_runtime_spec_t oneThread = soxr_runtime_spec(1);
    soxr_.reset(soxr_create(inputRate, outputRate, static_cast<unsigned>(channels), nullptr, &planarFloats, &quality,
                            &oneThread));
    if (!soxr_) throw std::bad_alloc();
}

void Resampler::process(const AudioBuffer& input, bool last, AudioBuffer& output) {
    received_ += input.frames();
    const qint64 due = (received_ * phases_ + step_ - 1) / step_; // if the signal ended here
    made_.resize(channels_, static_cast<int>(due - produced_));
    filled_ = 0;
    take(input);
    if (last) end();
    output.resize(channels_, static_cast<int>(filled_));
    for (int channel = 0; channel < channels_; ++channel) {
        std::copy_n(made_.channel(channel).begin(), filled_, output.channel(channel).begin());
    }
    produced_ += output.frames();
}

void Resampler::take(const AudioBuffer& input) {
    const auto frames = static_cast<std::size_t>(input.frames());
    for (std::size_t taken = 0, now = 1; taken < frames && now > 0; taken += now) {
        for (int channel = 0; channel < channels_; ++channel) {
            from_[static_cast<std::size_t>(channel)] = input.channel(channel).data() + taken;
        }
        now = run(from_.data(), frames - taken);
    }
}

// libsoxr rounds the length of the whole to the nearest frame; silence behind the end makes up for what that cuts off.
void Resampler::end() {
    AudioBuffer silence(channels_, static_cast<int>(step_ / phases_) + 1);
    for (int channel = 0; channel < channels_; ++channel) std::ranges::fill(silence.channel(channel), 0.0F);
    take(silence);
    for (std::size_t before = filled_ + 1; before != filled_;) {
        before = filled_;
        run(nullptr, 0);
    }
    for (int channel = 0; channel < channels_; ++channel) {
        std::ranges::fill(made_.channel(channel).subspan(filled_), 0.0F);
    }
    filled_ = static_cast<std::size_t>(made_.frames());
}

// Gives what was taken of the input; none of it is the end.
std::size_t Resampler::run(const void* const* input, std::size_t frames) {
    for (int channel = 0; channel < channels_; ++channel) {
        to_[static_cast<std::size_t>(channel)] = made_.channel(channel).data() + filled_;
    }
    std::size_t taken = 0;
    std::size_t made = 0;
    soxr_process(soxr_.get(), input, frames, &taken, to_.data(), static_cast<std::size_t>(made_.frames()) - filled_,
                 &made);
    filled_ += made;
    return taken;
}

} // namespace ostrel
