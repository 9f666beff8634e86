#include "platform/audio/resampler.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

namespace ostrel {
namespace {

// A sine through the resampler in blocks of odd sizes.
std::vector<float> convertedSine(int from, int to, double hertz, int frames) {
    Resampler resampler(1, from, to);
    std::vector<float> result;
    AudioBuffer block;
    AudioBuffer output;
    for (int done = 0; done < frames;) {
        block.resize(1, std::min(1 + done % 777, frames - done));
        for (int frame = 0; frame < block.frames(); ++frame) {
            block.channel(0)[static_cast<std::size_t>(frame)] =
                static_cast<float>(std::sin(2 * std::numbers::pi * hertz * (done + frame) / from));
        }
        done += block.frames();
        resampler.process(block, done == frames, output);
        result.insert(result.end(), output.channel(0).begin(), output.channel(0).end());
    }
    return result;
}

struct Rates {
    int from;
    int to;
};

class ResamplerRates : public ::testing::TestWithParam<Rates> {};

TEST_P(ResamplerRates, KeepASineInPlaceAndInLength) {
    const auto [from, to] = GetParam();
    const int frames = from;
    const std::vector<float> result = convertedSine(from, to, 997.0, frames);
    ASSERT_EQ(result.size(), static_cast<std::size_t>((static_cast<qint64>(frames) * to + from - 1) / from));
    double worst = 0;
    for (std::size_t at = result.size() / 10; at < result.size() * 9 / 10; ++at) {
        const double expected = std::sin(2 * std::numbers::pi * 997.0 * static_cast<double>(at) / to);
        worst = std::max(worst, std::abs(result[at] - expected));
    }
    EXPECT_LT(worst, 1e-4);
}

INSTANTIATE_TEST_SUITE_P(Common, ResamplerRates,
                         ::testing::Values(Rates{44100, 48000}, Rates{48000, 44100}, Rates{96000, 48000},
                                           Rates{192000, 44100}, Rates{47952, 48000}, Rates{8000, 48000},
                                           Rates{11111, 48000}));

// The last frame of a short signal is where the lengths of two ways to round differ.
TEST_P(ResamplerRates, GiveEveryLengthRoundedUp) {
    const auto [from, to] = GetParam();
    for (const int frames : {0, 1, 2, 3, 100, 4801}) {
        EXPECT_EQ(convertedSine(from, to, 100.0, frames).size(),
                  static_cast<std::size_t>((static_cast<qint64>(frames) * to + from - 1) / from))
            << frames;
    }
}

TEST(Resampler, KeepsEveryChannelApartAndAtItsLevel) {
    Resampler resampler(8, 48000, 44100);
    AudioBuffer input(8, 48000);
    AudioBuffer output;
    for (int channel = 0; channel < 8; ++channel) {
        std::ranges::fill(input.channel(channel), 0.1F * static_cast<float>(channel));
    }
    resampler.process(input, true, output);
    ASSERT_EQ(output.frames(), 44100);
    for (int channel = 0; channel < 8; ++channel) {
        EXPECT_NEAR(output.channel(channel)[22050], 0.1F * static_cast<float>(channel), 1e-5F);
    }
}

TEST(Resampler, LeavesNoAliasOfWhatTheLowerRateCannotHold) {
    const std::vector<float> result = convertedSine(96000, 48000, 30000.0, 96000);
    float loudest = 0;
    for (std::size_t at = 1000; at < result.size() - 1000; ++at) loudest = std::max(loudest, std::abs(result[at]));
    EXPECT_LT(loudest, 1e-4F);
}

} // namespace
} // namespace ostrel
