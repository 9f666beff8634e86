// What a run shows: CORE as CSV or XML, iXML, each in a file or on the standard output.
#pragma once

#include "bwfmetaedit/bytes/file_bytes.h"
#include "bwfmetaedit/metadata/metadata.h"
#include "bwfmetaedit/program/arguments.h"
#include "bwfmetaedit/program/messages.h"
#include "bwfmetaedit/program/targets.h"

#include <ostream>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

class Outputs {
public:
    // All borrowed.
    Outputs(const Arguments& arguments, std::ostream& out, Messages& messages)
        : arguments_(arguments), out_(out), messages_(messages) {}

    // Whether the outputs asked for can be made from these files: not two on the standard output, no iXML of several
    // files, no output over a recording. Says what is wrong.
    bool areAcceptable(const Targets& targets);

    // Creates the CSV file, empty. False, and says so, if that fails.
    bool open();

    // What is to be shown of one file, in the order of the files.
    void add(const std::string& path, const Metadata& metadata, bool failed);
    // A file that failed after it was added.
    void markFailed(const std::string& path);

    // Makes all outputs. Those in files, and XML, end before the first file that failed.
    void finish();

private:
    struct Entry {
        std::string path;
        std::string csvRow, xmlFile, ixml;
        bool failed;
    };

    void finishCsv();
    void finishXml();
    void finishIxml();
    void writeFile(const std::string& path, const std::string& contents, const std::string& option,
                   const std::string& cannotCreate);

    const Arguments& arguments_;
    std::ostream& out_;
    Messages& messages_;
    FileDescriptor csvFile_;
    std::vector<Entry> entries_;
};

} // namespace ostrel::bwfmetaedit
