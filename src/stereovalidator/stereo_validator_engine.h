// The analysis driver between the controller and the analyzer: one line in the debug log a run.
#pragma once

#include "stereovalidator/native_stereo_analyzer.h"

namespace ostrel {

class StereoValidatorEngine {
public:
    explicit StereoValidatorEngine(const QString& ffmpegPath = QString(), const QString& cachePath = QString());

    // See NativeStereoAnalyzer.
    AnalysisResult analyzeFiles(const QStringList& files, const StereoValidatorOptions& options,
                                const NativeStereoAnalyzer::ProgressHandler& progressHandler = {},
                                const NativeStereoAnalyzer::StopRequest& stop = {}) const;

private:
    NativeStereoAnalyzer nativeAnalyzer_;
};

} // namespace ostrel
