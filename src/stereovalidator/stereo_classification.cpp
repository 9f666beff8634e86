#include "stereovalidator/stereo_classification.h"

#include <algorithm>

namespace ostrel {
namespace {

struct Words {
    const char* raw;
    const char* display;
};

// In the order of the enumeration.
constexpr std::array<Words, kAllStereoClassifications.size()> kWords{{
    {"DUAL_MONO", "Dual Mono"},
    {"DUAL_MONO_GAIN_MISMATCH", "Dual Mono (Gain Mismatch)"},
    {"NEAR_MONO", "Near Mono"},
    {"TRUE_STEREO", "True Stereo"},
    {"BROKEN", "Broken"},
    {"ONE_SIDED_L", "One-Sided (L)"},
    {"ONE_SIDED_R", "One-Sided (R)"},
    {"SILENT", "Silent"},
    {"TRUE_MONO", "True Mono"},
    {"UNSUPPORTED", "Unsupported"},
}};

const Words& wordsOf(StereoClassification classification) { return kWords[static_cast<std::size_t>(classification)]; }

} // namespace

QString rawText(StereoClassification classification) { return QString::fromLatin1(wordsOf(classification).raw); }

QString displayName(StereoClassification classification) {
    return QString::fromLatin1(wordsOf(classification).display);
}

std::optional<StereoClassification> stereoClassification(const QString& text) {
    const auto found = std::find_if(kAllStereoClassifications.begin(), kAllStereoClassifications.end(),
                                    [&](StereoClassification candidate) { return rawText(candidate) == text; });
    return found == kAllStereoClassifications.end() ? std::nullopt : std::optional(*found);
}

} // namespace ostrel
