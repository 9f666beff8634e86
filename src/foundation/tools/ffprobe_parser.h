// The facts of an audio file, as ffprobe tells them. Blocking calls for any thread but the main one; no state.
#pragma once

#include "foundation/records/processing_status.h"
#include "foundation/tools/source_answers.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>
#include <stdexcept>

namespace ostrel {

struct AudioFileInfo {
    int sampleRate = 0;                  // Hz
    int bitDepth = 0;                    // bits_per_sample, 0 if absent
    std::optional<int> bitsPerRawSample; // above 0
    int channels = 0;
    double duration = 0; // seconds
    QString codec;
    QString sampleFmt;

    bool operator==(const AudioFileInfo&) const = default;

    // The depth that a person would name; nothing for lossy codecs and where nothing tells it.
    std::optional<int> effectiveBitDepth() const;
};

struct FileAnalysis {
    int channels = 0;
    QString channelLayout;
    int sampleRate = 0;
    int bitDepth = 0;
    std::optional<int> bitsPerRawSample;
    QString codecName;
    QString sampleFmt;
    double duration = 0;
    quint64 fileSize = 0; // bytes

    std::optional<int> effectiveBitDepth() const; // as AudioFileInfo's
};

class FFProbeError : public std::runtime_error {
public:
    enum class Kind {
        probeFailure,
        processLaunchFailure,
        invalidJSON,
        noAudioStream,
        missingSampleRate,
        missingChannels,
        missingDuration
    };
    explicit FFProbeError(Kind kind, const QString& text = QString());

    QString errorDescription() const;

    Kind kind;
    QString text;
};

class FFProbeParser {
public:
    explicit FFProbeParser(const QString& ffprobePath) : ffprobePath_(ffprobePath) {}

    // Throw FFProbeError. Several files are probed one after the other, and the first error ends it.
    AudioFileInfo probe(const QString& fileURL) const;
    QMap<QString, AudioFileInfo> probe(const QStringList& fileURLs) const;
    static FileAnalysis analyzeFile(const QString& url, const QString& ffprobePath,
                                    const std::shared_ptr<SourceAnswers>& answers = std::make_shared<SourceAnswers>());

    // Mono files that may be interleaved: `ready`, or the first thing that stands against it. Seconds.
    static ProcessingStatus validateGroup(const QMap<QString, AudioFileInfo>& infos, double durationTolerance);

    // What ffprobe printed, for `probe` and `analyzeFile` (the latter without fileSize).
    static AudioFileInfo parseJSON(const QByteArray& json);
    static FileAnalysis parseAnalysisJSON(const QByteArray& json);

private:
    QString ffprobePath_;
};

// Whether two durations (seconds) are further apart than allowed. They are decimal fractions: exactly the tolerance
// apart may come out a hair above it, and still passes.
bool durationsDiffer(double a, double b, double tolerance);

// 48000 -> "48k", 44100 -> "44.1k".
QString formatSampleRate(int rate);

} // namespace ostrel
