#include "bwfmetaedit/program/outputs.h"

#include "bwfmetaedit/documents/core_csv.h"
#include "bwfmetaedit/documents/core_xml.h"

#include <algorithm>
#include <fcntl.h>
#include <unistd.h>

namespace ostrel::bwfmetaedit {

namespace {

constexpr const char* kStandardOutput = "-";
constexpr const char* kCsvOption = "--out-Core-CSV=file: ";
constexpr const char* kXmlOption = "--out-Core-XML=file: ";
constexpr const char* kIxmlOption = "--out-iXML=: ";
constexpr const char* kCannotCreate = "error during file creation";
constexpr const char* kCannotWrite = "error during file writing";

FileDescriptor createFile(const std::string& path) {
    constexpr mode_t kEverybody = 0666; // less the umask
    return FileDescriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, kEverybody));
}

} // namespace

bool Outputs::areAcceptable(const Targets& targets) {
    struct Asked {
        const std::string& path;
        const char* option;
        const char* shownOption;
    };
    const Asked asked[] = {{arguments_.outCoreCsv, "--out-core=-", kCsvOption},
                           {arguments_.outCoreXml, "--out-core-xml=-", kXmlOption},
                           {arguments_.outIxml, "--out-iXML=-", kIxmlOption}};
    const auto isShown = [](const Asked& output) { return output.path == kStandardOutput; };
    if (std::count_if(std::begin(asked), std::end(asked), isShown) > 1) {
        const Asked* first = std::find_if(std::begin(asked), std::end(asked), isShown);
        messages_.plainError("Cannot combine " + std::string(first->option) + " with others display output");
        return false;
    }
    if (!arguments_.outIxml.empty() && targets.size() > 1) {
        messages_.plainError("Only one input file is allowed for the output(s): --out-ixml=");
        return false;
    }
    for (const Asked& output : asked) {
        if (output.path.empty() || isShown(output)) continue;
        for (const auto& [path, target] : targets) {
            if (!isSameFile(output.path, path)) continue;
            messages_.documentError(output.shownOption + output.path + " is one of the input files");
            return false;
        }
    }
    return true;
}

bool Outputs::open() {
    if (arguments_.outCoreCsv.empty() || arguments_.outCoreCsv == kStandardOutput) return true;
    csvFile_ = createFile(arguments_.outCoreCsv);
    if (!csvFile_.isOpen()) messages_.documentError(std::string(kCsvOption) + kCannotCreate);
    return csvFile_.isOpen();
}

void Outputs::add(const std::string& path, const Metadata& metadata, bool failed) {
    Entry entry{path, {}, {}, {}, failed};
    if (!arguments_.outCoreCsv.empty()) entry.csvRow = coreCsvRow(path, metadata);
    if (!arguments_.outCoreXml.empty() && !failed) entry.xmlFile = coreXmlFile(path, metadata);
    if (!arguments_.outIxml.empty()) entry.ixml = metadata.ixmlText();
    entries_.push_back(std::move(entry));
}

void Outputs::markFailed(const std::string& path) {
    for (Entry& entry : entries_) entry.failed = entry.failed || entry.path == path;
}

void Outputs::finish() {
    if (!arguments_.outCoreCsv.empty()) finishCsv();
    if (!arguments_.outCoreXml.empty()) finishXml();
    if (!arguments_.outIxml.empty()) finishIxml();
    out_.flush();
}

void Outputs::finishCsv() {
    if (arguments_.outCoreCsv == kStandardOutput) {
        out_ << coreCsvHeader();
        const char* between = "";
        for (const Entry& entry : entries_) {
            out_ << between << withoutEmptyEnd(entry.csvRow);
            between = "\n";
        }
        return;
    }
    if (!csvFile_.isOpen()) return;
    std::string document = coreCsvHeader();
    for (const Entry& entry : entries_) {
        if (entry.failed) break;
        document += entry.csvRow;
    }
    if (!writeAll(csvFile_.get(), document, 0)) messages_.documentError(std::string(kCsvOption) + kCannotWrite);
}

void Outputs::finishXml() {
    std::string files;
    for (const Entry& entry : entries_) {
        if (entry.failed) break;
        files += entry.xmlFile;
    }
    const std::string document = coreXmlDocument(files);
    if (arguments_.outCoreXml == kStandardOutput) {
        out_ << document;
    } else {
        writeFile(arguments_.outCoreXml, document, kXmlOption, kCannotWrite);
    }
}

void Outputs::finishIxml() {
    const std::string text = entries_.empty() ? std::string() : entries_.front().ixml;
    if (arguments_.outIxml == kStandardOutput) {
        out_ << text << '\n';
        return;
    }
    // Nothing to write leaves an old file as it is.
    if (text.empty() || entries_.front().failed) return;
    if (isUtf8(text)) {
        writeFile(arguments_.outIxml, text, kIxmlOption, kCannotCreate);
    } else {
        writeFile(arguments_.outIxml, {}, kIxmlOption, kCannotCreate);
        messages_.documentError(std::string(kIxmlOption) + kCannotWrite);
    }
}

void Outputs::writeFile(const std::string& path, const std::string& contents, const std::string& option,
                        const std::string& cannotCreate) {
    const FileDescriptor file = createFile(path);
    if (!file.isOpen()) {
        messages_.documentError(option + cannotCreate);
    } else if (!writeAll(file.get(), contents, 0)) {
        messages_.documentError(option + kCannotWrite);
    }
}

} // namespace ostrel::bwfmetaedit
