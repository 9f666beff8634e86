#include "platform/audio/speaker_mixdown.h"

#include <gtest/gtest.h>

namespace ostrel {
namespace {

using enum SpeakerPosition;

// One row an output, one column a file channel.
std::vector<std::vector<float>> gains(const SpeakerMixdown& mixdown, int outputs, int channels) {
    std::vector<std::vector<float>> result(static_cast<std::size_t>(outputs));
    for (int output = 0; output < outputs; ++output) {
        for (int channel = 0; channel < channels; ++channel) {
            result[static_cast<std::size_t>(output)].push_back(mixdown.gain(output, channel));
        }
    }
    return result;
}

using Matrix = std::vector<std::vector<float>>;

const std::vector<SpeakerPosition> fiveOne{frontLeft, frontRight, frontCentre, lowFrequency, rearLeft, rearRight};

TEST(SpeakerMixdown, AMonoFilePlaysInTheMiddle) {
    EXPECT_EQ(gains(SpeakerMixdown(1, {}, 2), 2, 1), (Matrix{{1}, {1}}));
    EXPECT_EQ(gains(SpeakerMixdown(1, {frontCentre}, 6), 6, 1), (Matrix{{1}, {1}, {0}, {0}, {0}, {0}}));
    EXPECT_EQ(gains(SpeakerMixdown(1, {}, 1), 1, 1), (Matrix{{1}}));
}

TEST(SpeakerMixdown, AFileWithoutPositionsPlaysOneToOneUpToTheWidth) {
    EXPECT_EQ(gains(SpeakerMixdown(2, {}, 2), 2, 2), (Matrix{{1, 0}, {0, 1}}));
    EXPECT_EQ(gains(SpeakerMixdown(4, {}, 2), 2, 4), (Matrix{{1, 0, 0, 0}, {0, 1, 0, 0}}));
    EXPECT_EQ(gains(SpeakerMixdown(2, {}, 4), 4, 2), (Matrix{{1, 0}, {0, 1}, {0, 0}, {0, 0}}));
    const SpeakerMixdown wide(64, {}, 8);
    EXPECT_EQ(wide.gain(7, 7), 1.0F);
    EXPECT_EQ(wide.gain(7, 63), 0.0F);
}

TEST(SpeakerMixdown, PositionsFindTheirSpeakers) {
    const SpeakerMixdown same(6, fiveOne, 6);
    for (int output = 0; output < 6; ++output) {
        for (int channel = 0; channel < 6; ++channel) EXPECT_EQ(same.gain(output, channel), output == channel ? 1 : 0);
    }
    // SDL's eight: FL FR FC LFE BL BR SL SR.
    const SpeakerMixdown wider(6, {frontLeft, frontRight, frontCentre, lowFrequency, sideLeft, sideRight}, 8);
    EXPECT_EQ(wider.gain(6, 4), 1.0F);
    EXPECT_EQ(wider.gain(4, 4), 0.0F);
}

TEST(SpeakerMixdown, SurroundFoldsToAPairBelowFullScale) {
    const float whole = 1.0F + 3 * 0.70710678F;
    const SpeakerMixdown folded(6, fiveOne, 2);
    EXPECT_NEAR(folded.gain(0, 0), 1 / whole, 1e-6);
    EXPECT_EQ(folded.gain(1, 0), 0.0F);
    for (const int both : {2, 3}) {
        EXPECT_NEAR(folded.gain(0, both), 0.70710678F / whole, 1e-6);
        EXPECT_EQ(folded.gain(0, both), folded.gain(1, both));
    }
    EXPECT_NEAR(folded.gain(0, 4), 0.70710678F / whole, 1e-6);
    EXPECT_EQ(folded.gain(1, 4), 0.0F);
    EXPECT_EQ(folded.gain(0, 5), 0.0F);
}

TEST(SpeakerMixdown, ARearCentrePlaysBehindWhereThereIsABehind) {
    const std::vector<SpeakerPosition> positions{frontLeft, frontRight, rearCentre};
    EXPECT_NEAR(SpeakerMixdown(3, positions, 4).gain(2, 2), 0.70710678F, 1e-6);
    EXPECT_EQ(SpeakerMixdown(3, positions, 4).gain(0, 2), 0.0F);
    EXPECT_GT(SpeakerMixdown(3, positions, 2).gain(0, 2), 0.0F);
}

} // namespace
} // namespace ostrel
