#include "app/interleaver/deinterleave_table_model.h"

#include "app/controls/item_cells.h"
#include "platform/paths.h"

namespace ostrel {

DeinterleaveTableModel::DeinterleaveTableModel(AppViewModel& viewModel, QObject* parent)
    : RecordTableModel(viewModel.deinterleaveSources, parent), viewModel_(viewModel) {
    const auto repaint = [this] { announceAll(); };
    bindings_.watch(viewModel.options, repaint);
    bindings_.watch(viewModel.outputURL, repaint);
    bindings_.watch(viewModel.useCustomOutput, repaint);
    bindings_.watch(viewModel.isProcessing, repaint);
}

int DeinterleaveTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ItemColumnCount);
}

QVariant DeinterleaveTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    return itemHeading(section, role, QStringLiteral("File Name"), QStringLiteral("Export"));
}

QVariant DeinterleaveTableModel::data(const QModelIndex& index, int role) const {
    if (!isRow(index)) return {};
    const MultiChannelSource& source = record(index.row());
    const int column = index.column();
    const QString name = paths::lastComponent(source.sourceURL);
    if (column == IncludeColumn && role == Qt::CheckStateRole) return source.include ? Qt::Checked : Qt::Unchecked;
    if (column == IncludeColumn && role == Qt::AccessibleTextRole) return QStringLiteral("Include ") + name;
    if (column == StatusColumn) return statusCell(source.status, source.foreseen, role);
    if (column == ProofColumn && role != Qt::TextAlignmentRole) return proofCell(source.outcome, role);
    if (role == Qt::TextAlignmentRole) return itemAlignment(column);
    if (role == SortRole && column == DurationColumn) return source.duration;
    if (role == Qt::DisplayRole) return text(source, column);
    if (role == ChannelChipsRole && column == ChannelsColumn) {
        return QVariant::fromValue(ChannelChips{source.layout.channelTags, source.selectedChannels, true});
    }
    if (role == ElideMiddleRole) return column == NameColumn;
    if (role == Qt::ToolTipRole) {
        if (column == NameColumn) return source.sourceURL;
        if (column == ChannelsColumn) return QStringLiteral("Click a channel to export it or leave it out");
        if (column == ResultColumn) return outputs(source).join(u'\n');
    }
    return {};
}

QVariant DeinterleaveTableModel::text(const MultiChannelSource& source, int column) const {
    switch (column) {
    case TypeColumn: return source.containerKind ? displayName(*source.containerKind) : QStringLiteral("--");
    case FormatColumn: return source.outputFormat(viewModel_.options.value().outputFormatPolicy).toUpper();
    case SampleRateColumn: return sampleRateText(source.sampleRate);
    case BitDepthColumn: return bitDepthText(source.bitDepth);
    case NameColumn: return nameBelow(source.relativePath, paths::lastComponent(source.sourceURL));
    case ChannelsColumn: return QStringList(source.selectedChannels.begin(), source.selectedChannels.end()).join(u' ');
    case DurationColumn: return source.durationString();
    case ResultColumn: {
        const auto count = source.selectedChannels.size();
        return count == 1 ? QStringLiteral("1 mono file") : QStringLiteral("%1 mono files").arg(count);
    }
    default: return {};
    }
}

QStringList DeinterleaveTableModel::outputs(const MultiChannelSource& source) const {
    if (source.outcome && !source.outcome->outputs.isEmpty()) return source.outcome->outputs;
    const ProcessingOptions& options = viewModel_.options.value();
    const QString folder = viewModel_.useCustomOutput.value() ? viewModel_.outputURL.value() : QString();
    return source.outputURLs(rawText(options.channelSeparator), folder, source.outputFormat(options.outputFormatPolicy))
        .values();
}

Qt::ItemFlags DeinterleaveTableModel::flags(const QModelIndex& index) const {
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    const bool isSwitch = index.column() == IncludeColumn || index.column() == ChannelsColumn;
    if (isSwitch && !viewModel_.isProcessing.value()) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool DeinterleaveTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!isRow(index)) return false;
    if (index.column() == ChannelsColumn && role == ChannelChipsRole) {
        toggleChannel(index.row(), value.toString());
        return true;
    }
    if (index.column() != IncludeColumn || role != Qt::CheckStateRole) return false;
    const bool include = value.toInt() == Qt::Checked;
    viewModel_.deinterleaveSources.update(static_cast<std::size_t>(index.row()),
                                          [include](MultiChannelSource& source) { source.include = include; });
    return true;
}

void DeinterleaveTableModel::toggleChannel(int row, const QString& tag) {
    viewModel_.deinterleaveSources.update(static_cast<std::size_t>(row), [&tag](MultiChannelSource& source) {
        if (!source.selectedChannels.remove(tag)) source.selectedChannels.insert(tag);
    });
}

} // namespace ostrel
