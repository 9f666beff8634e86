#include "app/poly/join/ungrouped_table_model.h"

#include "app/controls/item_cells.h"
#include "app/poly/join/group_tree_model.h"
#include "platform/text/text.h"

#include <QMimeData>

namespace ostrel {

UngroupedTableModel::UngroupedTableModel(JoinState& join, PolyJoinReview& review, QObject* parent)
    : RecordTableModel(join.ungroupedFiles, parent), join_(join), review_(review) {}

int UngroupedTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant UngroupedTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant((section == FileColumn ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter);
    if (role != Qt::DisplayRole) return {};
    switch (section) {
    case FileColumn: return QStringLiteral("File Name");
    case SampleRateColumn: return QStringLiteral("Sample Rate");
    case BitDepthColumn: return QStringLiteral("Bit Depth");
    default: return QStringLiteral("Duration");
    }
}

QVariant UngroupedTableModel::data(const QModelIndex& index, int role) const {
    if (!isRow(index)) return {};
    const ISOFile& iso = record(index.row());
    if (role == Qt::TextAlignmentRole)
        return QVariant((index.column() == FileColumn ? Qt::AlignLeft : Qt::AlignRight) | Qt::AlignVCenter);
    if (role == ElideMiddleRole) return index.column() == FileColumn;
    if (role == Qt::ToolTipRole) return iso.url;
    if (role == SortRole && index.column() == UngroupedTableModel::DurationColumn) return iso.duration;
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
    case FileColumn: return iso.fileName;
    case SampleRateColumn: return sampleRateText(iso.sampleRate);
    case BitDepthColumn: return bitDepthText(iso.bitDepth);
    default: return clockText(iso.duration);
    }
}

Qt::ItemFlags UngroupedTableModel::flags(const QModelIndex& index) const {
    const bool isFree = !join_.isBatchJoining.value();
    if (!index.isValid()) return isFree ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return isFree ? flags | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled : flags;
}

QStringList UngroupedTableModel::mimeTypes() const { return {QString::fromUtf16(kIsoIdsMime)}; }

QMimeData* UngroupedTableModel::mimeData(const QModelIndexList& indexes) const {
    QSet<QUuid> isos;
    for (const QModelIndex& index : indexes) isos << record(index.row()).id;
    return isos.isEmpty() ? nullptr : isoIdsMime(isos);
}

// Says that it took nothing: otherwise the view that was dragged from would go on to remove the rows.
bool UngroupedTableModel::dropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex&) {
    review_.ungroup(isoIdsOf(*data));
    return false;
}

} // namespace ostrel
