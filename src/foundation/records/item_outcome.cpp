#include "foundation/records/item_outcome.h"

#include <algorithm>
#include <array>

namespace ostrel {
namespace {

struct FateWords {
    const char* caseName;
    const char* report;
};

// In the order of SourceFate::Kind.
constexpr std::array<FateWords, 4> kFateWords{
    {{"kept", "Kept"}, {"moved", "Moved"}, {"deleted", "Deleted"}, {"replaced", "Replaced"}}};
constexpr std::array kTold{SourceFate::Kind::moved, SourceFate::Kind::deleted, SourceFate::Kind::replaced,
                           SourceFate::Kind::kept};

const FateWords& words(SourceFate::Kind kind) { return kFateWords[static_cast<std::size_t>(kind)]; }

} // namespace

QString caseName(SourceFate::Kind kind) { return QString::fromLatin1(words(kind).caseName); }
QString reportName(SourceFate::Kind kind) { return QString::fromLatin1(words(kind).report); }

QString ItemOutcome::sourcesText() const {
    if (sources.empty()) return reportName(SourceFate::Kind::kept);
    QStringList parts;
    for (const SourceFate::Kind kind : kTold) {
        const auto count = std::count_if(sources.begin(), sources.end(),
                                         [kind](const SourceFate& source) { return source.kind == kind; });
        if (count == static_cast<std::ptrdiff_t>(sources.size())) return reportName(kind);
        if (count > 0) parts << QStringLiteral("%1 %2").arg(reportName(kind)).arg(count);
    }
    return parts.join(QStringLiteral(", "));
}

std::vector<SourceFate> ItemOutcome::allKept(const QStringList& sources) {
    std::vector<SourceFate> fates;
    for (const QString& source : sources) fates.push_back({source, SourceFate::Kind::kept, QString()});
    return fates;
}

ItemOutcome ItemOutcome::failure(const QString& reason, const QStringList& sources) {
    return {ProcessingStatus::failed(reason), {}, {}, reason, allKept(sources)};
}

} // namespace ostrel
