// Turns one set of mono files into one multichannel file by one ffmpeg run, and carries the metadata over.
//
// Made per job, holds nothing but tool paths. Blocks; for any thread but the main one.
#pragma once

#include "foundation/interleave_group.h"
#include "foundation/processing_options.h"
#include "metadata/riff_chunks.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <stdexcept>

namespace ostrel {

struct InterleaveResult {
    bool success = false;
    QString outputURL;
    QString message;
    QString ffmpegCommand; // the arguments joined with blanks; empty if ffmpeg was not to run
    QStringList warnings;  // what the person should know although the job succeeded
};

class InterleaveError : public std::runtime_error {
public:
    enum class Kind {
        processLaunchFailure,
        missingChannelFile,
        metadataCopyFailed,
        invalidOutputPath,
        metadataToolNotFound
    };
    explicit InterleaveError(Kind errorKind, const QString& payload = QString())
        : std::runtime_error(payload.toStdString()), kind(errorKind), text(payload) {}
    QString errorDescription() const;

    Kind kind;
    QString text;
};

class InterleaveEngine {
public:
    // Called on the engine's thread.
    using StatusUpdate = std::function<void(const QUuid& groupId, const ProcessingStatus& status)>;

    // An empty bwfmetaeditPath: not known.
    InterleaveEngine(const QString& ffmpegPath, const QString& bwfmetaeditPath, StatusUpdate onStatusUpdate = {});

    // "{folder of the group's first file}/Interleaved/{baseName}.{format}"; empty for a group without files.
    static QString generateOutputURL(const InterleaveGroup& group, const ProcessingOptions& options);

    // A failed audio step is a result; only a failed launch throws InterleaveError. What a failed run left at the
    // output path is removed.
    InterleaveResult interleave(const InterleaveGroup& group, const ChannelLayout& layout, const QString& outputURL,
                                const ProcessingOptions& options) const;

    // What stands between a stereo merge and the removal of its sources: channels, duration (0.01 s) and the presence
    // of BEXT identity fields. Throws FFProbeError, and InterleaveError if bwfmetaedit can't be started.
    ProcessingStatus verifyInterleavedOutput(const QString& outputURL, int expectedChannels,
                                             std::optional<double> expectedDuration, const QString& ffprobePath) const;

private:
    InterleaveResult runFFmpeg(const InterleaveGroup& group, const QStringList& arguments, const QString& outputURL,
                               const std::vector<RIFFChunk>& chunks) const;
    void cloneMetadata(const QString& from, const QString& to) const;
    void cloneMetadataViaExtraction(const QString& from, const QString& to) const;
    bool verifyMetadataPresent(const QString& path) const;
    void report(const QUuid& groupId, const ProcessingStatus& status) const;

    QString ffmpegPath_;
    QString bwfmetaeditPath_;
    StatusUpdate onStatusUpdate_;
};

} // namespace ostrel
