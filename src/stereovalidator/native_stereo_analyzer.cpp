#include "stereovalidator/native_stereo_analyzer.h"

#include "foundation/proof/unexplained_bytes.h"
#include "platform/audio/audio_file.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "stereovalidator/inter_channel_lag.h"
#include "stereovalidator/stereo_accumulator.h"
#include "stereovalidator/stereo_rules.h"

#include <new>

namespace ostrel {
namespace {

constexpr std::size_t kReadFrames = 16'384; // 128 KiB of stereo: stays in the second-level cache
constexpr int kBitDepthAsRead = 32;         // whatever the file's own depth

AnalyzerError notFinite(double seconds) {
    return AnalyzerError::unsupportedFormat(
        QStringLiteral("samples that are infinite or not numbers, near %1").arg(clockText(seconds)));
}

ChannelAnalysis measuresOf(const StereoAccumulator& accumulator, int sampleRate,
                           const StereoValidatorOptions& options) {
    ChannelAnalysis measures = accumulator.measures();
    measures.lagMs = estimateLag({}, {}, sampleRate, options.smallLagMs); // the answer needs no samples: see there
    return measures;
}

ChannelAnalysis measure(AudioFile& file, const StereoValidatorOptions& options) {
    StereoAccumulator accumulator(file.sampleRate());
    std::vector<float> block(2 * kReadFrames);
    while (const int frames = file.readInterleaved(block)) {
        accumulator.addInterleaved(std::span(block).first(2 * static_cast<std::size_t>(frames)));
        if (!accumulator.isFinite()) {
            throw notFinite(static_cast<double>(file.position() - frames) / file.sampleRate());
        }
    }
    return measuresOf(accumulator, file.sampleRate(), options);
}

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

StereoValidatorResult failed(const QString& file, const QString& error) {
    StereoValidatorResult result;
    result.filepath = file;
    result.error = error;
    return result;
}

void tally(AnalysisResult& batch, const StereoValidatorResult& result) {
    if (!result.error.isEmpty()) {
        ++batch.errorCount;
    } else if (result.classification == StereoClassification::trueMono) {
        ++batch.skippedCount;
    } else {
        ++batch.successCount;
    }
}

ProcessingLogEntry entry(LogLevel level, const QString& message) {
    return logEntry(level, LogCategory::process, message);
}

} // namespace

AnalyzerError::AnalyzerError(Kind kind, const QString& text)
    : std::runtime_error(text.toStdString()), kind_(kind), text_(text) {}

AnalyzerError AnalyzerError::unsupportedFormat(const QString& text) {
    return {Kind::unsupportedFormat, QStringLiteral("Unsupported audio format: ") + text};
}

AnalyzerError AnalyzerError::bufferCreationFailed() {
    return {Kind::bufferCreationFailed, QStringLiteral("Failed to create audio buffer")};
}

AnalysisResult NativeStereoAnalyzer::analyzeFiles(const QStringList& files, const StereoValidatorOptions& options,
                                                  const ProgressHandler& progressHandler,
                                                  const StopRequest& stop) const {
    const int count = static_cast<int>(files.size());
    const auto report = [&](const AnalysisProgress& progress) {
        if (progressHandler) progressHandler(progress);
    };
    AnalysisResult batch{.totalFiles = count};
    batch.logEntries.push_back(
        entry(LogLevel::info, QStringLiteral("Starting native analysis of %1 file(s)").arg(count)));
    for (int i = 0; i < count && !(stop && stop()); ++i) {
        report({i + 1, count, paths::lastComponent(files[i]), static_cast<double>(i) / count});
        batch.results.push_back(recordOf(files[i], options));
        tally(batch, batch.results.back());
        for (const QString& warning : unexplainedBytesWarnings({files[i]})) {
            batch.logEntries.push_back(entry(LogLevel::warning, warning));
        }
    }
    const int done = static_cast<int>(batch.results.size());
    batch.stopped = done < count;
    if (!batch.stopped) report({count, count, QStringLiteral("Complete"), 1.0});
    const QString end = batch.stopped ? QStringLiteral("Analysis stopped after %1 of %2 files").arg(done).arg(count)
                                      : QStringLiteral("Analysis complete");
    batch.logEntries.push_back(entry(batch.stopped ? LogLevel::warning : LogLevel::success,
                                     QStringLiteral("%1: %2 successful, %3 errors, %4 skipped")
                                         .arg(end)
                                         .arg(batch.successCount)
                                         .arg(batch.errorCount)
                                         .arg(batch.skippedCount)));
    return batch;
}

StereoValidatorResult NativeStereoAnalyzer::recordOf(const QString& file, const StereoValidatorOptions& options) const {
    try {
        const std::optional<FileStamp> stamp = FileStamp::of(file);
        StereoValidatorResult result = analyzeFile(file, options);
        result.stamp = stamp;
        return result;
    } catch (const AudioFileError& error) {
        return failed(file, error.errorDescription());
    } catch (const AnalyzerError& error) {
        return failed(file, error.errorDescription());
    } catch (const std::bad_alloc&) {
        return failed(file, AnalyzerError::bufferCreationFailed().errorDescription());
    }
}

StereoValidatorResult NativeStereoAnalyzer::analyzeFile(const QString& path,
                                                        const StereoValidatorOptions& options) const {
    AudioFile file(path, ffmpegPath_);
    StereoValidatorResult result;
    result.filepath = path;
    result.durationSeconds = file.duration();
    result.sampleRate = file.sampleRate();
    result.bitDepth = kBitDepthAsRead;
    if (file.channelCount() == 1) {
        result.classification = StereoClassification::trueMono;
        result.confidence = 100.0;
    } else if (file.channelCount() != 2) {
        result.error = QStringLiteral("Unsupported format (channels: %1)").arg(file.channelCount());
    } else if (file.lengthInFrames() == 0) {
        throw AnalyzerError::unsupportedFormat(QStringLiteral("the file holds no audio"));
    } else {
        classifyInto(result, measure(file, options), options);
    }
    return result;
}

ChannelAnalysis NativeStereoAnalyzer::analyzeChannels(std::span<const float> left, std::span<const float> right,
                                                      int sampleRate, const StereoValidatorOptions& options) {
    StereoAccumulator accumulator(sampleRate);
    accumulator.addChannels(left, right);
    if (!accumulator.isFinite())
        throw AnalyzerError::unsupportedFormat(QStringLiteral("samples that are infinite or not numbers"));
    return measuresOf(accumulator, sampleRate, options);
}

} // namespace ostrel
