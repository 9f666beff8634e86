#include "cli/custody_run.h"

#include "platform/text/text.h"

namespace ostrel::cli {

QString bytesText(quint64 bytes) {
    if (bytes < 1000) return QStringLiteral("%1 bytes").arg(bytes);
    const char* const units[] = {"kB", "MB", "GB", "TB", "PB", "EB"};
    auto value = static_cast<double>(bytes) / 1000;
    std::size_t unit = 0;
    for (; value >= 999.95 && unit + 1 < std::size(units); ++unit) value /= 1000;
    return fixed(value, 1) + u' ' + QString::fromLatin1(units[unit]);
}

void ByteProgress::show(const CustodyProgress& progress) {
    if (progress.bytesTotal == 0) return;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
    const double fraction = static_cast<double>(progress.bytesDone) / static_cast<double>(progress.bytesTotal);
    QString text = QStringLiteral("%1 of %2").arg(bytesText(progress.bytesDone), bytesText(progress.bytesTotal));
    // The first moments say little.
    if (seconds > 1 && fraction > 0) {
        text += QStringLiteral(", %1 left").arg(clockText(seconds / fraction * (1 - fraction)));
    }
    terminal_.progress(fraction, text + QStringLiteral("  ") + progress.file);
}

void addJobsOption(CLI::App& command, int& jobs) {
    command.add_option("--jobs", jobs, "How many files are read side by side; 0: two, more for slow digests")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
}

} // namespace ostrel::cli
