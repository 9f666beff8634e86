// What the views of Poly Tools observe: all state of the three modes in one place, touched on the main thread only.
//
// The controller and its collaborators change it; see poly_tools_view_model.h for who does what.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/record_list.h"
#include "polytools/records/channel_plan.h"
#include "polytools/records/iso_group.h"
#include "polytools/records/join_records.h"
#include "polytools/records/poly_file.h"
#include "polytools/records/poly_tools_records.h"
#include "polytools/records/split_records.h"

#include <QHash>
#include <QProperty>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>
#include <set>
#include <utility>

namespace ostrel {

struct PolyToolsState {
    // Mode and tools. Empty paths: not found.
    QProperty<PolyMode> mode{PolyMode::split};
    QProperty<bool> ffmpegAvailable{false};
    QProperty<QString> ffprobePath;
    QProperty<QString> ffmpegPath;
    QProperty<bool> bwfmetaeditAvailable{false};
    QProperty<QString> bwfmetaeditPath;
    QProperty<bool> isCancelled{false};

    // Split, one file. Empty folders: none chosen.
    QProperty<std::optional<PolyFile>> polyFile;
    QProperty<QString> splitOutputFolder;
    QProperty<SplitNamingPattern> splitNamingPattern{SplitNamingPattern::trackName};
    QProperty<bool> splitKeepOriginalName{false};
    QProperty<double> splitProgress{0}; // 0 to 1
    QProperty<bool> isSplitting{false};
    RecordList<ChannelItem> channelItems;
    QProperty<bool> hasIXMLTrackNames{false};
    QProperty<std::optional<QStringList>> trackNames;
    QProperty<bool> isAnalyzing{false};
    QProperty<bool> isPreparingPreview{false};
    QProperty<std::optional<std::pair<int, int>>> previewPreparationProgress; // current, total
    QProperty<QStringList> extractedChannelURLs;
    QProperty<QUuid> splitSourceSectionID{QUuid::createUuid()}; // a fresh one: another source, or none

    // Split and edit, several files
    QProperty<bool> batchMode{false};
    QProperty<QString> sourceFolder;
    QProperty<std::optional<QStringList>> selectedFiles;
    QProperty<FolderOrganization> folderOrganization{FolderOrganization::bySceneTake};
    QProperty<bool> recursiveScan{true};
    QProperty<std::optional<BatchProgress>> batchProgress;
    QProperty<std::optional<BatchSplitResult>> batchResults;
    QProperty<bool> isBatchProcessing{false};
    QProperty<bool> isScanningBatchFiles{false};
    RecordList<BatchPolyMetadata> batchPolyMetadata;
    QProperty<QHash<QUuid, QString>> foreseenRefusals; // why a run would refuse a poly or a group, by its id
    QProperty<std::optional<int>> selectedBatchPreviewIndex;
    QProperty<bool> isExtractingBatchPreview{false};
    QProperty<bool> isLoadingAllPreviews{false};
    RecordList<ChannelItem> batchChannelItems;
    QProperty<std::optional<int>> selectedBatchChannelForPlayback;
    QProperty<std::set<int>> expandedBatchPolyIndices;

    // Join
    RecordList<ISOFile> isoFiles;
    QProperty<QString> joinOutputFolder;
    QProperty<QString> joinOutputName;
    QProperty<bool> joinKeepOriginalName{false};
    QProperty<bool> joinStrict{false};  // unequal lengths or starts are refused
    QProperty<bool> joinDownmix{false}; // files of several channels may be mixed to one
    QProperty<JoinChannelLayout> joinChannelLayout{JoinChannelLayout::automatic};
    QProperty<int> referenceISOIndex{0};
    QProperty<double> joinProgress{0}; // 0 to 1
    QProperty<bool> isJoining{false};
    QProperty<IsoOrdering> isoOrderingMethod{IsoOrdering::none};
    QProperty<bool> batchJoinMode{false}; // the groups are joined, not `isoFiles`
    QProperty<QString> joinSourceFolder;
    QProperty<std::optional<QStringList>> selectedJoinFiles;
    QProperty<bool> joinRecursiveScan{true};
    QProperty<std::optional<GroupingResult>> groupingResult;
    RecordList<ISOGroupCandidate> reviewedGroups; // this and the next are working copies that the review changes
    RecordList<ISOFile> ungroupedFiles;
    QProperty<std::optional<BatchJoinProgress>> batchJoinProgress;
    QProperty<std::optional<BatchJoinResult>> batchJoinResults;
    QProperty<bool> isBatchJoining{false};
    QProperty<bool> showGroupReview{false};
    QProperty<bool> isScanningJoinISOs{false};
    QProperty<std::optional<std::pair<int, int>>> groupingProgress; // files read, files in all
    QProperty<bool> usedSmartShortcut{false};

    // Options of all modes
    QProperty<bool> preserveMetadata{true}; // has no effect: metadata is kept wherever the tools allow it
    QProperty<bool> skipIfExists{true};
    QProperty<bool> overwriteExisting{false};
    QProperty<bool> generateCSV{false};
    QProperty<bool> autoOrderChannels{false};

    // Edit
    QProperty<std::optional<ChannelFilterOptions>> channelRemovalFilter;
    QProperty<bool> channelRemovalOutputSameFolder{false};
    QProperty<QString> channelRemovalCustomName; // for a single output; empty: none
    QProperty<RenameMap> channelRemovalRenameMap;
    QProperty<ReorderList> channelReorderMap;
    QProperty<bool> editPolyEditInPlace{false};

    // Totals of the last run, and its log
    QProperty<bool> isProcessing{false};
    QProperty<QString> currentProcessingItem;
    QProperty<int> successCount{0};
    QProperty<int> skipCount{0};
    QProperty<int> errorCount{0};
    QProperty<QStringList> createdFiles;
    QProperty<std::optional<ItemOutcome>> lastOutcome; // of a run over one file or one take
    QProperty<QString> reportPath;                     // of the last CSV report
    RecordList<ProcessingLogEntry> logEntries;

    // Preview
    QProperty<std::optional<int>> selectedChannelForPlayback;
    QProperty<std::optional<int>> selectedISOForPlayback;
    QProperty<std::vector<ISOFile>> previewedGroupISOs;
    QProperty<QString> previewedGroupOutputName;
    QProperty<QUuid> previewedGroupID; // null while the mixer holds something else
    QProperty<std::optional<int>> selectedPreviewISOIndex;
    QProperty<std::set<int>> previewIncludedIndices;

    // A run begins.
    void resetTotals() {
        isCancelled = false;
        successCount = 0;
        skipCount = 0;
        errorCount = 0;
        createdFiles = QStringList();
        lastOutcome = std::nullopt;
        reportPath = QString();
    }

    void showBatchProgress(const BatchProgress& step) {
        batchProgress = step;
        currentProcessingItem = step.currentFile;
    }

    // The totals of a batch of splits or edits.
    void count(const BatchSplitResult& result) {
        batchResults = result;
        successCount = result.successCount;
        skipCount = result.skipCount;
        errorCount = result.errorCount;
        QStringList created;
        for (const PolyFileResult& row : result.fileResults) created << row.outcome.outputs;
        createdFiles = created;
    }

    void refreshSplitSections() { splitSourceSectionID = QUuid::createUuid(); }
};

} // namespace ostrel
