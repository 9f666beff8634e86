// What a two-channel file really is, with its words: views, logs and reports take them from here.
#pragma once

#include <QString>
#include <array>
#include <optional>

namespace ostrel {

enum class StereoClassification {
    dualMono,
    dualMonoGainMismatch,
    nearMono,
    trueStereo,
    broken,
    oneSidedL,
    oneSidedR,
    silent,
    trueMono,
    unsupported,
};

inline constexpr std::array kAllStereoClassifications{
    StereoClassification::dualMono,  StereoClassification::dualMonoGainMismatch,
    StereoClassification::nearMono,  StereoClassification::trueStereo,
    StereoClassification::broken,    StereoClassification::oneSidedL,
    StereoClassification::oneSidedR, StereoClassification::silent,
    StereoClassification::trueMono,  StereoClassification::unsupported,
};

QString rawText(StereoClassification classification);     // "DUAL_MONO"
QString displayName(StereoClassification classification); // "Dual Mono"

// The classification of that raw text; nothing for any other text.
std::optional<StereoClassification> stereoClassification(const QString& rawText);

} // namespace ostrel
