#include "stereovalidator/stereo_rules.h"
#include "support/test_folder.h"

#include <cmath>
#include <gtest/gtest.h>

namespace ostrel {
namespace {

using Class = StereoClassification;

struct RuleCase {
    const char* what;
    ChannelAnalysis measures;
    Class expected;
};
void PrintTo(const RuleCase& rule, std::ostream* stream) { *stream << rule.what; }

ChannelAnalysis measures(double correlation, double ratio, double left = -20, double right = -20,
                         std::optional<double> gainCompensated = std::nullopt, double lag = 0) {
    return {.correlation = correlation,
            .msRatio = ratio,
            .lagMs = lag,
            .leftDbfs = left,
            .rightDbfs = right,
            .levelDiffDb = std::abs(left - right),
            .gainCompensatedCorr = gainCompensated};
}

class ClassificationRules : public ::testing::TestWithParam<RuleCase> {};

TEST_P(ClassificationRules, DecideInTheirOrder) {
    EXPECT_EQ(rawText(classify(GetParam().measures, StereoValidatorOptions())), rawText(GetParam().expected))
        << GetParam().what;
}

INSTANTIATE_TEST_SUITE_P(
    Table, ClassificationRules,
    ::testing::Values(
        RuleCase{"both at the silence limit", measures(1, 0, -100, -100), Class::silent},
        RuleCase{"one just above the silence limit", measures(1, 0, -99.9, -100), Class::dualMono},
        RuleCase{"left alone", measures(0, 1, -20, -120), Class::oneSidedL},
        RuleCase{"right alone", measures(0, 1, -120, -20), Class::oneSidedR},
        RuleCase{"exactly the one-sided difference", measures(0, 1, -20, -70), Class::trueStereo},
        RuleCase{"just past the one-sided difference", measures(0, 1, -20, -70.01), Class::oneSidedL},
        RuleCase{"too quiet to be one-sided", measures(0, 1, -90, -145), Class::trueStereo},
        RuleCase{"a left signal at -95 dBFS against silence", measures(0, 1, -95, -120), Class::trueStereo},
        RuleCase{"identical", measures(1, 0), Class::dualMono},
        RuleCase{"exactly the dual mono threshold", measures(0.995, 0.0099), Class::dualMono},
        RuleCase{"negative correlation with next to no side", measures(-0.995, 0.0099), Class::dualMono},
        RuleCase{"above the dual mono threshold with side and no gain match", measures(0.999, 0.01), Class::trueStereo},
        RuleCase{"gain mismatch", measures(0.9995, 0.02, -20, -26, 0.995), Class::dualMonoGainMismatch},
        RuleCase{"gain mismatch of opposite polarity", measures(-0.9995, 9, -20, -26, -0.995),
                 Class::dualMonoGainMismatch},
        RuleCase{"gain match not good enough", measures(0.9995, 0.02, -20, -26, 0.9949), Class::trueStereo},
        RuleCase{"gain match not measured", measures(0.9995, 0.02, -20, -26), Class::trueStereo},
        RuleCase{"level difference at its lower end", measures(0.9995, 0.02, -20, -21.5, 1.0), Class::trueStereo},
        RuleCase{"level difference at its upper end", measures(0.9995, 0.9, -20, -50, 1.0), Class::trueStereo},
        RuleCase{"correlation below the gain test's", measures(0.9994, 0.02, -20, -26, 1.0), Class::trueStereo},
        RuleCase{"near mono at its lower end", measures(0.95, 0.02), Class::nearMono},
        RuleCase{"near mono just below its upper end", measures(0.9949, 0.02), Class::nearMono},
        RuleCase{"near mono by magnitude", measures(-0.96, 30), Class::nearMono},
        RuleCase{"below near mono", measures(0.949, 0.02), Class::trueStereo},
        RuleCase{"no correlation at all", measures(0, 1), Class::trueStereo},
        RuleCase{"just above the opposite limit", measures(-0.19, 1), Class::trueStereo},
        RuleCase{"at the opposite limit", measures(-0.2, 1), Class::broken},
        RuleCase{"opposite polarity", measures(-1, 5e8), Class::broken},
        RuleCase{"identical but late", measures(1, 0, -20, -20, std::nullopt, 1.1), Class::trueStereo},
        RuleCase{"far too late", measures(1, 0, -20, -20, std::nullopt, -5), Class::broken}));

TEST(ClassificationRules, FollowTheThresholdsOfThePreset) {
    const auto word = [](const ChannelAnalysis& found, AnalysisPreset preset) {
        return rawText(classify(found, optionsOf(preset)));
    };
    EXPECT_EQ(word(measures(0.996, 0.001), AnalysisPreset::recommended), QStringLiteral("DUAL_MONO"));
    EXPECT_EQ(word(measures(0.996, 0.001), AnalysisPreset::strict), QStringLiteral("NEAR_MONO"));
    EXPECT_EQ(word(measures(0.94, 0.02), AnalysisPreset::relaxed), QStringLiteral("NEAR_MONO"));
    EXPECT_EQ(word(measures(0, 1, -20, -75), AnalysisPreset::recommended), QStringLiteral("ONE_SIDED_L"));
    EXPECT_EQ(word(measures(0, 1, -20, -75), AnalysisPreset::strict), QStringLiteral("TRUE_STEREO"));
    EXPECT_EQ(word(measures(0, 1, -65, -20), AnalysisPreset::relaxed), QStringLiteral("ONE_SIDED_R"));
}

TEST(ClassificationRules, LeaveTheDifferenceOfTheChannelsAside) {
    ChannelAnalysis found = measures(1, 0);
    found.rmsDiff = 10;
    EXPECT_EQ(classify(found, StereoValidatorOptions()), Class::dualMono);
}

double confidence(Class classification, double correlation, double ratio = 0, double lag = 0) {
    return calculateConfidence(classification, correlation, ratio, lag, StereoValidatorOptions());
}

TEST(ConfidenceTable, OfDualMonoFallsWithCorrelationAndSide) {
    EXPECT_DOUBLE_EQ(confidence(Class::dualMono, 1), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::dualMono, -1), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::dualMono, 0.995, 0.005), 84.65);
    EXPECT_DOUBLE_EQ(confidence(Class::dualMono, 1, 0.5), 70);
}

