// Splits one multichannel file into mono files by one ffmpeg run, and puts the source's custom chunks into every one.
//
// Made per job, holds nothing but tool paths. Blocks; for any thread but the main one.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "foundation/records/item_outcome.h"
#include "foundation/records/multi_channel_source.h"
#include "foundation/records/processing_options.h"
#include "foundation/run/run_ledger.h"
#include "metadata/chunks/riff_chunks.h"

#include <QMap>
#include <QString>
#include <QStringList>
#include <functional>
#include <stdexcept>

namespace ostrel {

class Road;
struct PlannedOutput;

struct DeinterleaveResult {
    ItemOutcome outcome;
    QMap<QString, QString> outputURLs; // by tag, as they were to be; the outcome tells which stand
    QString ffmpegCommand;
    QStringList order;    // the tags of the source's channels in their order, as they were taken
    QString detour;       // why ffmpeg made them although the direct engine was to; empty: it went as chosen
    bool isWhole = false; // made directly: no tool had to bring the metadata
};

// Completes the files, which stand under private names still, ahead of their publication. `names`: what each of them
// will be called. `isWhole`: their metadata is there, no tool has to bring it.
using BeforePublishingAll = std::function<void(const QMap<QString, QString>& names, bool isWhole)>;

// Where the job puts each selected channel. `order` are the tags of the source's channels, `files` maps tags to mono
// files.
std::vector<ChannelPair> channelPairs(const MultiChannelSource& source, const QStringList& order,
                                      const QMap<QString, QString>& files);

class DeinterleaveError : public std::runtime_error {
public:
    // Nothing throws invalidSourceFile: ffmpeg tells what is wrong with a source.
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
    DeinterleaveEngine(const QString& ffmpegPath, const QString& ffprobePath, StatusUpdate onStatusUpdate = {},
                       EngineChoice engine = EngineChoice::ffmpeg);

    // Outputs go below `outputDirectory`, or beside the source if that is empty. All of them stand under their names
    // when they are complete and checked, on the disk where `isDurable`; a failed run leaves none. Throws
    // DeinterleaveError if no channel is selected or ffmpeg can't be started; all else is a result. Without a ledger
    // the source is protected alone.
    DeinterleaveResult deinterleave(const MultiChannelSource& source, const ProcessingOptions& options,
                                    const QString& outputDirectory, RunLedger* ledger = nullptr,
                                    const BeforePublishingAll& complete = {}, bool isDurable = false) const;

private:
    struct Work;
    bool mayWriteAll(Work& work, const ProcessingOptions& options, RunLedger& ledger) const;
    void make(Work& work, const Road& road, const ProcessingOptions& options, const QString& format) const;
    std::vector<PlannedOutput> plannedOutputs(const Work& work) const;
    void runFFmpeg(Work& work, const QStringList& arguments) const;
    void addChunks(Work& work, const std::vector<PlannedOutput>& outputs) const;
    void check(Work& work) const;
    void prove(Work& work) const;
    void publish(Work& work, bool isDurable) const;
    void lookAtMetadata(const Work& work) const;
    void report(const QUuid& sourceId, const ProcessingStatus& status) const;

    QString ffmpegPath_;
    QString ffprobePath_;
    StatusUpdate onStatusUpdate_;
    EngineChoice engine_;
};

} // namespace ostrel
