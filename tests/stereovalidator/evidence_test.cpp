#include "stereovalidator/evidence/evidence_document.h"
#include "stereovalidator/evidence/evidence_gatherer.h"
#include "stereovalidator/evidence_reference.h"
#include "stereovalidator/native_stereo_analyzer.h"
#include "stereovalidator/verdict_situations.h"

#include <cmath>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using testing::kRate;
using testing::noiseAt;
using testing::referenceEvidence;
using testing::ReferenceEvidence;
using testing::Situation;
using testing::StereoSignal;

// In blocks of that many frames.
StereoEvidence gathered(const StereoSignal& signal, double seconds, std::size_t block = 4096, int rate = kRate) {
    std::vector<float> samples;
    for (qint64 i = 0; i < std::lround(seconds * rate); ++i) {
        samples.push_back(signal(i).left);
        samples.push_back(signal(i).right);
    }
    const auto inBlocks = [&](const auto& take) {
        for (std::size_t at = 0; at < samples.size(); at += 2 * block) {
            take(std::span(samples).subspan(at, std::min(2 * block, samples.size() - at)));
        }
    };
    EvidenceGatherer gatherer(rate);
    StereoAccumulator accumulator(rate, &gatherer);
    inBlocks([&](std::span<const float> each) { accumulator.addInterleaved(each); });
    gatherer.end(accumulator.unfinished());
    if (gatherer.lagFrames() != 0) {
        WindowRow row(rate);
        StereoAccumulator aligned(rate, &row);
        ChannelAligner aligner(gatherer.lagFrames());
        inBlocks([&](std::span<const float> each) { aligned.addInterleaved(aligner.align(each)); });
        row.end(aligned.unfinished());
        gatherer.takeAligned(row);
    }
    return gatherer.evidence();
}

Situation situation(const char* name) {
    for (const Situation& each : testing::situations()) {
        if (std::string(each.name) == name) return each;
    }
    ADD_FAILURE() << name;
    return {};
}

TEST(Evidence, EqualsAnIndependentImplementation) {
    int compared = 0;
    for (const Situation& each : testing::situations()) {
        if (each.seconds < 2 || each.isMono) continue;
        SCOPED_TRACE(each.name);
        const double seconds = std::min(each.seconds, 8.0);
        const StereoEvidence ours = gathered(each.signal, seconds);
        if (ours.activeWindows == 0 || std::abs(ours.balanceDb) > 45 || ours.channels[0].dead.length > 0 ||
            ours.channels[1].dead.length > 0) {
            continue; // where a channel holds nothing there is no correlation to compare
        }
        const ReferenceEvidence other = referenceEvidence(each.signal, seconds, ours.floorDbfs + 11.001);
        ++compared;
        EXPECT_NEAR(ours.balanceDb, other.balanceDb, 0.05);
        EXPECT_NEAR(ours.changingShare, other.changingShare, 0.02);
        EXPECT_NEAR(ours.upperShare, other.upperShare, 0.03);
        EXPECT_NEAR(ours.upperCorrelation, other.upperCorrelation, other.upperShare > 0.01 ? 0.04 : 2.0);
        if (ours.lagMs == 0) {
            if (ours.residualDb > -45) {
                EXPECT_NEAR(ours.residualDb, other.worstResidualDb, 0.2);
                EXPECT_NEAR(ours.lowestCorrelation, other.lowestCorrelation, 0.01);
                EXPECT_NEAR(ours.highestCorrelation, other.highestCorrelation, 0.01);
            }
        } else {
            EXPECT_DOUBLE_EQ(ours.lagMs, other.lagMs);
        }
    }
    EXPECT_GE(compared, 40);
}

