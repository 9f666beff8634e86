// What is prepared for listening and what is heard, in all modes. Written by `PolyPreview`'s deck and previews alone.
#pragma once

#include "foundation/records/record_list.h"
#include "polytools/records/iso_file.h"
#include "polytools/records/poly_tools_records.h"

#include <QProperty>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <optional>
#include <set>
#include <utility>
#include <vector>

namespace ostrel {

struct PreviewState {
    // One poly
    QProperty<bool> isPreparingPreview{false};
    QProperty<std::optional<std::pair<int, int>>> previewPreparationProgress; // current, total
    QProperty<QStringList> extractedChannelURLs;
    QProperty<std::optional<int>> selectedChannelForPlayback;

    // Polys of a batch
    QProperty<std::optional<int>> selectedBatchPreviewIndex;
    QProperty<bool> isExtractingBatchPreview{false};
    QProperty<bool> isLoadingAllPreviews{false};
    RecordList<ChannelItem> batchChannelItems;
    QProperty<std::optional<int>> selectedBatchChannelForPlayback;

    // ISOs, and a group of them
    QProperty<std::optional<int>> selectedISOForPlayback;
    QProperty<std::vector<ISOFile>> previewedGroupISOs;
    QProperty<QString> previewedGroupOutputName;
    QProperty<QUuid> previewedGroupID; // null while the mixer holds something else
    QProperty<std::optional<int>> selectedPreviewISOIndex;
    QProperty<std::set<int>> previewIncludedIndices; // shown by no view
};

} // namespace ostrel
