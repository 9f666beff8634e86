#include "cli/custody_run.h"

#include "custody/custody_words.h"

namespace ostrel::cli {

void ByteProgress::show(const CustodyProgress& progress) {
    if (progress.bytesTotal == 0) return;
    const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin_).count();
    const double fraction = static_cast<double>(progress.bytesDone) / static_cast<double>(progress.bytesTotal);
    terminal_.progress(fraction, progressText(progress, seconds) + QStringLiteral("  ") + progress.file);
}

void addJobsOption(CLI::App& command, int& jobs) {
    command.add_option("--jobs", jobs, "How many files are read side by side; 0: two, more for slow digests")
        ->check(CLI::Range(0, 64))
        ->capture_default_str();
}

} // namespace ostrel::cli
