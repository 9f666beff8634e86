// Turns one set of mono files into one multichannel file by one ffmpeg run, and carries the metadata over.
//
// Made per job, holds nothing but tool paths. Blocks; for any thread but the main one.
#pragma once

#include "foundation/proof/channel_pair.h"
#include "foundation/records/interleave_group.h"
#include "foundation/records/item_outcome.h"
#include "foundation/records/processing_options.h"
#include "foundation/run/run_ledger.h"
#include "metadata/chunks/riff_chunks.h"

#include <QString>
#include <QStringList>
#include <functional>
#include <optional>
#include <stdexcept>

namespace ostrel {

struct InterleaveResult {
    ItemOutcome outcome;
    QString ffmpegCommand;   // the arguments joined with blanks; empty if ffmpeg was not to run
    bool isFaithful = false; // the blocks that were looked at are those of the sources
    QString detour;          // why ffmpeg made it although the direct engine was to; empty: it went as chosen
};

class InterleaveError : public std::runtime_error {
public:
    // Nothing throws missingChannelFile and invalidOutputPath: such a group or path does not reach a run.
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

// Completes a file that stands under its private name still: what a caller has to add ahead of its publication.
// `isWhole`: its metadata is there, no tool has to bring it.
using BeforePublishing = std::function<void(const QString& unfinished, bool isWhole)>;

// The file whose metadata the output carries: that of the left channel, or the first.
QString metadataSource(const InterleaveGroup& group);

// The files that take part in the output, in the layout's order; what else a hand-picked set holds takes no part.
QStringList filesInOrder(const InterleaveGroup& group, const ChannelLayout& layout);

// Where the job puts each of them: file i is channel i.
std::vector<ChannelPair> channelPairs(const QStringList& monoFiles, const QString& multichannelFile);

class InterleaveEngine {
public:
    // Called on the engine's thread.
    using StatusUpdate = std::function<void(const QUuid& groupId, const ProcessingStatus& status)>;

    // An empty bwfmetaeditPath: not known.
    InterleaveEngine(const QString& ffmpegPath, const QString& bwfmetaeditPath, StatusUpdate onStatusUpdate = {},
                     EngineChoice engine = EngineChoice::ffmpeg);

    // "{folder of the group's first file}/Interleaved/{baseName}.{format}"; empty for a group without files.
    static QString generateOutputURL(const InterleaveGroup& group, const ProcessingOptions& options);

    // The output stands under its name when it is complete and checked, and on the disk where `isDurable`; a failed run
    // leaves nothing. A failed audio step is a result; only a failed launch throws InterleaveError. Without a ledger
    // the group's own files are protected alone.
    InterleaveResult interleave(const InterleaveGroup& group, const ChannelLayout& layout, const QString& outputURL,
                                const ProcessingOptions& options, RunLedger* ledger = nullptr,
                                const BeforePublishing& complete = {}, bool isDurable = false) const;

    // What stands between a stereo merge and the removal of its sources: channels, duration (0.01 s) and the presence
    // of BEXT identity fields. Throws FFProbeError, and InterleaveError if bwfmetaedit can't be started.
    ProcessingStatus verifyInterleavedOutput(const QString& outputURL, int expectedChannels,
                                             std::optional<double> expectedDuration, const QString& ffprobePath) const;

    // The names of the BEXT identity fields in which the output is not its source; nothing if one of them can't be
    // read.
    std::optional<QStringList> differingIdentity(const QString& source, const QString& output) const;

private:
    struct Work;
    void make(Work& work, const ChannelLayout& layout, const QString& format, const QStringList& sources) const;
    void runFFmpeg(Work& work, const QStringList& arguments) const;
    void addMetadata(Work& work) const;
    void publish(Work& work, const QStringList& sources, bool isDurable) const;
    void cloneMetadata(const QString& from, const QString& to) const;
    void cloneMetadataViaExtraction(const QString& from, const QString& to) const;
    std::optional<QMap<QString, QString>> identityFields(const QString& path) const;
    bool verifyMetadataPresent(const QString& path) const;
    void report(const QUuid& groupId, const ProcessingStatus& status) const;

    QString ffmpegPath_;
    QString bwfmetaeditPath_;
    StatusUpdate onStatusUpdate_;
    EngineChoice engine_;
};

} // namespace ostrel
