// The Join mode: ISOs, the groups made of them, options and results. Written by `PolyJoinFlow`, its grouping and
// `PolyJoinReview`.
#pragma once

#include "foundation/records/record_list.h"
#include "polytools/records/iso_group.h"
#include "polytools/records/join_records.h"
#include "polytools/records/poly_tools_records.h"

#include <QProperty>
#include <QString>
#include <QStringList>
#include <optional>
#include <utility>

namespace ostrel {

struct JoinState {
    // One poly
    RecordList<ISOFile> isoFiles;
    QProperty<QString> joinOutputName;
    QProperty<int> referenceISOIndex{0};
    QProperty<IsoOrdering> isoOrderingMethod{IsoOrdering::none};
    QProperty<double> joinProgress{0}; // 0 to 1
    QProperty<bool> isJoining{false};

    // Groups
    QProperty<bool> batchJoinMode{false}; // the groups are joined, not `isoFiles`
    QProperty<QString> joinSourceFolder;
    QProperty<std::optional<QStringList>> selectedJoinFiles;
    QProperty<bool> joinRecursiveScan{true};
    QProperty<bool> isScanningJoinISOs{false};
    QProperty<std::optional<std::pair<int, int>>> groupingProgress; // files read, files in all
    QProperty<std::optional<GroupingResult>> groupingResult;
    RecordList<ISOGroupCandidate> reviewedGroups; // this and the next are working copies that the review changes
    RecordList<ISOFile> ungroupedFiles;
    QProperty<bool> showGroupReview{false};
    QProperty<bool> usedSmartShortcut{false};
    QProperty<std::optional<BatchJoinProgress>> batchJoinProgress;
    QProperty<std::optional<BatchJoinResult>> batchJoinResults;
    QProperty<bool> isBatchJoining{false};

    // Both
    QProperty<QString> joinOutputFolder;
    QProperty<bool> joinKeepOriginalName{false};
    QProperty<bool> joinStrict{false};  // unequal lengths or starts are refused
    QProperty<bool> joinDownmix{false}; // files of several channels may be mixed to one
    QProperty<JoinChannelLayout> joinChannelLayout{JoinChannelLayout::automatic};
};

} // namespace ostrel
