// The polys that Split and Edit work on, one or a batch, where their outputs go, and how a run over the batch is doing:
// the two modes show the same selection, folder and results. `PolySourceSelection` fills it, the flow whose run it is
// tells of the run.
#pragma once

#include "foundation/records/record_list.h"
#include "polytools/records/poly_file.h"
#include "polytools/records/poly_tools_records.h"
#include "polytools/records/split_records.h"

#include <QProperty>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>
#include <set>

namespace ostrel {

struct SourceState {
    // One file
    QProperty<std::optional<PolyFile>> polyFile;
    RecordList<ChannelItem> channelItems;
    QProperty<bool> hasIXMLTrackNames{false};
    QProperty<std::optional<QStringList>> trackNames;
    QProperty<QUuid> splitSourceSectionID{QUuid::createUuid()}; // a fresh one: another source, or none

    // Several files. Empty folders: none chosen.
    QProperty<bool> batchMode{false};
    QProperty<QString> sourceFolder;
    QProperty<std::optional<QStringList>> selectedFiles;
    QProperty<bool> recursiveScan{true};
    QProperty<bool> isScanningBatchFiles{false};
    QProperty<double> listingProgress{-1}; // 0 to 1 while the polys that were found are read; below 0: none are
    RecordList<BatchPolyMetadata> batchPolyMetadata;
    QProperty<std::set<int>> expandedBatchPolyIndices;

    QProperty<QString> splitOutputFolder; // of splits and of edits

    // The run over several files, a split's or an edit's
    QProperty<std::optional<BatchProgress>> batchProgress;
    QProperty<std::optional<BatchSplitResult>> batchResults;
    QProperty<bool> isBatchProcessing{false};

    void refreshSplitSections() { splitSourceSectionID = QUuid::createUuid(); }
};

} // namespace ostrel
