#include "stereovalidator/measures/inter_channel_lag.h"
#include "stereovalidator/measures/stereo_accumulator.h"
#include "stereovalidator/native_stereo_analyzer.h"
#include "stereovalidator/stereo_reference.h"
#include "support/test_folder.h"

#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <numbers>

namespace ostrel {
namespace {

using testing::StereoFrame;
using testing::StereoSignal;

ChannelAnalysis analyze(const StereoSignal& signal, qint64 frames, int rate) {
    return NativeStereoAnalyzer::analyzeChannels(testing::leftOf(signal, frames), testing::rightOf(signal, frames),
                                                 rate, StereoValidatorOptions());
}

// To 1e-5, of the value where that is above 1.
void expectLike(double value, double reference, const char* what) {
    EXPECT_NEAR(value, reference, 1e-5 * std::max(1.0, std::abs(reference))) << what;
}

void expectLikeReference(const ChannelAnalysis& found, const StereoSignal& signal, qint64 frames, int rate) {
    const testing::ReferenceMeasures reference = testing::referenceMeasures(signal, frames, rate);
    expectLike(found.correlation, reference.correlation, "correlation");
    expectLike(found.rmsDiff, reference.rmsDiff, "rmsDiff");
    expectLike(found.msRatio, reference.msRatio, "msRatio");
    expectLike(found.leftDbfs, reference.leftDbfs, "leftDbfs");
    expectLike(found.rightDbfs, reference.rightDbfs, "rightDbfs");
    expectLike(found.levelDiffDb, std::abs(reference.leftDbfs - reference.rightDbfs), "levelDiffDb");
    if (found.gainCompensatedCorr) expectLike(*found.gainCompensatedCorr, reference.fileCorrelation, "gain");
}

struct SignalCase {
    const char* name;
    StereoSignal signal;
    int rate = 8000;
    qint64 frames = 8000 * 7 + 1234;
};
void PrintTo(const SignalCase& signal, std::ostream* stream) { *stream << signal.name; }

StereoSignal noisyPair(double level, double common, double leftOffset, double rightOffset, double rightGain = 1) {
    return [=](qint64 frame) {
        const double shared = testing::noiseAt(1, frame);
        const double l = common * shared + (1 - common) * testing::noiseAt(2, frame);
        const double r = common * shared + (1 - common) * testing::noiseAt(3, frame);
        return StereoFrame{float(level * l + leftOffset), float(rightGain * level * r + rightOffset)};
    };
}

class MeasuresAgainstReference : public ::testing::TestWithParam<SignalCase> {};

TEST_P(MeasuresAgainstReference, AgreeTo1e5) {
    const auto& [name, signal, rate, frames] = GetParam();
    expectLikeReference(analyze(signal, frames, rate), signal, frames, rate);
}

INSTANTIATE_TEST_SUITE_P(
    Signals, MeasuresAgainstReference,
    ::testing::Values(SignalCase{"loud", noisyPair(0.9, 0.5, 0, 0)},
                      SignalCase{"beyond full scale", noisyPair(30, 0.5, 0, 0)},
                      SignalCase{"quiet", noisyPair(3e-5, 0.5, 0, 0)},
                      SignalCase{"just above silence", noisyPair(1.9e-5, 0.9, 0, 0)},
                      SignalCase{"with DC", noisyPair(0.01, 0.6, 0.7, 0.7)},
                      SignalCase{"quiet on opposite DC", noisyPair(1e-5, 0.6, 0.5, -0.5)},
                      SignalCase{"right 12 dB down", noisyPair(0.5, 1, 0, 0, 0.25)},
                      SignalCase{"right inverted", noisyPair(0.5, 1, 0, 0, -1)},
                      SignalCase{"nearly identical", noisyPair(0.5, 0.9999, 0, 0)},
                      SignalCase{"an odd rate", noisyPair(0.5, 0.5, 0.1, 0), 11025, 11025 * 5 + 77},
                      SignalCase{"the smallest odd rate with windows", noisyPair(0.5, 0.5, 0, 0), 3, 1000},
                      SignalCase{"exactly one window", noisyPair(0.5, 0.5, 0, 0), 8000, 8000},
                      SignalCase{"exactly one window at an odd rate", noisyPair(0.5, 0.5, 0, 0), 11025, 11025},
                      SignalCase{"one frame short of a second window", noisyPair(0.5, 0.5, 0, 0), 8000, 11999},
                      SignalCase{"one frame short of a window", noisyPair(0.5, 0.5, 0, 0), 8000, 7999}));

TEST(Measures, DoNotDriftOverAnHour) {
    constexpr int rate = 48000;
    constexpr qint64 frames = qint64(rate) * 3600;
    // Repeats every second, so that one second's reference is every window's and the whole hour's.
    const auto signal = noisyPair(0.5, 0.3, 0.2, -0.1);
    const auto second = [&](qint64 frame) { return signal(frame % rate); };
    std::vector<float> block;
    for (int i = 0; i < rate; ++i) {
        block.push_back(second(i).left);
        block.push_back(second(i).right);
    }
    StereoAccumulator accumulator(rate);
    for (qint64 done = 0; done < frames; done += rate) accumulator.addInterleaved(block);
    const ChannelAnalysis found = accumulator.measures();
    const testing::ReferenceMeasures reference = testing::referenceMeasures(second, rate, rate);
    EXPECT_NEAR(found.correlation, reference.correlation, 1e-9);
    EXPECT_NEAR(found.rmsDiff, reference.rmsDiff, 1e-9);
    EXPECT_NEAR(found.msRatio, reference.msRatio, 1e-9);
    EXPECT_NEAR(found.leftDbfs, reference.leftDbfs, 1e-9);
    EXPECT_NEAR(found.rightDbfs, reference.rightDbfs, 1e-9);
}

TEST(Measures, DoNotDependOnTheSizeOfTheBlocks) {
    constexpr int rate = 11025;
    constexpr qint64 frames = rate * 4 + 500;
    const StereoSignal signal = noisyPair(0.5, 0.5, 0.1, 0);
    std::vector<float> samples;
    for (qint64 i = 0; i < frames; ++i) {
        samples.push_back(signal(i).left);
        samples.push_back(signal(i).right);
    }
    const ChannelAnalysis whole = analyze(signal, frames, rate);
    for (const std::size_t block : {1u, 7u, 5512u, 5513u, 11025u, 100000u}) {
        StereoAccumulator accumulator(rate);
        for (std::span<const float> rest = samples; !rest.empty();) {
            const auto count = std::min(2 * block, rest.size());
            accumulator.addInterleaved(rest.first(count));
            rest = rest.subspan(count);
        }
        const ChannelAnalysis found = accumulator.measures();
        EXPECT_NEAR(found.correlation, whole.correlation, 1e-12) << block;
        EXPECT_NEAR(found.msRatio, whole.msRatio, 1e-12) << block;
        EXPECT_NEAR(found.leftDbfs, whole.leftDbfs, 1e-12) << block;
    }
}

TEST(Measures, OfTonesAreThoseOfTheCalculation) {
    constexpr int rate = 8000;
    for (const double correlation : {1.0, 0.97, 0.3, 0.0, -0.5, -1.0}) {
        const ChannelAnalysis found = analyze(testing::correlatedTones(correlation, rate), rate * 3, rate);
        EXPECT_NEAR(found.correlation, correlation, 1e-7);
        EXPECT_NEAR(found.leftDbfs, 20 * std::log10(0.5 / std::numbers::sqrt2), 1e-6);
        EXPECT_NEAR(found.rmsDiff, 0.5 * std::sqrt(1 - correlation), 1e-7);
        if (correlation > -1) {
            EXPECT_NEAR(found.msRatio, (1 - correlation) / (1 + correlation), 1e-6);
        }
    }
}

TEST(Measures, OfIdenticalChannelsAreExact) {
    const ChannelAnalysis found = analyze(noisyPair(0.5, 1, 0.3, 0.3), 20000, 8000);
    EXPECT_EQ(found.correlation, 1.0);
    EXPECT_EQ(found.msRatio, 0.0);
    EXPECT_EQ(found.rmsDiff, 0.0);
    EXPECT_EQ(found.levelDiffDb, 0.0);
}

TEST(Measures, OfInvertedChannelsAreExact) {
    const ChannelAnalysis found = analyze(noisyPair(0.5, 1, 0, 0, -1), 20000, 8000);
    EXPECT_EQ(found.correlation, -1.0);
    EXPECT_GT(found.msRatio, 1e8);
}

TEST(Measures, KnowNoGainInACorrelation) {
    const ChannelAnalysis plain = analyze(noisyPair(0.5, 0.5, 0, 0), 40000, 8000);
    const ChannelAnalysis quieter = analyze(noisyPair(0.5, 0.5, 0, 0, 1.0 / 1024), 40000, 8000);
    EXPECT_EQ(plain.correlation, quieter.correlation);
}

// A constant has no deviation at all, whatever its value; float means would leave some.
TEST(Measures, OfAConstantChannelGiveNoCorrelation) {
    const StereoSignal constant = [](qint64 frame) {
        return StereoFrame{0.1f, float(0.5 * testing::noiseAt(1, frame))};
    };
    EXPECT_EQ(analyze(constant, 48000, 11025).correlation, 0.0);
    const StereoSignal both = [](qint64) { return StereoFrame{0.1f, -0.3f}; };
    EXPECT_EQ(analyze(both, 48000, 11025).correlation, 0.0);
    EXPECT_NEAR(analyze(both, 48000, 11025).leftDbfs, -20, 1e-6);
}

TEST(Measures, CountOnlyWindowsThatHoldSound) {
    constexpr int rate = 8000;
    const StereoSignal tones = testing::correlatedTones(0.6, rate);
    const StereoSignal mostlySilent = [tones](qint64 frame) {
        return frame < 2 * rate ? tones(frame) : StereoFrame{0, 0};
    };
    // Windows at 0, 0.5 and 1 s lie in the tones, that at 1.5 s by half; all that follow are silent.
    const ChannelAnalysis found = analyze(mostlySilent, 20 * rate, rate);
    EXPECT_NEAR(found.correlation, 0.6, 1e-7);
    EXPECT_NEAR(found.msRatio, 0.25, 1e-6);
}

TEST(Measures, SkipAWindowAtExactlyTheSilenceLimitOnly) {
    constexpr int rate = 8000;
    const auto square = [](float amplitude) {
        return [amplitude](qint64 frame) { return StereoFrame{frame % 2 ? amplitude : -amplitude, 0}; };
    };
    EXPECT_EQ(analyze(square(0.99e-5f), rate, rate).rmsDiff, 0.0);
    EXPECT_NEAR(analyze(square(1.01e-5f), rate, rate).rmsDiff, 1.01e-5, 1e-11);
}

TEST(Measures, OfDigitalSilenceAreMinus120) {
    const ChannelAnalysis found = analyze([](qint64) { return StereoFrame{}; }, 20000, 8000);
    EXPECT_EQ(found.leftDbfs, -120.0);
    EXPECT_EQ(found.rightDbfs, -120.0);
    EXPECT_EQ(found.levelDiffDb, 0.0);
    EXPECT_EQ(found.correlation, 0.0);
}

TEST(Measures, LookForAGainDifferenceOnlyWithinItsLimits) {
    const auto gain = [](double decibels) {
        return analyze(noisyPair(0.5, 1, 0, 0, std::pow(10, -decibels / 20)), 20000, 8000).gainCompensatedCorr;
    };
    EXPECT_FALSE(gain(1.49));
    EXPECT_TRUE(gain(1.51));
    EXPECT_TRUE(gain(29.9));
    EXPECT_FALSE(gain(30.1));
    EXPECT_NEAR(gain(6).value(), 1, 1e-9);
    EXPECT_FALSE(analyze(noisyPair(0.5, 0.9, 0, 0, 0.5), 20000, 8000).gainCompensatedCorr);
}

TEST(Measures, RefuseSamplesThatAreNotNumbers) {
    for (const float bad : {std::numeric_limits<float>::quiet_NaN(), std::numeric_limits<float>::infinity(),
                            -std::numeric_limits<float>::infinity()}) {
        for (const bool inBoth : {false, true}) {
            std::vector<float> left(20000, 0.1f), right(20000, 0.2f);
            left[15000] = bad;
            if (inBoth) right[15000] = bad;
            EXPECT_THROW(NativeStereoAnalyzer::analyzeChannels(left, right, 8000, {}), AnalyzerError);
        }
    }
}

TEST(Measures, SurviveTheLargestFloats) {
    const std::vector<float> left(20000, std::numeric_limits<float>::max()), right(20000, -left[0]);
    const ChannelAnalysis found = NativeStereoAnalyzer::analyzeChannels(left, right, 8000, {});
    EXPECT_TRUE(std::isfinite(found.msRatio));
    EXPECT_NEAR(found.leftDbfs, 770.6, 0.1);
}

TEST(Measures, NeedNoWindowsAtAll) {
    const ChannelAnalysis found = analyze(testing::correlatedTones(1, 8000), 5000, 1);
    EXPECT_EQ(found.correlation, 0.0);
    EXPECT_NEAR(found.leftDbfs, -9.03, 0.1);
}

TEST(Median, TakesTheMiddleOrTheMeanOfTheTwoThere) {
    EXPECT_EQ(median({}), 0.0);
    EXPECT_EQ(median({3}), 3.0);
    EXPECT_EQ(median({9, 1, 5}), 5.0);
    EXPECT_EQ(median({9, 1, 5, 2}), 3.5);
}

TEST(PearsonCorrelation, IsZeroForTooLittleAndForDifferentLengths) {
    const std::vector<float> one{1}, three{1, 2, 3}, four{1, 2, 3, 4}, falling{4, 3, 2, 1};
    EXPECT_EQ(pearsonCorrelation(one, one), 0.0);
    EXPECT_EQ(pearsonCorrelation(three, four), 0.0);
    EXPECT_EQ(pearsonCorrelation(four, four), 1.0);
    EXPECT_EQ(pearsonCorrelation(four, falling), -1.0);
}

std::vector<float> noise(qint64 from, qint64 frames) {
    std::vector<float> result;
    for (qint64 i = from; i < from + frames; ++i) result.push_back(float(testing::noiseAt(5, i)));
    return result;
}

TEST(Lag, IsZeroForAnyInput) {
    EXPECT_EQ(estimateLag(noise(0, 4000), noise(40, 4000), 48000, 5), 0.0);
    EXPECT_EQ(estimateLag({}, {}, 48000, 5), 0.0);
    EXPECT_EQ(searchLag(noise(0, 4000), noise(40, 4000), 48000, 5, -2.0), 0.0);
}

// What the search would find if it began lower: so it is the start that settles the answer, and nothing else.
TEST(Lag, WouldBeFoundFromALowerStart) {
    EXPECT_DOUBLE_EQ(searchLag(noise(0, 4000), noise(48, 4000), 48000, 5, 0.0), -1.0);
    EXPECT_DOUBLE_EQ(searchLag(noise(48, 4000), noise(0, 4000), 48000, 5, 0.0), 1.0);
    EXPECT_DOUBLE_EQ(searchLag(noise(0, 4000), noise(48, 4000), 48000, 0.02, 0.0), 0.0) << "a reach of no sample";
    EXPECT_DOUBLE_EQ(searchLag(noise(0, 1), noise(0, 1), 48000, 5, 0.0), 0.0) << "shorter than the reach";
}

TEST(Lag, OfLongMaterialIsSearchedAtAThousandHertz) {
    constexpr int rate = 2000;
    // Longer than ten minutes, 4 ms apart: eight samples, or four of those that are left at 1 kHz.
    EXPECT_DOUBLE_EQ(searchLag(noise(8, rate * 600 + 2), noise(0, rate * 600 + 2), rate, 6, 0.0), 4.0);
    EXPECT_DOUBLE_EQ(searchLag(std::vector<float>(601), std::vector<float>(601), 1, 1000, 0.0), 0.0) << "below 1 kHz";
}

} // namespace
} // namespace ostrel
