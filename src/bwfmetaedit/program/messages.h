// Errors on their way to standard error, and whether there were any.
#pragma once

#include <ostream>
#include <string>
#include <string_view>

namespace ostrel::bwfmetaedit {

class Messages {
public:
    explicit Messages(std::ostream& stream) : stream_(stream) {}

    // "<local time> <path>: <text>", and an empty line.
    void fileError(std::string_view path, std::string_view text);
    // "<local time> <text>": about a document that is read or written.
    void documentError(std::string_view text);
    // Without the time: about the command line.
    void plainError(std::string_view text);

    int exitStatus() const { return failed_ ? 1 : 0; }

private:
    std::ostream& stream_;
    bool failed_ = false;
};

} // namespace ostrel::bwfmetaedit
