#include "stereovalidator/stereo_validator_options.h"

namespace ostrel {

QString rawText(AnalysisPreset preset) {
    switch (preset) {
    case AnalysisPreset::recommended: return QStringLiteral("Recommended");
    case AnalysisPreset::strict: return QStringLiteral("Strict");
    case AnalysisPreset::relaxed: break;
    }
    return QStringLiteral("Relaxed");
}

QString shortText(AnalysisPreset preset) {
    switch (preset) {
    case AnalysisPreset::recommended: return QStringLiteral("Balanced thresholds for most audio files");
    case AnalysisPreset::strict: return QStringLiteral("Aggressive detection, fewer false positives");
    case AnalysisPreset::relaxed: break;
    }
    return QStringLiteral("Permissive detection, catches borderline cases");
}

StereoValidatorOptions optionsOf(AnalysisPreset preset) {
    switch (preset) {
    case AnalysisPreset::recommended: return {0.995, 0.95, 1.0, 5.0, 50.0};
    case AnalysisPreset::strict: return {0.998, 0.97, 0.5, 3.0, 60.0};
    case AnalysisPreset::relaxed: break;
    }
    return {0.99, 0.93, 2.0, 8.0, 40.0};
}

} // namespace ostrel
