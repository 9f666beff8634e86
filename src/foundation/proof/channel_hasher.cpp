#include "foundation/proof/channel_hasher.h"

#include "wave/sample_kernels.h"

#include <QByteArray>
#include <algorithm>
#include <new>
#include <xxhash.h>
#ifdef OSTREL_XXHASH_DISPATCHES
#include <xxh_x86dispatch.h> // the widest registers that the processor has, chosen as the program runs
#endif

namespace ostrel {
namespace {

constexpr std::size_t kNearBytes = 8 << 10; // of frames that stay in the nearest cache while all channels go

struct FreeHashState {
    void operator()(XXH3_state_t* state) const { XXH3_freeState(state); }
};

} // namespace

struct ChannelHasher::State {
    State() : hash(XXH3_createState()) {
        if (!hash || XXH3_128bits_reset(hash.get()) != XXH_OK) throw std::bad_alloc();
    }
    std::unique_ptr<XXH3_state_t, FreeHashState> hash;
};

ChannelHasher::ChannelHasher(std::size_t channels, std::size_t bytesPerSample, std::vector<std::size_t> wanted)
    : channels_(channels), width_(bytesPerSample), wanted_(std::move(wanted)), states_(wanted_.size()) {}

ChannelHasher::~ChannelHasher() = default;
ChannelHasher::ChannelHasher(ChannelHasher&&) noexcept = default;

void ChannelHasher::takeApart(const unsigned char* frames, std::size_t count, unsigned char* to, std::size_t at,
                              std::size_t all) const {
    const std::size_t frameBytes = channels_ * width_;
    const std::size_t step = std::max<std::size_t>(64, kNearBytes / frameBytes);
    for (std::size_t done = 0; done < count; done += step) {
        const std::size_t some = std::min(step, count - done);
        for (std::size_t i = 0; i < wanted_.size(); ++i) {
            moveSamples(frames + done * frameBytes + wanted_[i] * width_, frameBytes,
                        to + (i * all + at + done) * width_, width_, width_, some);
        }
    }
}

void ChannelHasher::add(const unsigned char* apart, std::size_t count) {
    for (std::size_t i = 0; i < states_.size(); ++i) {
        XXH3_128bits_update(states_[i].hash.get(), apart + i * count * width_, count * width_);
    }
}

QString ChannelHasher::digest(std::size_t channel) const {
    const auto found = std::ranges::find(wanted_, channel);
    if (found == wanted_.end()) return {};
    const State& state = states_[static_cast<std::size_t>(found - wanted_.begin())];
    XXH128_canonical_t canonical;
    XXH128_canonicalFromHash(&canonical, XXH3_128bits_digest(state.hash.get()));
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(canonical.digest), sizeof canonical.digest).toHex());
}

} // namespace ostrel
