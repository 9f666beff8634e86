#include "app/poly/edit/channel_names_model.h"

namespace ostrel {

ChannelNamesModel::ChannelNamesModel(ChannelEdits& edits, QObject* parent)
    : QAbstractTableModel(parent), edits_(edits) {
    refresh();
}

int ChannelNamesModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(tracks_.size());
}

int ChannelNamesModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant ChannelNamesModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
    case PositionColumn: return QStringLiteral("Ch");
    case OriginalColumn: return QStringLiteral("Original name");
    case NewColumn: return QStringLiteral("New name");
    default: return {};
    }
}

QString ChannelNamesModel::newName(int row) const {
    const auto found = names_.find(tracks_[static_cast<std::size_t>(row)].originalInterleaveIndex);
    return found == names_.end() ? QString() : found->second;
}

QVariant ChannelNamesModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const FinalTrack& track = tracks_[static_cast<std::size_t>(index.row())];
    if (role == Qt::AccessibleTextRole && index.column() == NewColumn) {
        return QStringLiteral("New name for channel %1: %2").arg(track.interleaveIndex).arg(newName(index.row()));
    }
    if (role == Qt::ToolTipRole && index.column() == OriginalColumn) return track.name;
    if (role != Qt::DisplayRole && role != Qt::EditRole) return {};
    switch (index.column()) {
    case PositionColumn: return QString::number(track.interleaveIndex);
    case OriginalColumn: return track.name;
    case NewColumn: return newName(index.row());
    default: return {};
    }
}

Qt::ItemFlags ChannelNamesModel::flags(const QModelIndex& index) const {
    const Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    return index.column() == NewColumn ? flags | Qt::ItemIsEditable : flags;
}

bool ChannelNamesModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!index.isValid() || index.row() >= rowCount() || index.column() != NewColumn || role != Qt::EditRole)
        return false;
    const int channel = tracks_[static_cast<std::size_t>(index.row())].originalInterleaveIndex;
    ChannelEdits::NewNames names = edits_.newNames.value();
    if (value.toString().isEmpty()) {
        names.erase(channel);
    } else {
        names[channel] = value.toString();
    }
    names_ = names;
    edits_.newNames = names;
    Q_EMIT dataChanged(index, index);
    return true;
}

// The rows stay, and with them an open editor, unless there are other tracks.
void ChannelNamesModel::refresh() {
    const std::vector<FinalTrack> tracks = edits_.finalTracks();
    if (tracks != tracks_) {
        beginResetModel();
        tracks_ = tracks;
        names_ = edits_.newNames.value();
        endResetModel();
    } else if (names_ != edits_.newNames.value()) {
        names_ = edits_.newNames.value();
        if (!tracks_.empty()) Q_EMIT dataChanged(index(0, NewColumn), index(rowCount() - 1, NewColumn));
    }
}

} // namespace ostrel
