// The files of a run, and what is to become of each.
#pragma once

#include "bwfmetaedit/documents/core_csv.h"
#include "bwfmetaedit/metadata/edits.h"

#include <map>
#include <string>
#include <vector>

namespace ostrel::bwfmetaedit {

struct Target {
    Edits edits;
    // False for a file that only a document names. It is never written: a document that was exported from one file
    // and is applied to another still names the first.
    bool isGiven = true;
};

// In byte order of the paths as given, each once.
using Targets = std::map<std::string, Target>;

// A folder stands for the files in it, at any depth, without hidden ones; an empty folder for itself.
std::vector<std::string> filesOf(const std::string& path);

// Every path given gets the same edits. The rows of a document go to those of the given files that they name, by
// whatever path; a folder names the given files in it. A row that names none of them is a target that was not given.
Targets collectTargets(const std::vector<std::string>& paths, const Edits& edits, const std::vector<CoreRow>& rows);

// The same file on the disk, by whatever path. False if either is missing.
bool isSameFile(const std::string& path, const std::string& other);

} // namespace ostrel::bwfmetaedit
