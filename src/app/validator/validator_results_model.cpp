#include "app/validator/validator_results_model.h"

#include "app/controls/item_cells.h"
#include "app/validator/classification_badge.h"
#include "platform/paths.h"
#include "platform/text/text.h"

#include <algorithm>

namespace ostrel {
namespace {

bool isNumber(int column) {
    return column != ValidatorResultsModel::FileColumn && column != ValidatorResultsModel::CodecColumn &&
           column != ValidatorResultsModel::ClassificationColumn && column != ValidatorResultsModel::ProofColumn &&
           column != ValidatorResultsModel::TrustColumn && column != ValidatorResultsModel::WhyColumn;
}

// Without the sign of a number that rounds to nothing.
QString signedText(double value, int digits) {
    const QString text = fixed(value, digits);
    return text == u'-' + fixed(0, digits) ? text.mid(1) : text;
}

QString textOf(const StereoValidatorResult& result, const QString& name, int column) {
    switch (column) {
    case ValidatorResultsModel::FileColumn: return name;
    case ValidatorResultsModel::CodecColumn: return paths::extension(name).toUpper();
    case ValidatorResultsModel::ClassificationColumn: return result.smartDisplayName();
    case ValidatorResultsModel::CorrelationColumn: return signedText(result.correlation, 3);
    case ValidatorResultsModel::ConfidenceColumn: return fixed(result.confidence, 1) + u'%';
    case ValidatorResultsModel::LagColumn: return signedText(result.lagMs, 2) + QStringLiteral(" ms");
    case ValidatorResultsModel::MidSideColumn: return result.formattedMidSideRatio();
    case ValidatorResultsModel::DurationColumn: return result.formattedDuration();
    case ValidatorResultsModel::TrustColumn: return result.trustText();
    case ValidatorResultsModel::WhyColumn: return result.why.join(QStringLiteral("; "));
    default: return QString();
    }
}

} // namespace

ValidatorResultsModel::ValidatorResultsModel(const RecordList<StereoValidatorResult>& results, QObject* parent)
    : QAbstractTableModel(parent), results_(results) {
    connect(&results, &RecordListSignals::reset, this, [this] {
        filter_.reset();
        rebuild();
    });
    connect(&results, &RecordListSignals::rowsAppended, this, &ValidatorResultsModel::rebuild);
    // An outcome: the file and its class stay.
    connect(&results, &RecordListSignals::rowChanged, this, [this](int changed) {
        const auto at = std::ranges::lower_bound(visible_, static_cast<std::size_t>(changed));
        if (at == visible_.end() || *at != static_cast<std::size_t>(changed)) return;
        const int row = static_cast<int>(at - visible_.begin());
        Q_EMIT dataChanged(index(row, 0), index(row, ColumnCount - 1));
    });
    rebuild();
}

int ValidatorResultsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(visible_.size());
}

int ValidatorResultsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

const StereoValidatorResult& ValidatorResultsModel::record(int row) const {
    return results_[visible_[static_cast<std::size_t>(row)]];
}

QVariant ValidatorResultsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const std::size_t row = visible_[static_cast<std::size_t>(index.row())];
    const StereoValidatorResult& result = results_[row];
    if (index.column() == ProofColumn && role != Qt::TextAlignmentRole) return proofCell(result.outcome, role);
    switch (role) {
    case Qt::DisplayRole:
        if (index.column() == FileColumn) return repeated_.shown(result.filepath, names_[row]);
        return textOf(result, names_[row], index.column());
    case Qt::TextAlignmentRole:
        return QVariant((isNumber(index.column()) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    case Qt::ToolTipRole:
        if (index.column() == FileColumn) return result.filepath;
        if (index.column() == TrustColumn || index.column() == WhyColumn) return result.why.join(QLatin1Char('\n'));
        if (index.column() != ClassificationColumn) return {};
        return result.error.isEmpty() ? result.smartDisplayName() : result.error;
    case SortRole: return sortValue(result, index.column());
    case ElideMiddleRole: return index.column() == FileColumn;
    case BadgeRole: {
        if (index.column() == TrustColumn)
            return result.trust ? QVariant::fromValue(badgeOf(*result.trust)) : QVariant();
        Badge badge = badgeOf(result.classification);
        badge.word = result.smartDisplayName();
        return QVariant::fromValue(badge);
    }
    case ChannelChipsRole: {
        const QString codec = textOf(result, names_[row], CodecColumn);
        return QVariant::fromValue(ChannelChips{{codec}, {codec}, false});
    }
    default: return {};
    }
}

QVariant ValidatorResultsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal) return {};
    if (role == Qt::TextAlignmentRole)
        return QVariant((isNumber(section) ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
    if (role != Qt::DisplayRole) return {};
    static const QStringList titles{
        QStringLiteral("File"),        QStringLiteral("Format"),     QStringLiteral("Classification"),
        QStringLiteral("Correlation"), QStringLiteral("Confidence"), QStringLiteral("Lag"),
        QStringLiteral("Mid/Side"),    QStringLiteral("Duration"),   QStringLiteral("Trust"),
        QStringLiteral("Why"),         QStringLiteral("Proof")};
    return titles.value(section);
}

void ValidatorResultsModel::setSelectedClassification(std::optional<StereoClassification> classification) {
    if (classification == filter_) return;
    filter_ = classification;
    rebuild();
}

std::vector<int> ValidatorResultsModel::classCounts() const {
    std::vector<int> counts(kAllStereoClassifications.size(), 0);
    for (const StereoValidatorResult& result : results_) ++counts[static_cast<std::size_t>(result.classification)];
    return counts;
}

void ValidatorResultsModel::rebuild() {
    beginResetModel();
    names_.clear();
    repeated_.clear();
    visible_.clear();
    names_.reserve(results_.size());
    for (std::size_t row = 0; row < results_.size(); ++row) {
        const QString& path = results_[row].filepath;
        names_.push_back(paths::lastComponent(path));
        repeated_.add(path, names_.back(), static_cast<int>(row));
        if (!filter_ || results_[row].classification == *filter_) visible_.push_back(row);
    }
    endResetModel();
}

QVariant ValidatorResultsModel::sortValue(const StereoValidatorResult& result, int column) {
    switch (column) {
    case ClassificationColumn: return rawText(result.classification);
    case CorrelationColumn: return result.correlation;
    case ConfidenceColumn: return result.confidence;
    case LagColumn: return result.lagMs;
    case MidSideColumn: return result.midSideRatio;
    case DurationColumn: return result.durationSeconds;
    default: return {};
    }
}

} // namespace ostrel
