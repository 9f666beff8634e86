// What a command shows: log lines and tables or one JSON document on standard output, progress on standard error.
#pragma once

#include "foundation/logs/processing_log.h"
#include "foundation/records/record_list.h"
#include "platform/text/json_text.h"

#include <QString>

namespace ostrel::cli {

struct TerminalOptions {
    bool json = false;
    bool verbose = false;
};

class Terminal {
public:
    // With JSON, everything but the document goes to standard error. Diagnostic lines of the engines are shown only if
    // verbose.
    explicit Terminal(const TerminalOptions& options);
    ~Terminal();
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    bool isJson() const { return options_.json; }

    void line(const QString& text);
    void error(const QString& text); // "ostrel-cli: {text}" on standard error
    void document(const nlohmann::json& value);

    // One line that replaces itself, on a terminal only. `fraction` is 0 to 1; below 0 the amount of work is not known.
    void progress(double fraction, const QString& text);

    // Prints every entry that is there or comes.
    void follow(RecordList<ProcessingLogEntry>& log);

private:
    void clearProgress();

    TerminalOptions options_;
    bool showsProgress_ = false;
    QString progressLine_;
};

} // namespace ostrel::cli
