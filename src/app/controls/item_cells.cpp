#include "app/controls/item_cells.h"

namespace ostrel {
namespace {

Badge badgeOf(ProofFinding finding) {
    using Color = ProcessingStatus::Color;
    switch (finding) {
    case ProofFinding::identical: return {QStringLiteral("checkmark.seal.fill"), reportName(finding), Color::green};
    case ProofFinding::unproven: return {QStringLiteral("exclamationmark.circle"), reportName(finding), Color::orange};
    case ProofFinding::differs: break;
    }
    return {QStringLiteral("xmark.circle.fill"), reportName(finding), Color::red};
}

// Two badges say "Completed": which of them it is.
QString statusHelp(const ProcessingStatus& status) {
    using Kind = ProcessingStatus::Kind;
    if (status.kind == Kind::completed) {
        return status.displayText() + QStringLiteral("\nThe output stands. Only L/R merges are certified");
    }
    if (status.kind == Kind::completedCarbonCopyCertified) {
        return status.displayText() + QStringLiteral("\nCertified: channels, duration and BEXT identity were compared");
    }
    return status.displayText();
}

} // namespace

QVariant statusCell(const ProcessingStatus& status, int role) {
    switch (role) {
    case BadgeRole: return QVariant::fromValue(Badge{status.icon(), status.shortDisplayText(), status.statusColor()});
    case Qt::DisplayRole: return status.shortDisplayText();
    case Qt::ToolTipRole: return statusHelp(status);
    case Qt::AccessibleTextRole: return status.displayText();
    default: return {};
    }
}

QVariant statusCell(const ProcessingStatus& status, const QString& foreseen, int role) {
    if (foreseen.isEmpty() || !status.isProcessable()) return statusCell(status, role);
    const QString word = QStringLiteral("Will be refused");
    switch (role) {
    case BadgeRole:
        return QVariant::fromValue(
            Badge{QStringLiteral("exclamationmark.triangle"), word, ProcessingStatus::Color::orange});
    case Qt::DisplayRole: return word;
    case Qt::ToolTipRole: return foreseen;
    case Qt::AccessibleTextRole: return QStringLiteral("%1: %2").arg(word, foreseen);
    default: return {};
    }
}

QVariant proofCell(const std::optional<ItemOutcome>& outcome, int role) {
    if (!outcome || !outcome->proof) return {};
    const ProofRecord& proof = *outcome->proof;
    switch (role) {
    case BadgeRole: return QVariant::fromValue(badgeOf(proof.audio()));
    case ProvenRole: return QVariant::fromValue(*outcome);
    case Qt::DisplayRole: return reportName(proof.audio());
    case Qt::AccessibleTextRole: return proof.sentence();
    case Qt::ToolTipRole:
        return QStringLiteral("%1\nClick to see every channel and its hash")
            .arg((QStringList(proof.sentence()) + proof.reasons()).join(u'\n'));
    default: return {};
    }
}

QString sampleRateText(std::optional<int> hertz) {
    if (!hertz || *hertz <= 0) return QStringLiteral("--");
    return QStringLiteral("%1 kHz").arg(*hertz / 1000.0);
}

QString bitDepthText(std::optional<int> bits) {
    return bits && *bits > 0 ? QStringLiteral("%1-bit").arg(*bits) : QStringLiteral("--");
}

QString nameBelow(const QString& relativePath, const QString& name) {
    const QString folder = relativePath.startsWith(u'/') ? relativePath.mid(1) : relativePath;
    return folder.isEmpty() ? name : folder + u'/' + name;
}

QVariant itemHeading(int column, int role, const QString& name, const QString& result) {
    if (role == Qt::TextAlignmentRole) return itemAlignment(column);
    if (role == Qt::AccessibleTextRole && column == IncludeColumn) return QStringLiteral("Include");
    if (role == Qt::ToolTipRole && column == IncludeColumn) return QStringLiteral("Include in the run");
    if (role != Qt::DisplayRole) return {};
    switch (column) {
    case StatusColumn: return QStringLiteral("Status");
    case TypeColumn: return QStringLiteral("Type");
    case FormatColumn: return QStringLiteral("Format");
    case SampleRateColumn: return QStringLiteral("Sample Rate");
    case BitDepthColumn: return QStringLiteral("Bit Depth");
    case NameColumn: return name;
    case ChannelsColumn: return QStringLiteral("Channels");
    case DurationColumn: return QStringLiteral("Duration");
    case ResultColumn: return result;
    case ProofColumn: return QStringLiteral("Proof");
    default: return {};
    }
}

QVariant itemAlignment(int column) {
    const bool isNumber = column == SampleRateColumn || column == BitDepthColumn || column == DurationColumn;
    return QVariant((isNumber ? Qt::AlignRight : Qt::AlignLeft) | Qt::AlignVCenter);
}

} // namespace ostrel
