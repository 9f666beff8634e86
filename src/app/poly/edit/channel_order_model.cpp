#include "app/poly/edit/channel_order_model.h"

#include "app/controls/item_roles.h"

#include <algorithm>

namespace ostrel {

ChannelOrderModel::ChannelOrderModel(const ChannelEdits& edits, QObject* parent)
    : QAbstractTableModel(parent), edits_(edits) {
    refresh();
}

int ChannelOrderModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(order_.size());
}

int ChannelOrderModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant ChannelOrderModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
    case PositionColumn: return QStringLiteral("New");
    case ChannelColumn: return QStringLiteral("Was");
    case NameColumn: return QStringLiteral("Track Name");
    default: return {};
    }
}

QVariant ChannelOrderModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const int channel = order_[static_cast<std::size_t>(index.row())];
    if (index.column() == GripColumn) {
        if (role == BadgeRole) return QVariant::fromValue(Badge{QStringLiteral("line.3.horizontal"), QString()});
        if (role == Qt::ToolTipRole) return QStringLiteral("Drag to move this channel");
        if (role == Qt::AccessibleTextRole) return QStringLiteral("Drag handle");
        return {};
    }
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
    case PositionColumn: return QString::number(index.row() + 1);
    case ChannelColumn: return QStringLiteral("Ch %1").arg(channel);
    default: break;
    }
    const QString name = edits_.trackName(channel);
    return removed_.contains(channel) ? name + QStringLiteral(" (removed)") : name;
}

void ChannelOrderModel::refresh() {
    removed_ = edits_.removedChannels();
    const std::vector<int>& order = edits_.order.value();
    if (order != order_) reorder(order);
    if (!order_.empty()) Q_EMIT dataChanged(index(0, 0), index(rowCount() - 1, ColumnCount - 1));
}

void ChannelOrderModel::reorder(const std::vector<int>& order) {
    if (!std::ranges::is_permutation(order, order_)) {
        beginResetModel();
        order_ = order;
        endResetModel();
        return;
    }
    Q_EMIT layoutAboutToBeChanged();
    const QModelIndexList from = persistentIndexList();
    QModelIndexList to;
    for (const QModelIndex& old : from) {
        const auto now = std::ranges::find(order, order_[static_cast<std::size_t>(old.row())]);
        to << index(static_cast<int>(now - order.begin()), old.column());
    }
    order_ = order;
    changePersistentIndexList(from, to);
    Q_EMIT layoutChanged();
}

} // namespace ostrel
