#include "stereovalidator/analysis_result.h"

#include <QStringList>
#include <algorithm>
#include <initializer_list>

namespace ostrel {
namespace {

using Class = StereoClassification;

struct SummaryPart {
    const char* word;
    std::vector<Class> classes;
};

const std::vector<SummaryPart>& summaryParts() {
    static const std::vector<SummaryPart> parts{
        {"Dual Mono", {Class::dualMono, Class::dualMonoGainMismatch}},
        {"Near Mono", {Class::nearMono}},
        {"True Stereo", {Class::trueStereo}},
        {"Broken", {Class::broken}},
        {"One-Sided", {Class::oneSidedL, Class::oneSidedR}},
        {"Silent", {Class::silent}},
    };
    return parts;
}

} // namespace

QString AnalysisResult::summary() const {
    QStringList parts{stopped ? QStringLiteral("Analyzed: %1 of %2 files, stopped").arg(results.size()).arg(totalFiles)
                              : QStringLiteral("Analyzed: %1 files").arg(totalFiles)};
    const auto add = [&](const char* word, long count) {
        if (count > 0) parts << QStringLiteral("%1: %2").arg(QLatin1String(word)).arg(count);
    };
    for (const SummaryPart& part : summaryParts()) {
        add(part.word, std::count_if(results.begin(), results.end(), [&](const StereoValidatorResult& result) {
                return std::find(part.classes.begin(), part.classes.end(), result.classification) != part.classes.end();
            }));
    }
    add("Errors", errorCount);
    return parts.join(QStringLiteral(" • "));
}

} // namespace ostrel
