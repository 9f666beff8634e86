#include "stereovalidator/stereo_validator_engine.h"

#include "stereovalidator/validator_words.h"

namespace ostrel {
namespace {

void writeToDebugLog(const QString& text) { writeValidatorDebugLine(text, QStringLiteral("StereoValidatorEngine")); }

} // namespace

StereoValidatorEngine::StereoValidatorEngine(const QString& ffmpegPath, const QString& cachePath)
    : nativeAnalyzer_(ffmpegPath, cachePath) {
    writeToDebugLog(QStringLiteral("Using NATIVE in-process analyzer (no Python/libsndfile required)"));
}

AnalysisResult StereoValidatorEngine::analyzeFiles(const QStringList& files, const StereoValidatorOptions& options,
                                                   const NativeStereoAnalyzer::ProgressHandler& progressHandler,
                                                   const NativeStereoAnalyzer::StopRequest& stop) const {
    writeToDebugLog(QStringLiteral("Starting NATIVE analysis: %1 files").arg(files.size()));
    return nativeAnalyzer_.analyzeFiles(files, options, progressHandler, stop);
}

} // namespace ostrel
