#include "stereovalidator/native_stereo_analyzer.h"

#include "foundation/proof/unexplained_bytes.h"
#include "platform/audio/audio_file.h"
#include "platform/paths.h"
#include "platform/text/text.h"
#include "stereovalidator/evidence/evidence_gatherer.h"
#include "stereovalidator/measures/inter_channel_lag.h"
#include "stereovalidator/measures/stereo_accumulator.h"

#include <new>

namespace ostrel {
namespace {

constexpr std::size_t kReadFrames = 16'384; // 128 KiB of stereo: stays in the second-level cache

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

void readInto(AudioFile& file, StereoAccumulator& accumulator) {
    std::vector<float> block(2 * kReadFrames);
    while (const int frames = file.readInterleaved(block)) {
        accumulator.addInterleaved(std::span(block).first(2 * static_cast<std::size_t>(frames)));
        if (!accumulator.isFinite()) {
            throw notFinite(static_cast<double>(file.position() - frames) / file.sampleRate());
        }
    }
}

// Once more, with the channels set against each other by the lag that the first pass found.
void readAligned(AudioFile& file, EvidenceGatherer& gatherer) {
    file.seek(0);
    WindowRow row(file.sampleRate());
    StereoAccumulator accumulator(file.sampleRate(), &row);
    ChannelAligner aligner(gatherer.lagFrames());
    std::vector<float> block(2 * kReadFrames);
    while (const int frames = file.readInterleaved(block)) {
        accumulator.addInterleaved(aligner.align(std::span(block).first(2 * static_cast<std::size_t>(frames))));
    }
    row.end(accumulator.unfinished());
    gatherer.takeAligned(row);
}

void measureWithEvidence(AudioFile& file, const StereoValidatorOptions& options, MeasuredFile& into) {
    EvidenceGatherer gatherer(file.sampleRate());
    StereoAccumulator accumulator(file.sampleRate(), &gatherer);
    readInto(file, accumulator);
    gatherer.end(accumulator.unfinished());
    if (gatherer.lagFrames() != 0) readAligned(file, gatherer);
    into.measures = measuresOf(accumulator, file.sampleRate(), options);
    into.evidence = std::make_shared<const StereoEvidence>(gatherer.evidence());
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
    MeasureCache cache(cachePath_);
    const auto report = [&](const AnalysisProgress& progress) {
        if (progressHandler) progressHandler(progress);
    };
    AnalysisResult batch{.totalFiles = count};
    batch.logEntries.push_back(
        entry(LogLevel::info, QStringLiteral("Starting native analysis of %1 file(s)").arg(count)));
    for (int i = 0; i < count && !(stop && stop()); ++i) {
        report({i + 1, count, paths::lastComponent(files[i]), static_cast<double>(i) / count});
        batch.results.push_back(recordOf(files[i], options, cache));
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

// Of a file that changes while it is read nothing is kept.
MeasuredFile NativeStereoAnalyzer::measuredAt(const QString& file, const std::optional<FileStamp>& stamp,
                                              const StereoValidatorOptions& options, MeasureCache& cache) const {
    if (!stamp) return measureFile(file, options);
    if (auto known = cache.find(file, *stamp, options.gathersEvidence)) return std::move(*known);
    MeasuredFile measured = measureFile(file, options);
    const std::optional<FileStamp> after = FileStamp::of(file);
    if (after == stamp && after->changed == stamp->changed) cache.keep(file, *stamp, measured);
    return measured;
}

StereoValidatorResult NativeStereoAnalyzer::recordOf(const QString& file, const StereoValidatorOptions& options,
                                                     MeasureCache& cache) const {
    try {
        const std::optional<FileStamp> stamp = FileStamp::of(file);
        StereoValidatorResult result = resultOf(file, measuredAt(file, stamp, options, cache), options);
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
    return resultOf(path, measureFile(path, options), options);
}

MeasuredFile NativeStereoAnalyzer::measureFile(const QString& path, const StereoValidatorOptions& options) const {
    AudioFile file(path, ffmpegPath_);
    MeasuredFile measured{
        .durationSeconds = file.duration(), .sampleRate = file.sampleRate(), .channels = file.channelCount()};
    if (measured.channels != 2) return measured;
    if (file.lengthInFrames() == 0) throw AnalyzerError::unsupportedFormat(QStringLiteral("the file holds no audio"));
    if (options.gathersEvidence) {
        measured.pair = readRecordedPair(path);
        measureWithEvidence(file, options, measured);
    } else {
        StereoAccumulator accumulator(file.sampleRate());
        readInto(file, accumulator);
        measured.measures = measuresOf(accumulator, file.sampleRate(), options);
    }
    return measured;
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
