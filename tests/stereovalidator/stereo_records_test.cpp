#include "stereovalidator/analysis_result.h"
#include "stereovalidator/stereo_validator_options.h"
#include "stereovalidator/stereo_validator_result.h"
#include "support/test_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace ostrel {
namespace {

using Class = StereoClassification;

TEST(StereoClassificationTest, ListsItsCasesInOrderWithTheirWords) {
    QStringList words;
    for (const Class classification : kAllStereoClassifications) {
        words << rawText(classification) + QStringLiteral(" = ") + displayName(classification);
        EXPECT_EQ(stereoClassification(rawText(classification)), classification);
    }
    EXPECT_EQ(words.join(QLatin1Char('\n')), QStringLiteral("DUAL_MONO = Dual Mono\n"
                                                            "DUAL_MONO_GAIN_MISMATCH = Dual Mono (Gain Mismatch)\n"
                                                            "NEAR_MONO = Near Mono\n"
                                                            "TRUE_STEREO = True Stereo\n"
                                                            "BROKEN = Broken\n"
                                                            "ONE_SIDED_L = One-Sided (L)\n"
                                                            "ONE_SIDED_R = One-Sided (R)\n"
                                                            "SILENT = Silent\n"
                                                            "TRUE_MONO = True Mono\n"
                                                            "UNSUPPORTED = Unsupported"));
    EXPECT_FALSE(stereoClassification(QStringLiteral("dual_mono")));
}

TEST(AnalysisPresetTest, SetsTheFiveThresholds) {
    EXPECT_EQ(optionsOf(AnalysisPreset::recommended),
              (StereoValidatorOptions{0.995, 0.95, 1.0, 5.0, 50.0, true, false}));
    EXPECT_EQ(optionsOf(AnalysisPreset::strict), (StereoValidatorOptions{0.998, 0.97, 0.5, 3.0, 60.0, true, false}));
    EXPECT_EQ(optionsOf(AnalysisPreset::relaxed), (StereoValidatorOptions{0.99, 0.93, 2.0, 8.0, 40.0, true, false}));
    EXPECT_EQ(StereoValidatorOptions(), optionsOf(AnalysisPreset::recommended));
}

TEST(AnalysisPresetTest, HasItsWords) {
    QStringList words;
    for (const AnalysisPreset preset : kAllAnalysisPresets) words << rawText(preset) << shortText(preset);
    EXPECT_EQ(words, (QStringList{
                         QStringLiteral("Recommended"), QStringLiteral("Balanced thresholds for most audio files"),
                         QStringLiteral("Strict"), QStringLiteral("Aggressive detection, fewer false positives"),
                         QStringLiteral("Relaxed"), QStringLiteral("Permissive detection, catches borderline cases")}));
}

StereoValidatorResult record(Class classification, double correlation, double ratio) {
    StereoValidatorResult result;
    result.classification = classification;
    result.correlation = correlation;
    result.midSideRatio = ratio;
    return result;
}

TEST(StereoValidatorResultTest, FormatsItsDurationInMinutesThatGoOnPastTheHour) {
    const auto text = [](double seconds) {
        StereoValidatorResult result;
        result.durationSeconds = seconds;
        return result.formattedDuration();
    };
    EXPECT_EQ(text(0), QStringLiteral("0:00"));
    EXPECT_EQ(text(59.99), QStringLiteral("0:59"));
    EXPECT_EQ(text(61), QStringLiteral("1:01"));
    EXPECT_EQ(text(3725.5), QStringLiteral("62:05"));
}

TEST(StereoValidatorResultTest, SaysAntiPhaseOnlyBeyondBothLimits) {
    EXPECT_EQ(record(Class::broken, -1, 5e8).formattedMidSideRatio(), QStringLiteral("Mid≈0 (Anti-Phase)"));
    EXPECT_EQ(record(Class::broken, -0.9, 5e8).formattedMidSideRatio(), QStringLiteral("500000000.0000"));
    EXPECT_EQ(record(Class::broken, -0.95, 1000).formattedMidSideRatio(), QStringLiteral("1000.0000"));
    EXPECT_EQ(record(Class::trueStereo, 0.5, 0.123456).formattedMidSideRatio(), QStringLiteral("0.1235"));
}

TEST(StereoValidatorResultTest, NamesPolarityInversionInTheSmartName) {
    const QString inverted = QStringLiteral("Broken: Polarity-Inverted Dual Mono (Will Null in Mono)");
    EXPECT_EQ(record(Class::broken, -0.95, 1000.5).smartDisplayName(), inverted);
    EXPECT_EQ(record(Class::broken, -0.9, 1000.5).smartDisplayName(), QStringLiteral("Broken"));
    EXPECT_EQ(record(Class::broken, -0.95, 1000).smartDisplayName(), QStringLiteral("Broken"));
    StereoValidatorResult late = record(Class::broken, -0.95, 2000);
    late.lagMs = -1.0;
    EXPECT_EQ(late.smartDisplayName(), QStringLiteral("Broken"));
    EXPECT_EQ(record(Class::silent, -1, 5e8).smartDisplayName(), QStringLiteral("Silent"));
    EXPECT_EQ(record(Class::dualMonoGainMismatch, 1, 0).smartDisplayName(),
              QStringLiteral("Dual Mono (Gain Mismatch)"));
}

TEST(StereoValidatorResultTest, EncodesExactlyItsKeys) {
    StereoValidatorResult result = record(Class::oneSidedR, 0.25, 1.5);
    result.id = QUuid::fromString(QStringLiteral("0d6f7f0e-1c5a-4a43-9b39-7a5a2f3c8b11"));
    result.filepath = QStringLiteral("/takes/Bühne 1.wav");
    result.sampleRate = 48000;
    result.bitDepth = 32;
    result.durationSeconds = 2.5;
    const nlohmann::json expected = {{"id", "0D6F7F0E-1C5A-4A43-9B39-7A5A2F3C8B11"},
                                     {"filepath", "/takes/Bühne 1.wav"},
                                     {"classification", "ONE_SIDED_R"},
                                     {"correlation", 0.25},
                                     {"confidence", 0.0},
                                     {"lagMs", 0.0},
                                     {"midSideRatio", 1.5},
                                     {"rmsDiff", 0.0},
                                     {"durationSeconds", 2.5},
                                     {"sampleRate", 48000},
                                     {"bitDepth", 32}};
    EXPECT_EQ(nlohmann::json(result), expected);
    EXPECT_EQ(nlohmann::json(result).get<StereoValidatorResult>(), result);

    result.error = QStringLiteral("damaged");
    EXPECT_EQ(nlohmann::json(result).at("error"), "damaged");
    EXPECT_EQ(nlohmann::json(result).get<StereoValidatorResult>(), result);
}

TEST(StereoValidatorResultTest, RefusesAMissingKeyAndAnUnknownClassification) {
    nlohmann::json json = record(Class::broken, 0, 0);
    json["classification"] = "SHINY";
    EXPECT_THROW(json.get<StereoValidatorResult>(), nlohmann::json::out_of_range);
    json["classification"] = "BROKEN";
    json.erase("rmsDiff");
    EXPECT_THROW(json.get<StereoValidatorResult>(), nlohmann::json::out_of_range);
}

TEST(AnalysisResultTest, SummarisesTheCountsAboveZeroInOrder) {
    AnalysisResult batch;
    batch.totalFiles = 12;
    batch.errorCount = 2;
    for (const Class classification :
         {Class::silent, Class::oneSidedR, Class::oneSidedL, Class::broken, Class::trueStereo, Class::nearMono,
          Class::dualMonoGainMismatch, Class::dualMono, Class::dualMono, Class::trueMono, Class::unsupported}) {
        batch.results.push_back(record(classification, 0, 0));
    }
    EXPECT_EQ(batch.summary(), QStringLiteral("Analyzed: 12 files • Dual Mono: 3 • Near Mono: 1 • True Stereo: 1 • "
                                              "Broken: 1 • One-Sided: 2 • Silent: 1 • Errors: 2"));
    EXPECT_EQ(AnalysisResult().summary(), QStringLiteral("Analyzed: 0 files"));
    batch.results.resize(3);
    batch.totalFiles = 41;
    batch.stopped = true;
    batch.errorCount = 0;
    EXPECT_EQ(batch.summary(), QStringLiteral("Analyzed: 3 of 41 files, stopped • One-Sided: 2 • Silent: 1"));
}

} // namespace
} // namespace ostrel
