#include "bwfmetaedit/program/targets.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <system_error>
#include <utility>

namespace ostrel::bwfmetaedit {

namespace {

namespace fs = std::filesystem;
using FileIdentity = std::pair<dev_t, ino_t>;

std::optional<FileIdentity> identityOf(const std::string& path) {
    struct stat status {};
    if (path.find('\0') != std::string::npos) return {}; // a document can hold one, a path can't
    if (::stat(path.c_str(), &status) != 0) return {};
    return FileIdentity{status.st_dev, status.st_ino};
}

// The files of the command line, as the rows of a document look them up.
class GivenFiles {
public:
    explicit GivenFiles(const Targets& targets) {
        for (const auto& [path, target] : targets) {
            if (const auto identity = identityOf(path)) files_.emplace_back(*identity, path);
        }
    }

    // By any path of the file, or by a folder that it is in.
    std::vector<std::string> namedBy(const std::string& path) const {
        std::vector<std::string> named;
        const auto identity = identityOf(path);
        std::error_code error;
        const fs::path folder = identity && fs::is_directory(path, error) ? fs::canonical(path, error) : fs::path();
        for (const auto& [fileIdentity, file] : files_) {
            const bool inFolder = !folder.empty() && isWithin(fs::canonical(file, error), folder);
            if (identity == fileIdentity || inFolder) named.push_back(file);
        }
        return named;
    }

private:
    static bool isWithin(const fs::path& file, const fs::path& folder) {
        return std::mismatch(folder.begin(), folder.end(), file.begin(), file.end()).first == folder.end();
    }

    std::vector<std::pair<FileIdentity, std::string>> files_;
};

} // namespace

std::vector<std::string> filesOf(const std::string& path) {
    std::error_code error;
    if (!fs::is_directory(path, error)) return {path};
    std::vector<std::string> files;
    fs::recursive_directory_iterator entry(path, fs::directory_options::skip_permission_denied, error);
    while (!error && entry != fs::recursive_directory_iterator()) {
        const std::string name = entry->path().filename().string();
        std::error_code ignored; // an entry that can't be examined is no file
        if (!name.starts_with('.') && entry->is_regular_file(ignored)) files.push_back(entry->path().string());
        entry.increment(error);
    }
    if (files.empty()) return {path};
    return files;
}

Targets collectTargets(const std::vector<std::string>& paths, const Edits& edits, const std::vector<CoreRow>& rows) {
    Targets targets;
    for (const std::string& path : paths) {
        for (const std::string& file : filesOf(path)) targets[file].edits = edits;
    }
    if (rows.empty()) return targets;

    const GivenFiles given(targets);
    for (const CoreRow& row : rows) {
        std::vector<std::string> named = given.namedBy(row.path);
        if (named.empty()) {
            targets[row.path].isGiven = false;
            named.push_back(row.path);
        }
        for (const std::string& path : named) {
            Edits& changed = targets[path].edits;
            changed.rejectsOverwriting = edits.rejectsOverwriting;
            for (const auto& [name, value] : row.values) {
                // What the command line says about a field counts more.
                if (!edits.values.contains(name)) changed.values[name] = value;
            }
        }
    }
    return targets;
}

bool isSameFile(const std::string& path, const std::string& other) {
    const auto identity = identityOf(path);
    return identity && identity == identityOf(other);
}

} // namespace ostrel::bwfmetaedit
