// The thresholds of one analysis, and the presets that set them.
#pragma once

#include <QString>
#include <array>

namespace ostrel {

struct StereoValidatorOptions {
    double dualMonoThreshold = 0.995; // magnitude of a correlation
    double nearMonoThreshold = 0.95;  // magnitude of a correlation
    double smallLagMs = 1.0;
    double bigLagMs = 5.0;
    double oneSidedDb = 50.0; // difference of the channels' levels
    // Carried along with a run; no number depends on these two.
    bool includeMidSide = true;
    bool generateCSV = false;
    // Beside the classification, and without a say in it: how far to trust it, and why.
    bool gathersEvidence = false;

    bool operator==(const StereoValidatorOptions&) const = default;
};

enum class AnalysisPreset { recommended, strict, relaxed };
inline constexpr std::array kAllAnalysisPresets{AnalysisPreset::recommended, AnalysisPreset::strict,
                                                AnalysisPreset::relaxed};

QString rawText(AnalysisPreset preset);   // "Recommended"
QString shortText(AnalysisPreset preset); // one line on whom it suits

// The five thresholds of the preset; the flags are the defaults.
StereoValidatorOptions optionsOf(AnalysisPreset preset);

} // namespace ostrel
