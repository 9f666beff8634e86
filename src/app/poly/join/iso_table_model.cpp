#include "app/poly/join/iso_table_model.h"

#include "app/controls/item_cells.h"
#include "platform/text/text.h"
#include "polytools/records/iso_ordering.h"

#include <QMimeData>

namespace ostrel {
namespace {

constexpr auto kRowMime = u"application/x-ostrel-iso-row";

QString heading(int column) {
    switch (column) {
    case IsoTableModel::ChannelColumn: return QStringLiteral("Ch");
    case IsoTableModel::SoloColumn: return QStringLiteral("Solo");
    case IsoTableModel::FileColumn: return QStringLiteral("File Name");
    case IsoTableModel::TrackColumn: return QStringLiteral("Track");
    case IsoTableModel::SampleRateColumn: return QStringLiteral("Sample Rate");
    case IsoTableModel::BitDepthColumn: return QStringLiteral("Bit Depth");
    case IsoTableModel::DurationColumn: return QStringLiteral("Duration");
    case IsoTableModel::MarksColumn: return QStringLiteral("Check");
    default: return {};
    }
}

bool isNumberColumn(int column) {
    return column == IsoTableModel::ChannelColumn || column == IsoTableModel::SampleRateColumn ||
           column == IsoTableModel::BitDepthColumn || column == IsoTableModel::DurationColumn;
}

} // namespace

IsoTableModel::IsoTableModel(PolyToolsViewModel& viewModel, QObject* parent)
    : RecordTableModel(viewModel.isoFiles, parent), viewModel_(viewModel) {
    const auto repaint = [this] { announceAll(); };
    bindings_.watch(viewModel.selectedISOForPlayback, repaint);
    bindings_.watch(viewModel.isProcessing, repaint);
}

int IsoTableModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant IsoTableModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::DisplayRole) return heading(section);
    if (role == Qt::TextAlignmentRole)
        return QVariant((isNumberColumn(section) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (role == Qt::ToolTipRole && section == IncludeColumn) return QStringLiteral("Include in the poly");
    if (role == Qt::AccessibleTextRole && section == IncludeColumn) return QStringLiteral("Include");
    return {};
}

QVariant IsoTableModel::data(const QModelIndex& index, int role) const {
    if (!isRow(index)) return {};
    const ISOFile& iso = record(index.row());
    const int column = index.column();
    if (column == IncludeColumn && role == Qt::CheckStateRole) return iso.isSelected ? Qt::Checked : Qt::Unchecked;
    if (column == IncludeColumn && role == Qt::AccessibleTextRole) return QStringLiteral("Include ") + iso.fileName;
    if (column == SoloColumn) return soloCell(index.row(), role);
    if (column == MarksColumn) return marksCell(iso, role);
    if (role == Qt::TextAlignmentRole)
        return QVariant((isNumberColumn(column) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (role == ElideMiddleRole) return column == FileColumn;
    if (role == Qt::ToolTipRole) return QStringLiteral("Click to preview this ISO");
    if (role == SortRole && column == DurationColumn) return iso.duration;
    return role == Qt::DisplayRole ? text(iso, column) : QVariant();
}

QVariant IsoTableModel::text(const ISOFile& iso, int column) const {
    switch (column) {
    case ChannelColumn: return QString::number(iso.channelIndex);
    case FileColumn: return iso.fileName;
    case TrackColumn: return iso.metadataTrackName;
    case SampleRateColumn: return sampleRateText(iso.sampleRate);
    case BitDepthColumn: return bitDepthText(iso.bitDepth);
    case DurationColumn: return clockText(iso.duration);
    default: return {};
    }
}

QVariant IsoTableModel::soloCell(int row, int role) const {
    const bool isSoloed = viewModel_.selectedISOForPlayback.value() == row;
    using Color = ProcessingStatus::Color;
    switch (role) {
    case BadgeRole:
        return QVariant::fromValue(isSoloed ? Badge{QStringLiteral("speaker"), QStringLiteral("Solo"), Color::blue}
                                            : Badge{QStringLiteral("speaker"), QString(), Color::secondary});
    case Qt::ToolTipRole: return QStringLiteral("Solo this track");
    case Qt::AccessibleTextRole: return isSoloed ? QStringLiteral("Solo") : QStringLiteral("Not solo");
    default: return {};
    }
}

QVariant IsoTableModel::marksCell(const ISOFile& iso, int role) const {
    const QStringList marks = isoMarks(iso, record(0));
    if (marks.isEmpty()) {
        if (role == BadgeRole)
            return QVariant::fromValue(Badge{QStringLiteral("checkmark"), {}, ProcessingStatus::Color::green});
        return role == Qt::AccessibleTextRole ? QStringLiteral("Fits the first file") : QVariant();
    }
    switch (role) {
    case BadgeRole:
        return QVariant::fromValue(Badge{QStringLiteral("exclamationmark.triangle"), marks.join(QStringLiteral("; ")),
                                         ProcessingStatus::Color::orange});
    case Qt::DisplayRole: return marks.join(QStringLiteral("; "));
    case Qt::ToolTipRole: return marks.join(u'\n');
    default: return {};
    }
}

Qt::ItemFlags IsoTableModel::flags(const QModelIndex& index) const {
    const bool isFree = !viewModel_.isProcessing.value();
    if (!index.isValid()) return isFree ? Qt::ItemIsDropEnabled : Qt::NoItemFlags;
    Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled | Qt::ItemNeverHasChildren;
    if (isFree) flags |= Qt::ItemIsDragEnabled;
    if (isFree && index.column() == IncludeColumn) flags |= Qt::ItemIsUserCheckable;
    return flags;
}

bool IsoTableModel::setData(const QModelIndex& index, const QVariant& value, int role) {
    if (!isRow(index) || index.column() != IncludeColumn || role != Qt::CheckStateRole) return false;
    viewModel_.join().setSelected(index.row(), value.toInt() == Qt::Checked);
    return true;
}

QStringList IsoTableModel::mimeTypes() const { return {QString::fromUtf16(kRowMime)}; }

QMimeData* IsoTableModel::mimeData(const QModelIndexList& indexes) const {
    if (indexes.isEmpty()) return nullptr;
    auto* data = new QMimeData;
    data->setData(QString::fromUtf16(kRowMime), QByteArray::number(indexes.first().row()));
    return data;
}

// Says that it took nothing: otherwise the view would go on to remove the row that was dragged.
bool IsoTableModel::dropMimeData(const QMimeData* data, Qt::DropAction, int row, int, const QModelIndex& parent) {
    if (!data->hasFormat(QString::fromUtf16(kRowMime))) return false;
    const int from = data->data(QString::fromUtf16(kRowMime)).toInt();
    int to = row >= 0 ? row : parent.isValid() ? parent.row() : rowCount();
    if (to > from) --to; // its own place goes free
    viewModel_.join().moveISO(from, to);
    return false;
}

} // namespace ostrel
