#include "stereovalidator/stereo_validator_engine.h"

#include "foundation/logs/debug_log.h"

namespace ostrel {
namespace {

void writeToDebugLog(const QString& text) { appendToDebugLog(QStringLiteral("StereoValidatorEngine"), text); }

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
