// Splits one multichannel file into mono files by one ffmpeg run, and puts the source's custom chunks into every one.
//
// Made per job, holds nothing but tool paths. Blocks; for any thread but the main one.
#pragma once

#include "foundation/multi_channel_source.h"
#include "foundation/processing_options.h"
#include "metadata/riff_chunks.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>
#include <stdexcept>

namespace ostrel {

struct DeinterleaveResult {
    bool success = false;
    QMap<QString, QString> outputURLs; // by tag
    QString message;
    QString ffmpegCommand;
    QStringList warnings; // what the person should know although the job succeeded
};

class DeinterleaveError : public std::runtime_error {
public:
    enum class Kind { processLaunchFailure, noChannelsSelected, invalidSourceFile };
    explicit DeinterleaveError(Kind errorKind, const QString& payload = QString())
        : std::runtime_error(payload.toStdString()), kind(errorKind), text(payload) {}
    QString errorDescription() const;

    Kind kind;
    QString text;
};

class DeinterleaveEngine {
public:
    using StatusUpdate = std::function<void(const QUuid& sourceId, const ProcessingStatus& status)>;

    // An empty ffprobePath: not known; outputs are then not looked at afterwards.
    DeinterleaveEngine(const QString& ffmpegPath, const QString& ffprobePath, StatusUpdate onStatusUpdate = {});

    // Outputs go below `outputDirectory`, or beside the source if that is empty. Throws DeinterleaveError if no channel
    // is selected or ffmpeg can't be started; all else is a result. What a failed run left is removed.
    DeinterleaveResult deinterleave(const MultiChannelSource& source, const ProcessingOptions& options,
                                    const QString& outputDirectory) const;

private:
    void finish(const MultiChannelSource& source, const std::vector<RIFFChunk>& chunks,
                DeinterleaveResult& result) const;
    void report(const QUuid& sourceId, const ProcessingStatus& status) const;

    QString ffmpegPath_;
    QString ffprobePath_;
    StatusUpdate onStatusUpdate_;
};

} // namespace ostrel
