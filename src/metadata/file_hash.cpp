#include "metadata/file_hash.h"

#include "platform/files/files.h"

#include <QFile>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <openssl/evp.h>
#include <unistd.h>

namespace ostrel {
namespace {

constexpr std::size_t kBlock = 256 << 10; // stays in the second-level cache between the read and the hash

struct FreeContext {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};

class Descriptor {
public:
    explicit Descriptor(int descriptor) : descriptor_(descriptor) {}
    ~Descriptor() {
        if (descriptor_ >= 0) ::close(descriptor_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int get() const { return descriptor_; }

private:
    int descriptor_;
};

[[noreturn]] void failReading(const QString& path) {
    throw FileError(QStringLiteral("Could not read %1: %2").arg(path, QString::fromLocal8Bit(std::strerror(errno))));
}

void require(int result) {
    if (result != 1) throw FileError(QStringLiteral("SHA-256 is not available in this OpenSSL"));
}

} // namespace

QString sha256OfFile(const QString& path) {
    const Descriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    if (file.get() < 0) failReading(path);
    ::posix_fadvise(file.get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    const std::unique_ptr<EVP_MD_CTX, FreeContext> context(EVP_MD_CTX_new());
    require(EVP_DigestInit_ex(context.get(), EVP_sha256(), nullptr));
    const auto buffer = std::make_unique<char[]>(kBlock);
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer.get(), kBlock);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) failReading(path);
        if (count == 0) break;
        require(EVP_DigestUpdate(context.get(), buffer.get(), static_cast<std::size_t>(count)));
    }
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned int length = 0;
    require(EVP_DigestFinal_ex(context.get(), digest.data(), &length));
    return QString::fromLatin1(
        QByteArray(reinterpret_cast<const char*>(digest.data()), static_cast<qsizetype>(length)).toHex());
}

} // namespace ostrel
