// Measures two-channel files and says what they really are.
//
// An engine: it blocks, holds no state between files and reads each file once, block by block, in the same memory
// however long the file is. Makes the StereoValidatorResult records.
#pragma once

#include "stereovalidator/analysis_result.h"
#include "stereovalidator/measure_cache.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <span>
#include <stdexcept>

namespace ostrel {

struct AnalysisProgress {
    int currentIndex = 0; // 1-based
    int totalFiles = 0;
    QString currentFile;        // its name without the folder
    double percentComplete = 0; // 0.0 to 1.0: the share of files finished before this one
};

// The file was opened, but its samples can't be measured.
class AnalyzerError : public std::runtime_error {
public:
    enum class Kind { unsupportedFormat, bufferCreationFailed };
    static AnalyzerError unsupportedFormat(const QString& text);
    static AnalyzerError bufferCreationFailed();

    QString errorDescription() const { return text_; }
    Kind kind() const { return kind_; }

private:
    AnalyzerError(Kind kind, const QString& text);
    Kind kind_;
    QString text_;
};

class NativeStereoAnalyzer {
public:
    using ProgressHandler = std::function<void(const AnalysisProgress&)>;
    using StopRequest = std::function<bool()>;

    // ffmpeg decodes what libsndfile can't (M4A, AAC, MP4); without it such files become records with an error.
    // `cachePath`: what was measured earlier, see MeasureCache; empty: every file is read.
    explicit NativeStereoAnalyzer(const QString& ffmpegPath = QString(), const QString& cachePath = QString())
        : ffmpegPath_(ffmpegPath), cachePath_(cachePath) {}

    // In the order given. Never fails as a whole: a failure of a file is its record. `stop` is asked before every file;
    // a stopped batch gives the records made so far. Both functions are called on the calling thread.
    AnalysisResult analyzeFiles(const QStringList& files, const StereoValidatorOptions& options,
                                const ProgressHandler& progressHandler = {}, const StopRequest& stop = {}) const;

    // Throws AudioFileError and AnalyzerError.
    StereoValidatorResult analyzeFile(const QString& file, const StereoValidatorOptions& options) const;

    // What analyzeFile judges by, and throws the same. A file of one channel, or of more than two, is not read.
    MeasuredFile measureFile(const QString& file, const StereoValidatorOptions& options) const;

    // The same measures of two channels in memory, of equal length. Throws AnalyzerError for samples that are infinite
    // or not numbers.
    static ChannelAnalysis analyzeChannels(std::span<const float> left, std::span<const float> right, int sampleRate,
                                           const StereoValidatorOptions& options);

private:
    StereoValidatorResult recordOf(const QString& file, const StereoValidatorOptions& options,
                                   MeasureCache& cache) const;
    MeasuredFile measuredAt(const QString& file, const std::optional<FileStamp>& stamp,
                            const StereoValidatorOptions& options, MeasureCache& cache) const;

    QString ffmpegPath_;
    QString cachePath_;
};

} // namespace ostrel
