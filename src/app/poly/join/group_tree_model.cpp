#include "app/poly/join/group_tree_model.h"

#include "app/controls/item_cells.h"
#include "platform/text/text.h"
#include "polytools/records/poly_names.h"

#include <QMimeData>

namespace ostrel {

QMimeData* isoIdsMime(const QSet<QUuid>& isos) {
    QByteArray bytes;
    for (const QUuid& id : isos) bytes += id.toRfc4122();
    auto* data = new QMimeData;
    data->setData(QString::fromUtf16(kIsoIdsMime), bytes);
    return data;
}

QSet<QUuid> isoIdsOf(const QMimeData& data) {
    const QByteArray bytes = data.data(QString::fromUtf16(kIsoIdsMime));
    QSet<QUuid> isos;
    for (qsizetype at = 0; at + 16 <= bytes.size(); at += 16) isos << QUuid::fromRfc4122(bytes.sliced(at, 16));
    return isos;
}

GroupTreeModel::GroupTreeModel(PolyToolsViewModel& viewModel, QObject* parent)
    : QAbstractItemModel(parent), viewModel_(viewModel) {
    connect(&viewModel.reviewedGroups, &RecordListSignals::reset, this, &GroupTreeModel::sync);
    connect(&viewModel.reviewedGroups, &RecordListSignals::rowChanged, this, &GroupTreeModel::sync);
    connect(&viewModel.reviewedGroups, &RecordListSignals::rowsAppended, this, &GroupTreeModel::sync);
    const auto again = [this] { Q_EMIT looksChanged(); };
    bindings_.watch(viewModel.joinKeepOriginalName, again);
    bindings_.watch(viewModel.foreseenRefusals, again);
    bindings_.watch(viewModel.previewedGroupID, again);
    bindings_.watch(viewModel.selectedPreviewISOIndex, again);
    bindings_.watch(viewModel.isBatchJoining, again);
    bindings_.bind(viewModel.batchJoinResults, [this] {
        results_.clear();
        if (const auto& results = viewModel_.batchJoinResults.value()) {
            for (const GroupJoinResult& result : results->groupResults) results_.insert(result.groupId, result);
        }
        Q_EMIT looksChanged();
    });
    rebuild();
}

void GroupTreeModel::rebuild() {
    beginResetModel();
    entries_.clear();
    for (const ISOGroupCandidate& group : viewModel_.reviewedGroups) {
        const int row = static_cast<int>(entries_.size());
        entries_.push_back(std::make_unique<Entry>(group, row));
    }
    endResetModel();
}

// False if hardly anything would be left.
bool GroupTreeModel::removeGone() {
    QSet<QUuid> kept;
    for (const ISOGroupCandidate& group : viewModel_.reviewedGroups) kept << group.id;
    int gone = 0;
    for (const auto& entry : entries_) gone += !kept.contains(entry->group.id);
    if (gone > 100 || gone == static_cast<int>(entries_.size())) return gone == 0;
    for (int row = static_cast<int>(entries_.size()) - 1; row >= 0; --row) {
        if (kept.contains(entries_[static_cast<std::size_t>(row)]->group.id)) continue;
        beginRemoveRows(QModelIndex(), row, row);
        entries_.erase(entries_.begin() + row);
        for (std::size_t after = static_cast<std::size_t>(row); after < entries_.size(); ++after)
            --entries_[after]->row;
        endRemoveRows();
    }
    return true;
}

void GroupTreeModel::sync() {
    const std::vector<ISOGroupCandidate>& groups = viewModel_.reviewedGroups.rows();
    if (!removeGone()) return rebuild();
    const bool isInOrder =
        entries_.size() <= groups.size() &&
        std::equal(entries_.begin(), entries_.end(), groups.begin(),
                   [](const auto& entry, const ISOGroupCandidate& group) { return entry->group.id == group.id; });
    if (!isInOrder) return rebuild();
    for (const auto& entry : entries_) refill(*entry, groups[static_cast<std::size_t>(entry->row)]);
    if (entries_.size() < groups.size()) {
        const int first = static_cast<int>(entries_.size());
        beginInsertRows(QModelIndex(), first, static_cast<int>(groups.size()) - 1);
        for (int row = first; row < static_cast<int>(groups.size()); ++row) {
            const ISOGroupCandidate& group = groups[static_cast<std::size_t>(row)];
            entries_.push_back(std::make_unique<Entry>(group, row));
        }
        endInsertRows();
    }
    Q_EMIT looksChanged();
}

void GroupTreeModel::refill(Entry& entry, const ISOGroupCandidate& group) {
    entry.group = group;
    std::vector<ISOFile> isos = group.sortedISOs();
    const bool isSame = std::ranges::equal(entry.isos, isos, {}, &ISOFile::id, &ISOFile::id);
    if (isSame) {
        entry.isos = std::move(isos);
        return;
    }
    const QModelIndex parent = createIndex(entry.row, 0);
    if (!entry.isos.empty()) {
        beginRemoveRows(parent, 0, static_cast<int>(entry.isos.size()) - 1);
        entry.isos.clear();
        endRemoveRows();
    }
    beginInsertRows(parent, 0, static_cast<int>(isos.size()) - 1);
    entry.isos = std::move(isos);
    endInsertRows();
}

const ISOGroupCandidate& GroupTreeModel::group(const QModelIndex& index) const {
    if (isIso(index)) return static_cast<const Entry*>(index.internalPointer())->group;
    return entries_[static_cast<std::size_t>(index.row())]->group;
}

const ISOFile& GroupTreeModel::iso(const QModelIndex& index) const {
    return static_cast<const Entry*>(index.internalPointer())->isos[static_cast<std::size_t>(index.row())];
}

QString GroupTreeModel::outputName(const QModelIndex& index) const {
    return groupOutputName(group(index), viewModel_.joinKeepOriginalName.value());
}

bool GroupTreeModel::isHeard(const QModelIndex& index) const {
    if (viewModel_.previewedGroupID.value() != group(index).id) return false;
    const auto& solo = viewModel_.selectedPreviewISOIndex.value();
    return isGroup(index) ? !solo : solo == index.row();
}

QString GroupTreeModel::foreseen(const QModelIndex& index) const {
    return isGroup(index) && !result(index) ? viewModel_.foreseenRefusals.value().value(group(index).id) : QString();
}

const GroupJoinResult* GroupTreeModel::result(const QModelIndex& index) const {
    const auto found = results_.constFind(group(index).id);
    return found == results_.constEnd() ? nullptr : &found.value();
}

QModelIndex GroupTreeModel::indexOf(const QUuid& group) const {
    for (const auto& entry : entries_) {
        if (entry->group.id == group) return createIndex(entry->row, 0);
    }
    return {};
}

QModelIndex GroupTreeModel::index(int row, int column, const QModelIndex& parent) const {
    if (!hasIndex(row, column, parent)) return {};
    if (!parent.isValid()) return createIndex(row, column);
    return createIndex(row, column, entries_[static_cast<std::size_t>(parent.row())].get());
}

QModelIndex GroupTreeModel::parent(const QModelIndex& index) const {
    return isIso(index) ? createIndex(static_cast<const Entry*>(index.internalPointer())->row, 0) : QModelIndex();
}

int GroupTreeModel::rowCount(const QModelIndex& parent) const {
    if (!parent.isValid()) return static_cast<int>(entries_.size());
    return isGroup(parent) ? static_cast<int>(entries_[static_cast<std::size_t>(parent.row())]->isos.size()) : 0;
}

QVariant GroupTreeModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid()) return {};
    switch (role) {
    case Qt::DisplayRole: return isGroup(index) ? outputName(index) : iso(index).fileName;
    case Qt::AccessibleTextRole:
    case Qt::AccessibleDescriptionRole: return description(index);
    case Qt::ToolTipRole:
        if (const QString why = foreseen(index); !why.isEmpty()) return why;
        return isGroup(index) ? QStringLiteral("Click to expand options")
                              : QStringLiteral("Click to load group and preview this ISO");
    default: return {};
    }
}

