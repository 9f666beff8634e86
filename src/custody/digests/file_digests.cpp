#include "custody/digests/file_digests.h"

#include "custody/digests/digest.h"
#include "platform/files/file_stamp.h"

#include <QFile>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <vector>

namespace ostrel {
namespace {

constexpr quint64 kDigestBlock = 256 << 10; // stays in the second-level cache between the read and the digests
constexpr quint64 kPage = 4096;

struct FreeBlock {
    void operator()(char* block) const { std::free(block); }
};

[[noreturn]] void failToDigest(const QString& path, const QString& why) {
    throw FileError(QStringLiteral("Could not read %1: %2").arg(path, why));
}

QString systemReason() { return QString::fromLocal8Bit(std::strerror(errno)); }

// A file that is open for reading and none of those that can block a reader for ever. Links are not followed: what is
// sealed lies in the sealed folder.
class DigestedFile {
public:
    explicit DigestedFile(const QString& path)
        : path_(path),
          descriptor_(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK)) {
        if (descriptor_ < 0) failToDigest(path, errno == ELOOP ? QStringLiteral("it is a link") : systemReason());
        const std::optional<FileStamp> stamp = FileStamp::of(descriptor_);
        if (!stamp) {
            ::close(descriptor_);
            failToDigest(path, QStringLiteral("it is no regular file"));
        }
        stamp_ = *stamp;
        ::posix_fadvise(descriptor_, 0, 0, POSIX_FADV_SEQUENTIAL);
    }
    ~DigestedFile() { ::close(descriptor_); }
    DigestedFile(const DigestedFile&) = delete;
    DigestedFile& operator=(const DigestedFile&) = delete;

    quint64 size() const { return stamp_.size; }

    quint64 read(char* block, quint64 length) const {
        for (;;) {
            const ssize_t count = ::read(descriptor_, block, length);
            if (count >= 0) return static_cast<quint64>(count);
            if (errno != EINTR) failToDigest(path_, systemReason());
        }
    }

    void requireUnchanged(quint64 bytesRead) const {
        const bool stands = FileStamp::of(descriptor_) == stamp_ && FileStamp::of(path_) == stamp_;
        if (!stands || bytesRead != stamp_.size) {
            failToDigest(path_, QStringLiteral("it was changed while it was read"));
        }
    }

private:
    QString path_;
    int descriptor_;
    FileStamp stamp_;
};

} // namespace

Digests digestsOfFile(const QString& path, const HashFormats& formats, const ReadWatch& watch) {
    const DigestedFile file(path);
    std::vector<Digest> digests;
    for (const HashFormat format : formats) digests.emplace_back(format);
    const quint64 length = std::min(kDigestBlock, (file.size() / kPage + 1) * kPage);
    const std::unique_ptr<char, FreeBlock> block(static_cast<char*>(std::aligned_alloc(kPage, length)));
    if (!block) throw std::bad_alloc();
    quint64 total = 0;
    for (;;) {
        if (watch.isStopped && watch.isStopped()) throw StoppedError();
        const quint64 count = file.read(block.get(), length);
        if (count == 0) break;
        total += count;
        const QByteArrayView bytes(block.get(), static_cast<qsizetype>(count));
        for (Digest& digest : digests) digest.add(bytes);
        if (watch.bytesRead) watch.bytesRead(count);
        if (total > file.size()) break; // it grows, perhaps as fast as it is read
    }
    file.requireUnchanged(total);
    Digests result;
    for (Digest& digest : digests) result[digest.format()] = digest.finish();
    return result;
}

} // namespace ostrel
