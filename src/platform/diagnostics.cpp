#include "platform/diagnostics.h"

#include <atomic>
#include <unistd.h>

namespace ostrel {
namespace {

// Set once by main() before any engine runs; a process has one standard output.
std::atomic<DiagnosticStream> stream{DiagnosticStream::standardOutput};

} // namespace

void printDiagnostic(const QString& line) {
    if (stream == DiagnosticStream::nowhere) return;
    const QByteArray bytes = line.toUtf8() + '\n';
    const int descriptor = stream == DiagnosticStream::standardOutput ? STDOUT_FILENO : STDERR_FILENO;
    if (::write(descriptor, bytes.constData(), static_cast<size_t>(bytes.size())) < 0)
        return; // a closed pipe: nobody reads
}

void setDiagnosticStream(DiagnosticStream target) { stream = target; }

} // namespace ostrel
