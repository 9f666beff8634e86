#include "cli/terminal.h"

#include "platform/diagnostics.h"

#include <cstdio>
#include <sys/ioctl.h>
#include <unistd.h>

namespace ostrel::cli {
namespace {

void write(std::FILE* stream, const QString& text) {
    const QByteArray bytes = text.toUtf8();
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
}

int terminalWidth() {
    winsize size{};
    return ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 ? size.ws_col : 80;
}

} // namespace

Terminal::Terminal(const TerminalOptions& options) : options_(options), showsProgress_(::isatty(STDERR_FILENO) == 1) {
    setDiagnosticStream(!options.verbose ? DiagnosticStream::nowhere
                        : options.json   ? DiagnosticStream::standardError
                                         : DiagnosticStream::standardOutput);
}

Terminal::~Terminal() { clearProgress(); }

void Terminal::line(const QString& text) {
    clearProgress();
    write(options_.json ? stderr : stdout, text + QLatin1Char('\n'));
}

void Terminal::error(const QString& text) {
    clearProgress();
    write(stderr, QStringLiteral("ostrel-cli: %1\n").arg(text));
}

void Terminal::document(const nlohmann::json& value) {
    clearProgress();
    const std::string text = value.dump(2, ' ', false, nlohmann::json::error_handler_t::replace);
    write(stdout, QString::fromStdString(text) + QLatin1Char('\n'));
}

void Terminal::progress(double fraction, const QString& text) {
    if (!showsProgress_) return;
    const QString percent = fraction < 0 ? QString() : QStringLiteral("%1% ").arg(static_cast<int>(fraction * 100), 3);
    const QString next = (percent + text).left(terminalWidth() - 1);
    if (next == progressLine_) return;
    progressLine_ = next;
    write(stderr, QStringLiteral("\r\x1b[K") + next);
}

void Terminal::follow(RecordList<ProcessingLogEntry>& log) {
    const auto print = [this, &log](int first, int last) {
        for (int row = first; row <= last; ++row) line(log[static_cast<std::size_t>(row)].formattedEntry());
    };
    print(0, static_cast<int>(log.size()) - 1);
    QObject::connect(&log, &RecordListSignals::rowsAppended, &log, print);
}

void Terminal::clearProgress() {
    if (progressLine_.isEmpty()) return;
    write(stderr, QStringLiteral("\r\x1b[K"));
    progressLine_.clear();
}

} // namespace ostrel::cli
