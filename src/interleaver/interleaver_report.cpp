#include "interleaver/interleaver_report.h"

#include "platform/paths.h"

namespace ostrel {
namespace {

QStringList columns(const char16_t* text) { return QString::fromUtf16(text).split(u'|'); }

const QString kNotKnown = QStringLiteral("N/A");

QString formatWord(std::optional<ContainerKind> kind) { return kind ? reportName(*kind) : kNotKnown; }

QString tierWord(std::optional<MetadataTier> tier) { return reportName(tier.value_or(MetadataTier::none)); }

QString number(std::optional<int> value) { return value ? QString::number(*value) : kNotKnown; }

// As it happened; nothing has happened to the sources of an item that no run took.
QString originalsWord(const std::optional<ItemOutcome>& outcome) {
    return outcome ? outcome->sourcesText() : reportName(SourceFate::Kind::kept);
}

QString metadataWord(const std::optional<ItemOutcome>& outcome) {
    return outcome ? outcome->metadata.word() : QString();
}

template <class Records>
void addProofs(const Records& records, ReportTable& table) {
    table.headers << QStringLiteral("Proof");
    for (qsizetype row = 0; row < table.rows.size(); ++row) {
        const auto& outcome = records[static_cast<std::size_t>(row)].outcome;
        table.rows[row] << (outcome ? outcome->proofText() : QString());
    }
}

QStringList outputNames(const std::optional<ItemOutcome>& outcome) {
    QStringList names;
    for (const QString& output : outcome ? outcome->outputs : QStringList()) names << paths::lastComponent(output);
    return names;
}

} // namespace

ReportTable interleaveTable(const std::vector<InterleaveGroup>& groups, const ChannelLayout& layout, bool proves) {
    ReportTable table;
    table.headers = columns(u"Group|Channels|Source Files|Output File|Layout|Format|Metadata Tier|Sample Rate|"
                            u"Bit Depth|Duration|Originals|Status|Metadata");
    for (const InterleaveGroup& group : groups) {
        QStringList tags = group.channelFiles.keys();
        tags.sort();
        table.rows << QStringList{group.baseName,
                                  QStringLiteral("%1ch").arg(group.channelFiles.size()),
                                  tags.join(u'+'),
                                  outputNames(group.outcome).value(0, kNotKnown),
                                  layout.displayName,
                                  formatWord(group.containerKind),
                                  tierWord(group.metadataTier),
                                  number(group.sampleRate),
                                  number(group.bitDepth),
                                  group.duration ? CSVReportGenerator::formatDuration(*group.duration) : kNotKnown,
                                  originalsWord(group.outcome),
                                  CSVReportGenerator::statusString(group.status),
                                  metadataWord(group.outcome)};
    }
    if (proves) addProofs(groups, table);
    return table;
}

ReportTable deinterleaveTable(const std::vector<MultiChannelSource>& sources, bool proves) {
    ReportTable table;
    table.headers = columns(u"Source File|Source Path|Channels|Layout|Format|Metadata Tier|Sample Rate|Bit Depth|"
                            u"Duration|ISOs Created|Originals|Status|Metadata");
    for (const MultiChannelSource& source : sources) {
        table.rows << QStringList{paths::lastComponent(source.sourceURL),
                                  source.sourceURL,
                                  QString::number(source.channels),
                                  source.layout.displayName,
                                  formatWord(source.containerKind),
                                  tierWord(source.metadataTier),
                                  QString::number(source.sampleRate),
                                  QString::number(source.bitDepth),
                                  CSVReportGenerator::formatDuration(source.duration),
                                  outputNames(source.outcome).join(QStringLiteral(" | ")),
                                  originalsWord(source.outcome),
                                  CSVReportGenerator::statusString(source.status),
                                  metadataWord(source.outcome)};
    }
    if (proves) addProofs(sources, table);
    return table;
}

QString InterleaverReport::write(const ReportTable& table, const QString& folder) const {
    const QString source = sourcePath.isEmpty() ? kNotKnown : sourcePath;
    const QString beside = sourcePath.isEmpty() ? kNotKnown : QStringLiteral("Same as source");
    const CSVReportGenerator::Pairs metadata{{QStringLiteral("Operation"), rawText(mode)},
                                             {QStringLiteral("Source"), source},
                                             {QStringLiteral("Output"), customFolder.isEmpty() ? beside : customFolder},
                                             {QStringLiteral("Layout"), layout.displayName},
                                             {QStringLiteral("Output Format"), displayName(options.outputFormatPolicy)},
                                             {QStringLiteral("Total Groups"), QString::number(total)}};
    const CSVReportGenerator::Pairs summary{{QStringLiteral("Total"), QString::number(total)},
                                            {QStringLiteral("Success"), QString::number(successes)},
                                            {QStringLiteral("Skipped"), QString::number(skipped)},
                                            {QStringLiteral("Errors"), QString::number(errors)}};
    const QString operation =
        mode == AppMode::interleave ? QStringLiteral("Interleave") : QStringLiteral("Deinterleave");
    return CSVReportGenerator::generate(operation, metadata, table.headers, table.rows, summary, folder);
}

} // namespace ostrel
