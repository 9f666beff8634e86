#include "bwfmetaedit/tool_test.h"

#include "bwfmetaedit/program/run.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <sys/time.h>

namespace ostrel::testing {

namespace {

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
    for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

} // namespace

ToolTest::ToolTest() {
    std::string pattern = (std::filesystem::temp_directory_path() / "bwfmetaedit-test-XXXXXX").string();
    EXPECT_NE(::mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
}

ToolTest::~ToolTest() {
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

std::string ToolTest::put(const std::string& name, const std::string& bytes) const {
    std::filesystem::create_directories(std::filesystem::path(path(name)).parent_path());
    std::ofstream(path(name), std::ios::binary) << bytes;
    const timeval longAgo[] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    EXPECT_EQ(::utimes(path(name).c_str(), longAgo), 0);
    return path(name);
}

std::string ToolTest::get(const std::string& name) const {
    std::ifstream file(path(name), std::ios::binary);
    EXPECT_TRUE(file.is_open()) << name;
    return {std::istreambuf_iterator<char>(file), {}};
}

ToolResult ToolTest::run(std::vector<std::string> arguments) const {
    for (std::string& argument : arguments) replaceAll(argument, "{D}", folder_);
    std::ostringstream out;
    std::ostringstream err;
    const int status = bwfmetaedit::run(arguments, out, err);
    return {status, masked(out.str()), masked(err.str())};
}

std::string ToolTest::masked(std::string text) const {
    replaceAll(text, folder_, "{D}");
    // Messages begin with the time of day: "2026-03-14 09:26:53 ".
    const std::string shape = "dddd-dd-dd dd:dd:dd ";
    std::istringstream lines(text);
    std::string result;
    for (std::string line; std::getline(lines, line);) {
        const bool isStamped = line.size() >= shape.size() &&
                               std::equal(shape.begin(), shape.end(), line.begin(), [](char expected, char found) {
                                   return expected == 'd' ? found >= '0' && found <= '9' : expected == found;
                               });
        result += isStamped ? "<TIME> " + line.substr(shape.size()) : line;
        if (!lines.eof()) result += '\n';
    }
    return result;
}

std::string ToolTest::cell(const std::string& name, const std::string& column) const {
    const ToolResult result = run({"--out-core-xml=-", path(name)});
    EXPECT_EQ(result.err, "");
    const std::string start = "<" + column + ">";
    const std::size_t begin = result.out.find(start);
    if (begin == std::string::npos) return {};
    return result.out.substr(begin + start.size(), result.out.find("</" + column, begin) - begin - start.size());
}

std::string ToolTest::identity(const std::string& name) const {
    struct stat status {};
    EXPECT_EQ(::stat(path(name).c_str(), &status), 0);
    std::ostringstream text;
    text << status.st_ino << ' ' << status.st_size << ' ' << status.st_mtim.tv_sec << '.' << status.st_mtim.tv_nsec
         << ' ' << status.st_ctim.tv_sec << '.' << status.st_ctim.tv_nsec;
    return text.str();
}

ino_t ToolTest::inode(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::stat(path.c_str(), &status), 0) << path;
    return status.st_ino;
}

} // namespace ostrel::testing
