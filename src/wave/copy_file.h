// A file that is read or written at any place, by several threads at once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/stat.h>

namespace ostrel {

// Every operation throws CopyError (wave/channel_copy.h) with the file's path and the system's reason.
class CopyFile {
public:
    static CopyFile forReading(const std::string& path);
    static CopyFile forWriting(const std::string& path);  // a new one: what is there already is not touched
    static CopyFile forChanging(const std::string& path); // one that is there; what is not written to stays
    ~CopyFile();
    CopyFile(CopyFile&& other) noexcept;
    CopyFile& operator=(CopyFile&&) = delete;
    CopyFile(const CopyFile&) = delete;
    CopyFile& operator=(const CopyFile&) = delete;

    // All of it: an end of file within is an error.
    void readAll(void* to, std::size_t size, std::uint64_t offset) const;
    void writeAll(const void* from, std::size_t size, std::uint64_t offset) const;
    // Room on the disk for a file of that size. Nothing where the file system can't reserve any.
    void reserve(std::uint64_t size) const;
    void cutTo(std::uint64_t size) const;
    std::uint64_t size() const { return static_cast<std::uint64_t>(opened_.st_size); } // when it was opened
    // When it was opened.
    void requireSize(std::uint64_t size) const;
    // Neither written nor cut since it was opened.
    void requireUnchanged() const;

private:
    CopyFile(const std::string& path, int flags);
    [[noreturn]] void fail() const;

    std::string path_;
    int descriptor_ = -1;
    struct stat opened_ {};
};

} // namespace ostrel
