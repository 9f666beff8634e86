// A new file that takes an old one's name, all at once.
#pragma once

#include "bwfmetaedit/bytes/file_bytes.h"

#include <string>
#include <sys/stat.h>

namespace ostrel::bwfmetaedit {

class ReplacementFile {
public:
    // In the same folder, under no name at all where the file system can do that: then nothing is left behind however
    // the program ends. Throws WriteError.
    explicit ReplacementFile(const std::string& replacedPath);
    ReplacementFile(const ReplacementFile&) = delete;
    ReplacementFile& operator=(const ReplacementFile&) = delete;
    ~ReplacementFile();

    int descriptor() const { return descriptor_.get(); }

    // Takes over mode, owner, extended attributes and access time of the old file, as far as this user may set them.
    void takeOver(int oldFile, const struct stat& status);

    // Brings everything to the disk, then takes the name. Throws WriteError; the old file is then untouched.
    void commit();

private:
    void giveName();

    std::string replacedPath_;
    std::string folder_;
    std::string name_; // empty while it has none
    FileDescriptor descriptor_;
};

} // namespace ostrel::bwfmetaedit
