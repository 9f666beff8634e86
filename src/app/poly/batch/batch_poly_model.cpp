#include "app/poly/batch/batch_poly_model.h"

#include "app/controls/item_cells.h"
#include "platform/text/text.h"

namespace ostrel {
namespace {

using Color = ProcessingStatus::Color;

Badge previewBadge(const BatchPolyMetadata& poly, bool isExtracting, bool isHeard) {
    if (isExtracting) return {QStringLiteral("arrow.triangle.2.circlepath"), QStringLiteral("Loading..."), Color::blue};
    if (!poly.isPreviewReady) return {QStringLiteral("circle"), QStringLiteral("Not loaded"), Color::secondary};
    if (isHeard) return {QStringLiteral("speaker"), QStringLiteral("Poly"), Color::cyan};
    return {QStringLiteral("checkmark.circle"), QStringLiteral("Loaded"), Color::green};
}

QVariant badgeCell(const Badge& badge, int role) {
    if (role == BadgeRole) return QVariant::fromValue(badge);
    if (role == Qt::DisplayRole || role == Qt::AccessibleTextRole) return badge.word;
    return {};
}

} // namespace

BatchPolyModel::BatchPolyModel(PolyToolsViewModel& viewModel, QObject* parent)
    : QAbstractTableModel(parent), viewModel_(viewModel) {
    connectController();
    rebuild();
}

void BatchPolyModel::connectController() {
    const auto& polys = viewModel_.batchPolyMetadata;
    connect(&polys, &RecordListSignals::rowChanged, this, [this](int index) {
        if (index < polyCount()) announcePoly(index);
    });
    connect(&polys, &RecordListSignals::rowsAppended, this, &BatchPolyModel::appendPolys);
    connect(&polys, &RecordListSignals::reset, this, &BatchPolyModel::rebuild);
    bindings_.watch(viewModel_.expandedBatchPolyIndices, [this] { takeExpanded(); });
    bindings_.watch(viewModel_.batchResults, [this] { takeResults(); });
    bindings_.watch(viewModel_.foreseenRefusals, [this] {
        if (rowCount() > 0) Q_EMIT dataChanged(index(0, StatusColumn), index(rowCount() - 1, StatusColumn));
    });
    bindings_.watch(viewModel_.batchProgress, [this] { followRun(); });
    bindings_.watch(viewModel_.isBatchProcessing, [this] { followRun(); });
    bindings_.watch(viewModel_.selectedBatchPreviewIndex, [this] { followPreview(); });
    bindings_.watch(viewModel_.selectedBatchChannelForPlayback, [this] { followPreview(); });
    bindings_.watch(viewModel_.isExtractingBatchPreview, [this] { followPreview(); });
}

int BatchPolyModel::rowCount(const QModelIndex& parent) const { return parent.isValid() ? 0 : firstRow_.back(); }

int BatchPolyModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

BatchPolyModel::Line BatchPolyModel::lineAt(int row) const {
    const auto next = std::upper_bound(firstRow_.begin(), firstRow_.end(), row);
    const int poly = static_cast<int>(next - firstRow_.begin()) - 1;
    return {poly, row - rowOf(poly) - 1};
}

void BatchPolyModel::setExpanded(int poly, bool isExpanded) {
    std::set<int> indices = viewModel_.expandedBatchPolyIndices.value();
    isExpanded ? void(indices.insert(poly)) : void(indices.erase(poly));
    viewModel_.expandedBatchPolyIndices = std::move(indices);
}

void BatchPolyModel::setAllExpanded(bool areExpanded) {
    std::set<int> indices;
    for (int poly = 0; areExpanded && poly < polyCount(); ++poly) indices.insert(indices.end(), poly);
    viewModel_.expandedBatchPolyIndices = std::move(indices);
}

void BatchPolyModel::appendPolys(int first, int last) {
    const std::set<int>& indices = viewModel_.expandedBatchPolyIndices.value();
    const int row = firstRow_.back();
    int end = row;
    for (int index = first; index <= last; ++index) end += 1 + (indices.contains(index) ? poly(index).channelCount : 0);
    beginInsertRows(QModelIndex(), row, end - 1);
    for (int index = first; index <= last; ++index) {
        const bool isExpanded = indices.contains(index);
        expanded_.push_back(isExpanded);
        firstRow_.push_back(firstRow_.back() + 1 + (isExpanded ? poly(index).channelCount : 0));
    }
    std::vector<int> renamed;
    for (int index = first; index <= last; ++index) renamed.push_back(addName(index));
    endInsertRows();
    if (std::ranges::count(renamed, RepeatedNames::kAny) > 0) return announceRows(0, rowCount() - 1, NameColumn);
    for (const int index : renamed) {
        if (index >= 0) announceRows(rowOf(index), rowOf(index), NameColumn);
    }
}

int BatchPolyModel::addName(int index) {
    polyAt_.insert(poly(index).url, index);
    return names_.add(poly(index).url, poly(index).baseName, index);
}

void BatchPolyModel::announceRows(int first, int last, int column) {
    if (last >= first) Q_EMIT dataChanged(index(first, column), index(last, column));
}

void BatchPolyModel::rebuild() {
    beginResetModel();
    const std::set<int>& indices = viewModel_.expandedBatchPolyIndices.value();
    const auto count = viewModel_.batchPolyMetadata.size();
    expanded_.assign(count, false);
    firstRow_.assign(1, 0);
    firstRow_.reserve(count + 1);
    polyAt_.clear();
    names_.clear();
    for (int index = 0; index < static_cast<int>(count); ++index) {
        const bool isExpanded = indices.contains(index);
        expanded_[static_cast<std::size_t>(index)] = isExpanded;
        firstRow_.push_back(firstRow_.back() + 1 + (isExpanded ? poly(index).channelCount : 0));
        addName(index);
    }
    running_ = -1;
    heard_ = viewModel_.selectedBatchPreviewIndex.value().value_or(-1);
    endResetModel();
}

// One poly that was folded or unfolded keeps selection and place of everything else; for more the table is laid out
// anew, which is one pass.
void BatchPolyModel::takeExpanded() {
    std::vector<bool> wanted(expanded_.size(), false);
    for (const int index : viewModel_.expandedBatchPolyIndices.value()) {
        if (index >= 0 && index < polyCount()) wanted[static_cast<std::size_t>(index)] = true;
    }
    int changed = -1;
    int changes = 0;
    for (int index = 0; index < polyCount(); ++index) {
        if (wanted[static_cast<std::size_t>(index)] == isExpanded(index)) continue;
        changed = index;
        ++changes;
    }
    if (changes > 1) return rebuild();
    if (changes == 1) insertOrRemove(changed, wanted[static_cast<std::size_t>(changed)]);
}

void BatchPolyModel::insertOrRemove(int index, bool isExpanded) {
    const int count = poly(index).channelCount;
    const int row = rowOf(index) + 1;
    if (count > 0) {
        isExpanded ? beginInsertRows(QModelIndex(), row, row + count - 1)
                   : beginRemoveRows(QModelIndex(), row, row + count - 1);
    }
    expanded_[static_cast<std::size_t>(index)] = isExpanded;
    for (auto at = static_cast<std::size_t>(index) + 1; at < firstRow_.size(); ++at)
        firstRow_[at] += isExpanded ? count : -count;
    if (count > 0) isExpanded ? endInsertRows() : endRemoveRows();
    Q_EMIT dataChanged(this->index(row - 1, 0), this->index(row - 1, ColumnCount - 1));
}

// The poly's own line and those of its channels that are shown.
void BatchPolyModel::announcePoly(int index) {
    const int last = firstRow_[static_cast<std::size_t>(index) + 1] - 1;
    Q_EMIT dataChanged(this->index(rowOf(index), 0), this->index(last, ColumnCount - 1));
}

void BatchPolyModel::takeResults() {
    results_.clear();
    if (const auto& results = viewModel_.batchResults.value()) {
        for (const PolyFileResult& file : results->fileResults)
            results_.insert(file.sourceURL, {file.outcome, file.counts});
    }
    for (const int column : {StatusColumn, ResultColumn, ProofColumn}) announceRows(0, rowCount() - 1, column);
}

void BatchPolyModel::followRun() {
    const int before = running_;
    const auto& step = viewModel_.batchProgress.value();
    running_ = step && viewModel_.isBatchProcessing.value() ? polyAt_.value(step->currentURL, -1) : -1;
    if (before == running_) return;
    const int ended = step ? polyAt_.value(step->endedURL, -1) : -1;
    if (ended >= 0 && viewModel_.isBatchProcessing.value())
        results_.insert(step->endedURL, {step->ended, step->endedCounts});
    for (const int index : {before, running_, ended}) {
        if (index >= 0 && index < polyCount()) announcePoly(index);
    }
}

void BatchPolyModel::followPreview() {
    const int before = heard_;
    heard_ = viewModel_.selectedBatchPreviewIndex.value().value_or(-1);
    if (before >= 0 && before < polyCount()) announcePoly(before);
    if (heard_ != before && heard_ >= 0 && heard_ < polyCount()) announcePoly(heard_);
}

ItemOutcome BatchPolyModel::outcomeOf(int index) const {
    if (index == running_) return {ProcessingStatus::processing()};
    return results_.value(poly(index).url).outcome;
}

// "4 created, 2 skipped", of what has ended.
QVariant BatchPolyModel::resultCell(int index, int role) const {
    const Ended ended = results_.value(poly(index).url);
    if (role == Qt::ToolTipRole) return ended.outcome.outputs.join(u'\n');
    if (role == SortRole) return ended.counts.created;
    if (role != Qt::DisplayRole || index == running_) return {};
    QStringList parts;
    for (const auto& [count, word] : {std::pair{ended.counts.created, "%1 created"},
                                      {ended.counts.skipped, "%1 skipped"},
                                      {ended.counts.failed, "%1 failed"}}) {
        if (count > 0) parts << QString::fromLatin1(word).arg(count);
    }
    return parts.join(QStringLiteral(", "));
}

QString BatchPolyModel::errorOf(int index) const {
    const ItemOutcome outcome = outcomeOf(index);
    if (!outcome.status.isError()) return {};
    return outcome.message.isEmpty() ? outcome.status.displayText() : outcome.message;
}

QString BatchPolyModel::trackName(const Line& line) const {
    const auto& tracks = poly(line.poly).trackInfo;
    const auto at = static_cast<std::size_t>(line.channel);
    return at < tracks.size() && isUsableTrackName(tracks[at].name) ? tracks[at].name : noTrackName();
}

QVariant BatchPolyModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Line line = lineAt(index.row());
    if (static_cast<std::size_t>(line.poly) >= viewModel_.batchPolyMetadata.size()) return {};
    if (role == Qt::TextAlignmentRole) return headerData(index.column(), Qt::Horizontal, role);
    return line.isPoly() ? polyData(line.poly, index.column(), role) : channelData(line, index.column(), role);
}

