#include "custody/custody_words.h"

#include "platform/text/text.h"

#include <array>

namespace ostrel {

QString bytesText(quint64 bytes) {
    if (bytes < 1000) return QStringLiteral("%1 bytes").arg(bytes);
    const char* const units[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
    auto value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; value >= 999.95 && unit + 1 < std::size(units); ++unit) value /= 1000;
    return fixed(value, 1) + u' ' + QString::fromLatin1(units[unit]);
}

QString progressText(const CustodyProgress& progress, double seconds) {
    const QString text = QStringLiteral("%1 of %2").arg(bytesText(progress.bytesDone), bytesText(progress.bytesTotal));
    // The first moments say little.
    if (seconds <= 1 || progress.bytesDone == 0) return text;
    const double fraction = static_cast<double>(progress.bytesDone) / static_cast<double>(progress.bytesTotal);
    return text + QStringLiteral(", %1 left").arg(clockText(seconds / fraction * (1 - fraction)));
}

QStringList linesOf(const SealResult& result) {
    QStringList lines = result.remarks;
    for (const SealedFile& file : result.files) {
        if (file.state == SealedState::original || file.state == SealedState::verified) continue;
        const QString from =
            file.previousPath.isEmpty() ? QString() : QStringLiteral(" (was %1)").arg(file.previousPath);
        lines << QStringLiteral("%1: %2%3").arg(rawText(file.state), file.path, from);
    }
    QStringList counts;
    for (const SealedState state : {SealedState::original, SealedState::verified, SealedState::renamed,
                                    SealedState::failed, SealedState::missing}) {
        if (result.count(state) > 0) counts << QStringLiteral("%1 %2").arg(result.count(state)).arg(rawText(state));
    }
    lines << QStringLiteral("Generation %1: %2")
                 .arg(result.generation)
                 .arg(counts.isEmpty() ? QStringLiteral("no files") : counts.join(QStringLiteral(", ")));
    return lines + result.lists;
}

QStringList linesOf(const VerifyResult& result) {
    QStringList lines = result.remarks;
    for (const FileVerdict& verdict : result.files) {
        if (verdict.state == FileState::verified && verdict.detail.isEmpty()) continue;
        const QString detail = verdict.detail.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(verdict.detail);
        lines << QStringLiteral("%1: %2%3").arg(rawText(verdict.state), verdict.path, detail);
    }
    lines << result.faults;
    QStringList counts;
    for (const FileState state :
         {FileState::verified, FileState::changed, FileState::missing, FileState::isNew, FileState::unreadable}) {
        if (result.count(state) > 0) counts << QStringLiteral("%1 %2").arg(result.count(state)).arg(rawText(state));
    }
    if (!result.faults.isEmpty()) counts << QStringLiteral("lists damaged or incomplete");
    const QString told = counts.isEmpty() ? QStringLiteral("no files") : counts.join(QStringLiteral(", "));
    return lines << QStringLiteral("%1: %2").arg(result.folder, told);
}

} // namespace ostrel
