// Diagnostic lines of the engines. They go to standard output and nothing depends on them.
#pragma once

#include <QString>

namespace ostrel {

// One line with its line break, in one write. From any thread.
void printDiagnostic(const QString& line);

// Where diagnostic lines go from now on: a program whose standard output carries a document sends them elsewhere.
enum class DiagnosticStream { standardOutput, standardError, nowhere };
void setDiagnosticStream(DiagnosticStream stream);

} // namespace ostrel
