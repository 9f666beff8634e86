// A folder of recordings, and runs of the tool over them.
#pragma once

#include "bwfmetaedit/wave_bytes.h"

#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace ostrel::testing {

struct ToolResult {
    int status;
    std::string out;
    std::string err; // the time at the start of each line as "<TIME> ", the folder as "{D}"
};

class ToolTest : public ::testing::Test {
public:
    ToolTest();
    ~ToolTest() override;

    std::string path(const std::string& name) const { return folder_ + "/" + name; }
    // The path again. The time of the last change is set far back, so that a change shows.
    std::string put(const std::string& name, const std::string& bytes) const;
    std::string get(const std::string& name) const;

    // In this process. "{D}" in an argument is the folder.
    ToolResult run(std::vector<std::string> arguments) const;

    // The one row, cell by cell, below the header of --out-core.
    std::string cell(const std::string& name, const std::string& column) const;
    // Inode, size and times: equal as long as nobody has written.
    std::string identity(const std::string& name) const;
    static ino_t inode(const std::string& path);

    std::string masked(std::string text) const;
    const std::string& folder() const { return folder_; }

private:
    std::string folder_;
};

} // namespace ostrel::testing