TEST(Evidence, IsTheSameForAnyBlocks) {
    for (const char* name : {"the same, 1.25 ms later on the right", "dropouts on the left", "near mono"}) {
        const Situation each = situation(name);
        const StereoEvidence whole = gathered(each.signal, 5, 100'000);
        for (const std::size_t block : {1UL, 7UL, 1000UL, 4096UL}) {
            const StereoEvidence pieces = gathered(each.signal, 5, block);
            EXPECT_EQ(pieces.channels[0].dropouts, whole.channels[0].dropouts);
            EXPECT_EQ(pieces.channels[0].longestDropout, whole.channels[0].longestDropout);
            EXPECT_NEAR(pieces.residualDb, whole.residualDb, 0.01);
            EXPECT_NEAR(pieces.upperCorrelation, whole.upperCorrelation, 1e-5);
            EXPECT_EQ(pieces.lagMs, whole.lagMs);
            EXPECT_EQ(pieces.strip, whole.strip);
        }
    }
}

TEST(Evidence, TellsClippingAndWhereItBegins) {
    const auto loud = [](qint64 frame) {
        const double wave = 1.5 * std::sin(2 * M_PI * 200 * double(frame) / kRate);
        return frame < 2 * kRate ? 0.3 * wave : wave;
    };
    const StereoEvidence evidence = gathered(
        [&](qint64 frame) {
            const float left = float(std::clamp(loud(frame), -1.0, 1.0));
            return testing::StereoFrame{left, float(loud(frame))}; // floats beyond full scale are not clipped
        },
        3);
    EXPECT_EQ(evidence.channels[0].clippedRuns, 400); // two a period
    EXPECT_NEAR(evidence.channels[0].firstClip, 2.0, 0.005);
    EXPECT_EQ(evidence.channels[1].clippedRuns, 0);
    EXPECT_FALSE(isLeftTheCleanerChannel(evidence));
}

TEST(Evidence, TakesNoFadeAndNoBeginOrEndForADropout) {
    const auto fading = [](qint64 frame) {
        const double seconds = double(frame) / kRate;
        if (seconds < 0.5 || seconds > 4.5) return 0.0;
        const double gain = std::clamp(std::abs(seconds - 2.5) - 0.5, 0.0, 1.0); // silent from 2 s to 3 s
        return gain * gain * 0.3 * noiseAt(1, frame);
    };
    const auto signal = [&](qint64 frame) {
        return testing::StereoFrame{float(fading(frame)), float(0.3 * noiseAt(2, frame))};
    };
    const StereoEvidence evidence = gathered(signal, 5);
    EXPECT_EQ(evidence.channels[0].dropouts, 0);
    EXPECT_NEAR(evidence.channels[0].dead.length, 1.0, 0.51);
}

TEST(Evidence, FindsDropoutsOfOneMillisecondAndTheirPlace) {
    const auto signal = [](qint64 frame) {
        const bool isOut = frame >= 12'345 && frame < 12'345 + 8;
        const float sample = float(0.3 * noiseAt(1, frame) + (noiseAt(1, frame) > 0 ? 0.1 : -0.1));
        return testing::StereoFrame{sample, isOut ? 0.0F : sample};
    };
    const StereoEvidence evidence = gathered(signal, 3);
    EXPECT_EQ(evidence.channels[0].dropouts, 0);
    EXPECT_EQ(evidence.channels[1].dropouts, 1);
    EXPECT_EQ(evidence.channels[1].longestDropout, (Stretch{12'345.0 / kRate, 8.0 / kRate}));
    EXPECT_TRUE(isLeftTheCleanerChannel(evidence));
}

TEST(Evidence, KeepsAStripOfFixedSizeForAnyLength) {
    EvidenceStrip strip;
    for (int i = 0; i < 100'000; ++i) {
        WindowFacts window{.start = 0.5 * i, .length = 0.5, .leftDbfs = -20, .rightDbfs = -20, .louderDbfs = -20};
        window.correlation = i == 77'777 ? -0.5 : 1.0;
        strip.add(window);
    }
    const std::vector<StripCell> cells = strip.cells();
    EXPECT_LE(cells.size(), 2048U);
    EXPECT_GE(cells.size(), 1024U);
    const auto at = static_cast<std::size_t>(77'777 * 0.5 / strip.cellSeconds());
    EXPECT_EQ(cells.at(at).correlation, -50);
    EXPECT_EQ(cells.at(at - 1).correlation, 100);
    EXPECT_EQ(cells.at(at).left, 20);
}

TEST(Evidence, SurvivesItsDocument) {
    for (const char* name :
         {"the same, 1.25 ms later on the right", "dropouts on the left", "near mono that opens up"}) {
        const StereoEvidence evidence = gathered(situation(name).signal, 10);
        EXPECT_EQ(nlohmann::json::parse(nlohmann::json(evidence).dump()).get<StereoEvidence>(), evidence);
    }
}

TEST(RecordedPairs, AreKnownByNamesFunctionsAndFileNames) {
    using Kind = RecordedPair::Kind;
    const auto kind = [](const char* left, const char* right, const char* file = "a.wav", const char* leftFunction = "",
                         const char* rightFunction = "") {
        return recordedPairOf({TrackLabel{QLatin1String(left), QLatin1String(leftFunction)},
                               TrackLabel{QLatin1String(right), QLatin1String(rightFunction)}},
                              QLatin1String(file))
            .kind;
    };
    EXPECT_EQ(kind("M", "S"), Kind::midSide);
    EXPECT_EQ(kind("Amb Mid", "Amb Side"), Kind::midSide);
    EXPECT_EQ(kind("MS-M", "MS-S"), Kind::midSide);
    EXPECT_EQ(kind("1", "2", "a.wav", "M-MID_SIDE", "S-MID_SIDE"), Kind::midSide);
    EXPECT_EQ(kind("Toms", "Drums"), Kind::separate);
    EXPECT_EQ(kind("Lav", "Lav_D"), Kind::dualLevel);
    EXPECT_EQ(kind("", "", "Scene001-T001_Tr1_D.wav"), Kind::dualLevel);
    EXPECT_EQ(kind("Boom", "Boom BU"), Kind::backup);
    EXPECT_EQ(kind("BU1", "Lav"), Kind::backup);
    EXPECT_EQ(kind("W", "Y"), Kind::ambisonic);
    EXPECT_EQ(kind("MixL", "MixR"), Kind::mix);
    EXPECT_EQ(kind("Mix L", "Mix R"), Kind::mix);
    EXPECT_EQ(kind("L", "R"), Kind::stereo);
    EXPECT_EQ(kind("Left", "Right"), Kind::stereo);
    EXPECT_EQ(kind("Amb L", "Amb R"), Kind::stereo);
    EXPECT_EQ(kind("Boom", "Lav 1"), Kind::separate);
    EXPECT_EQ(kind("Rain 1", "Rain 2"), Kind::unknown);
    EXPECT_EQ(kind("Tr1", "Tr2"), Kind::unknown);
    EXPECT_EQ(kind("CH1", "CH2"), Kind::unknown);
    EXPECT_EQ(kind("", ""), Kind::unknown);
    EXPECT_EQ(kind("Boom", ""), Kind::unknown);
}

} // namespace
} // namespace ostrel
