// What a join is asked for and what it gives, for one poly and for a batch of groups.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/item_outcome.h"
#include "polytools/records/iso_group.h"

#include <QString>
#include <QUuid>
#include <array>
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
    bool skipIfExists = true;
    bool overwriteExisting = false;
    bool keepOriginalName = false; // of a batch: names without "_poly" at their end
    bool strict = false;           // refuses ISOs of unequal length or start instead of warning of them
    bool downmix = false;          // takes files of more than one channel, mixed to one
    bool proves = false;           // the poly is read back and compared, channel by channel
    bool conforms = false;         // its head as editing systems read it, on the direct road
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

} // namespace ostrel
