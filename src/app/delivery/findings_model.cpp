#include "app/delivery/findings_model.h"

#include "app/controls/item_roles.h"
#include "platform/paths.h"

namespace ostrel {
namespace {

Badge severityBadge(Severity severity) {
    using Color = ProcessingStatus::Color;
    switch (severity) {
    case Severity::note: return {QStringLiteral("info.circle.fill"), QStringLiteral("Note"), Color::blue};
    case Severity::warning:
        return {QStringLiteral("exclamationmark.triangle"), QStringLiteral("Warning"), Color::orange};
    case Severity::error: break;
    }
    return {QStringLiteral("xmark.circle.fill"), QStringLiteral("Error"), Color::red};
}

QString cellOf(const Finding& finding, int column) {
    switch (column) {
    case FindingsModel::SeverityColumn: return severityBadge(finding.rule->severity).word;
    case FindingsModel::FileColumn: return paths::lastComponent(finding.path);
    case FindingsModel::FieldColumn: return finding.field;
    case FindingsModel::FoundColumn: return finding.found;
    case FindingsModel::ExpectedColumn: return finding.expected;
    case FindingsModel::RuleColumn: return QString::fromUtf8(finding.rule->says);
    default: return QString::fromUtf8(finding.rule->source);
    }
}

} // namespace

void FindingsModel::setFiles(std::vector<CheckedFile> files) {
    beginResetModel();
    files_ = std::move(files);
    rows_.clear();
    for (const CheckedFile& file : files_) {
        for (const Finding& finding : file.findings) rows_.push_back(&finding);
    }
    endResetModel();
}

int FindingsModel::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(rows_.size());
}

int FindingsModel::columnCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(ColumnCount);
}

QVariant FindingsModel::data(const QModelIndex& index, int role) const {
    if (!index.isValid() || index.row() >= rowCount()) return {};
    const Finding& each = finding(index.row());
    const int column = index.column();
    switch (role) {
    case Qt::DisplayRole: return cellOf(each, column);
    case Qt::ToolTipRole:
        return column == FileColumn ? each.path
                                    : QStringLiteral("%1\n%2: %3")
                                          .arg(cellOf(each, column), QString::fromLatin1(each.rule->id),
                                               QString::fromUtf8(each.rule->says));
    case BadgeRole:
        return column == SeverityColumn ? QVariant::fromValue(severityBadge(each.rule->severity)) : QVariant();
    case SortRole: return column == SeverityColumn ? QVariant(-static_cast<int>(each.rule->severity)) : QVariant();
    case ElideMiddleRole: return column == FileColumn;
    default: return {};
    }
}

QVariant FindingsModel::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    static const QStringList titles{QStringLiteral("Severity"),       QStringLiteral("File"),
                                    QStringLiteral("Field"),          QStringLiteral("What Is There"),
                                    QStringLiteral("What Should Be"), QStringLiteral("What Is Wrong"),
                                    QStringLiteral("Source")};
    return titles.value(section);
}

} // namespace ostrel
