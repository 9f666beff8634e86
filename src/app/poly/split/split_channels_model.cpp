#include "app/poly/split/split_channels_model.h"

#include "app/controls/item_roles.h"

namespace ostrel {
namespace {

using Color = ProcessingStatus::Color;

Badge badgeOf(ItemStatus status) {
    switch (status) {
    case ItemStatus::pending: return {QStringLiteral("circle"), displayName(status), Color::secondary};
    case ItemStatus::processing:
        return {QStringLiteral("arrow.triangle.2.circlepath"), displayName(status), Color::purple};
    case ItemStatus::complete: return {QStringLiteral("checkmark.circle.fill"), displayName(status), Color::green};
    case ItemStatus::skipped: return {QStringLiteral("minus.circle"), displayName(status), Color::secondary};
    case ItemStatus::error: break;
    }
    return {QStringLiteral("xmark.circle.fill"), displayName(status), Color::red};
}

} // namespace

SplitChannelsModel::SplitChannelsModel(SourceState& source, PreviewState& preview, QObject* parent)
    : RecordTableModel(source.channelItems, parent), preview_(preview) {
    bindings_.watch(preview.selectedChannelForPlayback, [this] { announceAll(); });
}

int SplitChannelsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant SplitChannelsModel::data(const QModelIndex& index, int role) const {
    if (!isRow(index)) return {};
    const ChannelItem& item = record(index.row());
    if (role == Qt::ToolTipRole) {
        return index.column() == OutputColumn ? item.outputFileName : QStringLiteral("Click to preview this channel");
    }
    if (index.column() == ChannelColumn) return channelCell(item, role);
    if (role == BadgeRole && index.column() == StatusColumn) return QVariant::fromValue(badgeOf(item.status));
    if (role == ElideMiddleRole) return index.column() == OutputColumn;
    if (role != Qt::DisplayRole) return {};
    switch (index.column()) {
    case TrackColumn: return item.trackName;
    case OutputColumn: return item.outputFileName;
    case StatusColumn: return displayName(item.status);
    default: return {};
    }
}

// The number, marked where it is the one that is heard.
QVariant SplitChannelsModel::channelCell(const ChannelItem& item, int role) const {
    const QString number = QString::number(item.channelIndex + 1);
    const bool isHeard = preview_.selectedChannelForPlayback.value() == item.channelIndex;
    if (role == Qt::DisplayRole) return number;
    if (role == Qt::AccessibleTextRole) return isHeard ? number + QStringLiteral(", heard") : number;
    if (role != BadgeRole) return {};
    return QVariant::fromValue(isHeard ? Badge{QStringLiteral("speaker"), number, Color::cyan}
                                       : Badge{QStringLiteral("play.fill"), number, Color::secondary});
}

QVariant SplitChannelsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    switch (section) {
    case ChannelColumn: return QStringLiteral("Channel");
    case TrackColumn: return QStringLiteral("Track Name");
    case OutputColumn: return QStringLiteral("Output File");
    case StatusColumn: return QStringLiteral("Status");
    default: return {};
    }
}

} // namespace ostrel