TEST(ConfidenceTable, OfAGainMismatchIs85OfTheCorrelation) {
    EXPECT_DOUBLE_EQ(confidence(Class::dualMonoGainMismatch, 1), 85);
    EXPECT_DOUBLE_EQ(confidence(Class::dualMonoGainMismatch, -0.9996), 84.966);
}

TEST(ConfidenceTable, OfNearMonoIsHighestAtAThresholdAndZeroForNegativeCorrelations) {
    EXPECT_DOUBLE_EQ(confidence(Class::nearMono, 0.95), 100);
    EXPECT_NEAR(confidence(Class::nearMono, 0.97), 60, 1e-9);
    EXPECT_NEAR(confidence(Class::nearMono, 0.9725), 55, 1e-9);
    EXPECT_DOUBLE_EQ(confidence(Class::nearMono, -0.96), 0);
}

TEST(ConfidenceTable, OfTrueStereoRestsOnSideAndSign) {
    EXPECT_DOUBLE_EQ(confidence(Class::trueStereo, 0.5, 0.2), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::trueStereo, 0.5, 0.05), 70);
    EXPECT_DOUBLE_EQ(confidence(Class::trueStereo, 0, 0.05), 30);
    EXPECT_DOUBLE_EQ(confidence(Class::trueStereo, 0, 0), 0);
}

TEST(ConfidenceTable, OfBrokenTakesTheFirstReasonThatHolds) {
    EXPECT_DOUBLE_EQ(confidence(Class::broken, -1, 5e8), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::broken, -0.2), 20);
    EXPECT_DOUBLE_EQ(confidence(Class::broken, -0.1, 0, -5), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::broken, 0.9, 0, 20), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::broken, 0.9, 0, 4.9), 50);
}

TEST(ConfidenceTable, OfTheRestIsFixed) {
    EXPECT_DOUBLE_EQ(confidence(Class::oneSidedL, 0.3), 85);
    EXPECT_DOUBLE_EQ(confidence(Class::oneSidedR, 0.3), 85);
    EXPECT_DOUBLE_EQ(confidence(Class::silent, 0), 100);
    EXPECT_DOUBLE_EQ(confidence(Class::trueMono, 1), 0);
    EXPECT_DOUBLE_EQ(confidence(Class::unsupported, 1), 0);
}

} // namespace
} // namespace ostrel