// What the row shows, in words.
QString GroupTreeModel::description(const QModelIndex& index) const {
    if (isIso(index)) {
        const ISOFile& iso = this->iso(index);
        QStringList words{QString::number(index.row() + 1), iso.fileName};
        if (!iso.metadataTrackName.isEmpty()) words << iso.metadataTrackName;
        words << sampleRateText(iso.sampleRate) << bitDepthText(iso.bitDepth) << clockText(iso.duration);
        return words.join(QStringLiteral(", "));
    }
    const ISOGroupCandidate& group = this->group(index);
    QStringList words{outputName(index), rawText(group.confidence), rawText(group.groupingMethod)};
    if (!group.timecode.isEmpty()) words << QStringLiteral("Timecode: ") + group.timecode;
    words << QString::number(group.isoFiles.size()) + QStringLiteral(" channels");
    if (!group.partsText().isEmpty()) words << group.partsText();
    if (const GroupJoinResult* result = this->result(index)) {
        words << result->outcome.status.displayText();
        if (result->outcome.proof) words << result->outcome.proof->sentence();
    }
    if (const QString why = foreseen(index); !why.isEmpty()) words << why;
    return words.join(QStringLiteral(", "));
}

Qt::ItemFlags GroupTreeModel::flags(const QModelIndex& index) const {
    const bool isFree = !viewModel_.isBatchJoining.value();
    if (!index.isValid()) return isFree ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
    if (isIso(index)) flags |= Qt::ItemNeverHasChildren;
    if (isFree) flags |= Qt::ItemIsDropEnabled;
    if (isFree && isIso(index)) flags |= Qt::ItemIsDragEnabled;
    return flags;
}

QMimeData* GroupTreeModel::mimeData(const QModelIndexList& indexes) const {
    QSet<QUuid> isos;
    for (const QModelIndex& index : indexes) {
        if (isIso(index)) isos << iso(index).id;
    }
    return isos.isEmpty() ? nullptr : isoIdsMime(isos);
}

// Onto a group or one of its ISOs: into that group. Between or behind the groups: into a new one. Says that it took
// nothing: otherwise the view that was dragged from would go on to remove the rows.
bool GroupTreeModel::dropMimeData(const QMimeData* data, Qt::DropAction, int, int, const QModelIndex& parent) {
    const QSet<QUuid> isos = isoIdsOf(*data);
    if (isos.isEmpty()) return false;
    if (parent.isValid()) {
        viewModel_.review().moveToGroup(isos, group(parent).id);
    } else {
        viewModel_.review().moveToNewGroup(isos);
    }
    return false;
}

} // namespace ostrel
