#include "app/interleaver/interleave_table_model.h"

#include "app/controls/item_cells.h"
#include "interleaver/interleave_engine.h"
#include "platform/paths.h"

namespace ostrel {

InterleaveTableModel::InterleaveTableModel(AppViewModel& viewModel, QObject* parent)
    : RecordTableModel(viewModel.interleaveGroups, parent), viewModel_(viewModel) {
    const auto repaint = [this] { announceAll(); };
    bindings_.watch(viewModel.selectedLayout, repaint);
    bindings_.watch(viewModel.options, repaint);
    bindings_.watch(viewModel.outputURL, repaint);
    bindings_.watch(viewModel.useCustomOutput, repaint);
    bindings_.watch(viewModel.isProcessing, repaint);
}

int InterleaveTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ItemColumnCount);
}

QVariant InterleaveTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    return itemHeading(section, role, QStringLiteral("Base Name"), QStringLiteral("Output"));
}

QVariant InterleaveTableModel::data(const QModelIndex& index, int role) const {
    if (!isRow(index)) return {};
    const InterleaveGroup& group = record(index.row());
    const int column = index.column();
    if (column == IncludeColumn && role == Qt::CheckStateRole) return group.include ? Qt::Checked : Qt::Unchecked;
    if (column == IncludeColumn && role == Qt::AccessibleTextRole) return QStringLiteral("Include ") + group.baseName;
    if (column == StatusColumn) return statusCell(group.status, group.foreseen, role);
    if (column == ProofColumn && role != Qt::TextAlignmentRole) return proofCell(group.outcome, role);
    if (role == Qt::TextAlignmentRole) return itemAlignment(column);
    if (role == SortRole && column == DurationColumn) return group.duration.value_or(-1);
    if (role == Qt::DisplayRole) return text(group, column);
    if (role == ChannelChipsRole && column == ChannelsColumn) {
        const QStringList found = group.channelFiles.keys();
        return QVariant::fromValue(
            ChannelChips{viewModel_.selectedLayout.value().channelTags, QSet<QString>(found.begin(), found.end())});
    }
    if (role == ElideMiddleRole) return column == NameColumn;
    if (role == Qt::ToolTipRole) {
        if (column == NameColumn) return group.channelFiles.values().join(u'\n');
        if (column == ResultColumn) return output(group);
    }
    return {};
}

QVariant InterleaveTableModel::text(const InterleaveGroup& group, int column) const {
    switch (column) {
    case TypeColumn: return group.containerKind ? displayName(*group.containerKind) : QStringLiteral("--");
    case FormatColumn: return group.outputFormat(viewModel_.options.value().outputFormatPolicy).toUpper();
    case SampleRateColumn: return sampleRateText(group.sampleRate);
    case BitDepthColumn: return bitDepthText(group.bitDepth);
    case NameColumn: return nameBelow(group.relativePath, group.baseName);
    case ChannelsColumn: return group.channelFiles.keys().join(u' ');
    case DurationColumn: return group.durationString();
    case ResultColumn: {
        const QString path = output(group);
        return path.isEmpty() ? QString()
                              : paths::lastComponent(paths::parent(path)) + u'/' + paths::lastComponent(path);
    }
    default: return {};
    }
}

// Where the file will be, or is by now; nothing for a group of which none will be made.
QString InterleaveTableModel::output(const InterleaveGroup& group) const {
    if (group.outcome && !group.outcome->outputs.isEmpty()) return group.outcome->outputs.first();
    const bool isCustom = viewModel_.useCustomOutput.value() && !viewModel_.outputURL.value().isEmpty();
    if (isCustom && group.status.isProcessable()) {
        return paths::append(viewModel_.outputURL.value(), group.baseName + QStringLiteral(".wav"));
    }
    if (group.status.isProcessable()) return InterleaveEngine::generateOutputURL(group, viewModel_.options.value());
    return group.status.isError() ? QString() : group.outputURL;
}

Qt::ItemFlags InterleaveTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    if (index.column() == IncludeColumn && !viewModel_.isProcessing.value()) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool InterleaveTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!isRow(index) || index.column() != IncludeColumn || role != Qt::CheckStateRole) return false;
    const bool include = value.toInt() == Qt::Checked;
    viewModel_.interleaveGroups.update(static_cast<std::size_t>(index.row()),
                                       [include](InterleaveGroup& group) { group.include = include; });
    return true;
}

} // namespace ostrel
