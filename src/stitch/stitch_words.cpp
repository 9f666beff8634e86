#include "platform/paths.h"
#include "platform/text/text.h"
#include "stitch/stitch_file.h"

#include <QLocale>
#include <cstdlib>

namespace ostrel {
namespace {

QString numberText(quint64 number) { return QLocale(QLocale::English, QLocale::UnitedStates).toString(number); }

QString namesOf(const StitchItem& item) {
    QStringList names;
    for (const QString& source : item.sources) names << paths::lastComponent(source);
    return names.join(QStringLiteral(" + "));
}

QString headline(const StitchItem& item, bool isDryRun) {
    switch (item.status) {
    case StitchStatus::single:
        return item.reason.isEmpty() ? QStringLiteral("%1: one file").arg(item.sources.front())
                                     : QStringLiteral("%1: no part, %2").arg(item.sources.front(), item.reason);
    case StitchStatus::stitched: break;
    case StitchStatus::skipped: return QStringLiteral("%1: skipped, %2").arg(namesOf(item), item.reason);
    case StitchStatus::refused: return QStringLiteral("%1: refused, %2").arg(namesOf(item), item.reason);
    }
    return (isDryRun ? QStringLiteral("%1: would be stitched to %2, %3 parts, %4, %5 frames")
                     : QStringLiteral("%1: stitched to %2, %3 parts, %4, %5 frames"))
        .arg(namesOf(item), item.output)
        .arg(item.sources.size())
        .arg(item.isExact ? QStringLiteral("sample-exact") : QStringLiteral("not exact"), numberText(item.frames));
}

} // namespace

QString rawText(StitchStatus status) {
    switch (status) {
    case StitchStatus::single: return QStringLiteral("single");
    case StitchStatus::stitched: return QStringLiteral("stitched");
    case StitchStatus::skipped: return QStringLiteral("skipped");
    case StitchStatus::refused: return QStringLiteral("refused");
    }
    return {};
}

QStringList linesOf(const StitchItem& item, bool isDryRun) {
    QStringList lines{headline(item, isDryRun)};
    for (const QString& finding : item.findings) lines << QStringLiteral("  ") + finding;
    for (const QString& warning : item.warnings) lines << QStringLiteral("  ") + warning;
    if (item.proof) lines << QStringLiteral("  ") + item.proof->sentence();
    return lines;
}

QString seamText(Seam seam) {
    const QString count = numberText(static_cast<quint64>(std::abs(seam)));
    if (seam < 0) return QStringLiteral("overlap of %1").arg(count);
    return QStringLiteral("gap of %1 %2").arg(count, seam == 1 ? QStringLiteral("sample") : QStringLiteral("samples"));
}

QString partsText(std::size_t tracks, std::size_t parts) {
    const QString each = tracks == 1 ? QString() : QStringLiteral(" each");
    return QStringLiteral("%1 %2, %3 %4%5")
        .arg(tracks)
        .arg(plural("track", static_cast<int>(tracks)))
        .arg(parts)
        .arg(plural("part", static_cast<int>(parts)), each);
}

} // namespace ostrel