QVariant BatchPolyModel::polyData(int index, int column, int role) const {
    const BatchPolyMetadata& metadata = poly(index);
    if (column == ExpanderColumn) {
        if (role == ExpandedRole) return isExpanded(index);
        if (role == Qt::AccessibleTextRole)
            return isExpanded(index) ? QStringLiteral("Expanded") : QStringLiteral("Collapsed");
        if (role == Qt::ToolTipRole)
            return isExpanded(index) ? QStringLiteral("Click to collapse options")
                                     : QStringLiteral("Click to expand options");
        return {};
    }
    if (column == StatusColumn) {
        return statusCell(outcomeOf(index).status, viewModel_.foreseenRefusals.value().value(metadata.id), role);
    }
    if (column == ProofColumn) return proofCell(outcomeOf(index), role);
    if (column == ResultColumn) return resultCell(index, role);
    if (role == Qt::ToolTipRole) {
        if (column == NameColumn) return metadata.url;
        return metadata.isPreviewReady ? QStringLiteral("Preview loaded - click row to play poly")
                                       : QStringLiteral("Click to load and play this poly");
    }
    if (column == PreviewColumn) {
        const bool isSelected = index == heard_;
        return badgeCell(previewBadge(metadata, isSelected && viewModel_.isExtractingBatchPreview.value(),
                                      isSelected && !viewModel_.selectedBatchChannelForPlayback.value()),
                         role);
    }
    if (role == ElideMiddleRole) return column == NameColumn;
    if (role == SortRole && column == DurationColumn) return metadata.duration;
    if (role != Qt::DisplayRole) return {};
    switch (column) {
    case NameColumn: return names_.shown(metadata.url, metadata.baseName);
    case ChannelsColumn: return metadata.channelCount;
    case SampleRateColumn: return sampleRateText(metadata.sampleRate);
    case DurationColumn: return clockText(metadata.duration);
    default: return {};
    }
}

