#include "bwfmetaedit/wave/replacement_file.h"

#include "bwfmetaedit/wave/wave_writer.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string_view>
#include <sys/xattr.h>
#include <unistd.h>
#include <vector>

namespace ostrel::bwfmetaedit {

namespace {

// Hidden and short: a name made from the old one could be too long, or that of another file of the user.
constexpr std::string_view kNamePattern = "/.bwfmetaedit-XXXXXX";

[[noreturn]] void throwCannotCreate() { throw WriteError{"Can not create temporary file"}; }
void copyExtendedAttributes(int from, int to) {
    const ssize_t length = ::flistxattr(from, nullptr, 0);
    if (length <= 0) return;
    std::vector<char> names(static_cast<std::size_t>(length));
    const ssize_t filled = ::flistxattr(from, names.data(), names.size());
    if (filled <= 0) return;
    for (const char* name = names.data(); name < names.data() + filled; name += std::string_view(name).size() + 1) {
        const ssize_t size = ::fgetxattr(from, name, nullptr, 0);
        if (size < 0) continue;
        std::vector<char> value(static_cast<std::size_t>(size));
        if (::fgetxattr(from, name, value.data(), value.size()) == size) {
            // Attributes of the system may be out of this user's reach; they are no reason to give up.
            (void)::fsetxattr(to, name, value.data(), value.size(), 0);
        }
    }
}

} // namespace

ReplacementFile::ReplacementFile(const std::string& replacedPath)
    : replacedPath_(replacedPath), folder_(replacedPath.substr(0, replacedPath.rfind('/') + 1)) {
    descriptor_ = FileDescriptor(::open(folder_.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (descriptor_.isOpen()) return;
    std::string name = folder_ + std::string(kNamePattern.substr(1));
    descriptor_ = FileDescriptor(::mkostemp(name.data(), O_CLOEXEC));
    if (!descriptor_.isOpen()) throwCannotCreate();
    name_ = name;
}

ReplacementFile::~ReplacementFile() {
    if (!name_.empty()) ::unlink(name_.c_str());
}

void ReplacementFile::takeOver(int oldFile, const struct stat& status) {
    // The owner first: a change of owner takes the set-user bits away. A user who may not give files away still gets
    // a file with the group, if that is one of the user's own.
    if (::fchown(descriptor(), status.st_uid, status.st_gid) != 0) {
        (void)!::fchown(descriptor(), static_cast<uid_t>(-1), status.st_gid);
    }
    copyExtendedAttributes(oldFile, descriptor());
    if (::fchmod(descriptor(), status.st_mode & 07777) != 0) throwCannotWrite();
    const struct timespec times[] = {status.st_atim, {0, UTIME_OMIT}};
    (void)::futimens(descriptor(), times);
}

void ReplacementFile::giveName() {
    const std::string self = "/proc/self/fd/" + std::to_string(descriptor());
    constexpr int kAttempts = 100;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        const std::string name = folder_ + ".bwfmetaedit-" + std::to_string(::getpid()) + "-" + std::to_string(attempt);
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            name_ = name;
            return;
        }
        if (errno != EEXIST) break;
    }
    throwCannotCreate();
}

void ReplacementFile::commit() {
    if (::fsync(descriptor()) != 0) throwCannotWrite();
    if (name_.empty()) giveName();
    if (::rename(name_.c_str(), replacedPath_.c_str()) != 0) throwCannotWrite();
    name_.clear();
    // The new name itself must survive a loss of power. Some file systems can't promise it; the file is whole anyway.
    const FileDescriptor folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen()) (void)::fsync(folder.get());
}

} // namespace ostrel::bwfmetaedit
