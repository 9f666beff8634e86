// What this process and its children write to one of the standard descriptors.
#pragma once

#include <QByteArray>
#include <QTemporaryFile>

namespace ostrel::testing {

class CapturedOutput {
public:
    // STDOUT_FILENO or STDERR_FILENO goes to a file from now on.
    explicit CapturedOutput(int descriptor);
    ~CapturedOutput();
    CapturedOutput(const CapturedOutput&) = delete;
    CapturedOutput& operator=(const CapturedOutput&) = delete;

    // Puts the descriptor back and gives what was written.
    QByteArray finish();

private:
    QTemporaryFile file_;
    int descriptor_;
    int original_;
};

} // namespace ostrel::testing
