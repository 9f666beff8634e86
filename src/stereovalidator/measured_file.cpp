#include "stereovalidator/measured_file.h"

#include "stereovalidator/stereo_rules.h"

namespace ostrel {
namespace {

constexpr int kBitDepthAsRead = 32; // whatever the file's own depth

void classifyInto(StereoValidatorResult& result, const ChannelAnalysis& measures,
                  const StereoValidatorOptions& options) {
    result.classification = classify(measures, options);
    result.correlation = measures.correlation;
    result.rmsDiff = measures.rmsDiff;
    result.midSideRatio = measures.msRatio;
    result.lagMs = measures.lagMs;
    result.confidence =
        calculateConfidence(result.classification, measures.correlation, measures.msRatio, measures.lagMs, options);
}

} // namespace

StereoValidatorResult resultOf(const QString& file, const MeasuredFile& measured,
                               const StereoValidatorOptions& options) {
    StereoValidatorResult result;
    result.filepath = file;
    result.durationSeconds = measured.durationSeconds;
    result.sampleRate = measured.sampleRate;
    result.bitDepth = kBitDepthAsRead;
    if (measured.channels == 1) {
        result.classification = StereoClassification::trueMono;
        result.confidence = 100.0;
        if (options.gathersEvidence) result.trust = Trust::sure;
    } else if (measured.channels != 2) {
        result.error = QStringLiteral("Unsupported format (channels: %1)").arg(measured.channels);
    } else {
        classifyInto(result, measured.measures, options);
        if (!options.gathersEvidence || !measured.evidence) return result;
        Verdict verdict = judge(result.classification, *measured.evidence, measured.pair);
        result.trust = verdict.trust;
        result.why = std::move(verdict.why);
        result.evidence = measured.evidence;
    }
    return result;
}

} // namespace ostrel