QVariant BatchPolyModel::channelData(const Line& line, int column, int role) const {
    const bool isHeard = line.poly == heard_ && viewModel_.selectedBatchChannelForPlayback.value() == line.channel;
    if (column == ProofColumn || column == ResultColumn) return {};
    if (role == Qt::ToolTipRole) return QStringLiteral("Click to preview this channel");
    if (column == PreviewColumn && isHeard)
        return badgeCell({QStringLiteral("speaker"), QStringLiteral("T%1").arg(line.channel + 1), Color::cyan}, role);
    if (column != NameColumn) return {};
    const QString text = QStringLiteral("%1: %2").arg(line.channel + 1).arg(trackName(line));
    if (role == Qt::DisplayRole) return QString(6, u' ') + text; // set in from the poly's name
    if (role == Qt::AccessibleTextRole) return text;
    return {};
}

QVariant BatchPolyModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole) {
        const bool isNumber = section >= ChannelsColumn && section <= DurationColumn;
        return QVariant((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    }
    if (role == Qt::AccessibleTextRole && section == ExpanderColumn) return QStringLiteral("Channels shown");
    if (role != Qt::DisplayRole) return {};
    switch (section) {
    case StatusColumn: return QStringLiteral("Status");
    case NameColumn: return QStringLiteral("Poly");
    case ChannelsColumn: return QStringLiteral("Channels");
    case SampleRateColumn: return QStringLiteral("Sample Rate");
    case DurationColumn: return QStringLiteral("Duration");
    case PreviewColumn: return QStringLiteral("Preview");
    case ResultColumn: return QStringLiteral("Result");
    case ProofColumn: return QStringLiteral("Proof");
    default: return {};
    }
}

} // namespace ostrel
