// Mono ISOs of one take to one poly, through ffmpeg's amerge, with the take's metadata and a rebuilt track list.
//
// Blocks its caller; for the thread pool. The ISOs are only read. Failed metadata never fails a join: the log tells.
#pragma once

#include "foundation/item_outcome.h"
#include "polytools/engine_services.h"
#include "polytools/iso_group.h"

#include <QSet>
#include <QStringList>
#include <array>
#include <functional>
#include <optional>
#include <vector>

namespace ostrel {

enum class JoinChannelLayout { automatic, mono, stereo, surround51, surround71 };
inline constexpr std::array kAllJoinChannelLayouts{JoinChannelLayout::automatic, JoinChannelLayout::mono,
                                                   JoinChannelLayout::stereo, JoinChannelLayout::surround51,
                                                   JoinChannelLayout::surround71};
QString rawText(JoinChannelLayout layout);  // "Auto-detect", "Mono (1ch)", ...
QString caseName(JoinChannelLayout layout); // "auto", "mono", ...

struct JoinOptions {
    JoinChannelLayout channelLayout = JoinChannelLayout::automatic; // has no effect: the ISOs' number decides
    std::optional<ISOFile> referenceISO; // has no effect: the first in order is the reference
    bool preserveMetadata = true;        // has no effect, as in the split
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool keepOriginalName = false; // of a batch: names without "_poly" at their end
    bool strict = false;           // refuses ISOs of unequal length or start instead of warning of them
    bool downmix = false;          // takes files of more than one channel, mixed to one
};

struct JoinResult {
    ItemOutcome outcome;
    std::vector<ProcessingLogEntry> logMessages;
};

struct GroupJoinResult {
    QUuid groupId;
    QString outputName;
    int channelCount = 0;
    ItemOutcome outcome;
    bool isReported = false; // in the CSV report: groups that are too small or were skipped are not
};

struct BatchJoinProgress {
    int currentIndex = 0; // 1-based
    int totalGroups = 0;
    QString currentGroup;
    int totalPolysCreated = 0;
    int successCount = 0;
    int errorCount = 0;
    int skipCount = 0;

    bool operator==(const BatchJoinProgress&) const = default;
};

struct BatchJoinResult {
    int processedGroups = 0;
    int successCount = 0;
    int errorCount = 0;
    int skipCount = 0;
    int totalPolysCreated = 0;
    std::vector<ProcessingLogEntry> logMessages;
    std::vector<GroupJoinResult> groupResults; // of every group that was reached
};

class PolyJoinEngine {
public:
    using Progress = std::function<void(double fraction, const QString& step)>;
    using OnBatchProgress = std::function<void(const BatchJoinProgress&)>;

    explicit PolyJoinEngine(PolyEngineTools tools, PolyEngineHooks hooks = {});

    // At least two files. The INTERLEAVE_INDEX of their own iXML orders them, equal ones stay as given. Rates and
    // depths must agree, durations need not. Throws nothing of its own.
    JoinResult join(const std::vector<ISOFile>& isoFiles, const QString& outputURL, const JoinOptions& options,
                    const Progress& progress = {}) const;

    // One poly a group, one after the other. The folder must exist.
    BatchJoinResult batchJoin(const std::vector<ISOGroupCandidate>& groups, const QString& outputFolder,
                              const JoinOptions& options, const OnBatchProgress& progress = {}) const;

    // `namesSpeakers`: some of the files say which speaker they feed. amerge would put such channels into the order of
    // the speakers, or mix them; so each is made plain mono ahead of it, without a change to its samples.
    static QStringList buildJoinCommand(const std::vector<ISOFile>& sorted, const QString& output,
                                        bool namesSpeakers = false);

private:
    const PolyEngineTools tools_;
    const PolyEngineHooks hooks_;
};

// The file name of a group's poly, without its extension: the suggested name, less "_poly" if the original is kept. A
// slash in a scene or take becomes "-".
QString groupOutputName(const ISOGroupCandidate& group, bool keepOriginalName);

// The name as one component of a path: "/" becomes "-", and what would lead elsewhere or hide the file is defused.
QString safeFileName(const QString& name);

} // namespace ostrel
