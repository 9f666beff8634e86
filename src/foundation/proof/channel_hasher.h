// XXH128 of every channel of a file: of that channel's bytes in the order of the file, as they stand.
//
// The frames come in stretches. Taking channels apart is most of the work and needs no order; hashing does.
#pragma once

#include <QString>
#include <cstddef>
#include <memory>
#include <vector>

namespace ostrel {

class ChannelHasher {
public:
    // `wanted`: the channels (0-based) that are hashed, each once.
    ChannelHasher(std::size_t channels, std::size_t bytesPerSample, std::vector<std::size_t> wanted);
    ~ChannelHasher();
    ChannelHasher(ChannelHasher&&) noexcept;
    ChannelHasher& operator=(ChannelHasher&&) = delete;
    ChannelHasher(const ChannelHasher&) = delete;
    ChannelHasher& operator=(const ChannelHasher&) = delete;

    std::size_t count() const { return wanted_.size(); }
    // The frames are the channel already.
    bool isOneOfOne() const { return channels_ == 1 && wanted_.size() == 1; }

    // Puts each wanted channel of these frames into a run of `all` samples, the first of them at `at`; run behind run.
    // For any threads at once.
    void takeApart(const unsigned char* frames, std::size_t count, unsigned char* to, std::size_t at,
                   std::size_t all) const;

    // Whole runs of `count` samples, stretch by stretch in file order; one thread at a time.
    void add(const unsigned char* apart, std::size_t count);

    // 32 digits in lower case, the canonical form; empty for a channel that was not wanted.
    QString digest(std::size_t channel) const;

private:
    struct State; // of one channel
    std::size_t channels_;
    std::size_t width_; // bytes of a sample
    std::vector<std::size_t> wanted_;
    std::vector<State> states_; // of each wanted channel
};

} // namespace ostrel
