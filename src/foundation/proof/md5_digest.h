// MD5 of bytes that come in pieces. For one thread at a time.
#pragma once

#include <QByteArray>
#include <cstddef>
#include <memory>

namespace ostrel {

class Md5Digest {
public:
    Md5Digest();
    ~Md5Digest();
    Md5Digest(const Md5Digest&) = delete;
    Md5Digest& operator=(const Md5Digest&) = delete;

    void add(const void* bytes, std::size_t size);
    QByteArray result(); // 16 bytes; nothing can be added behind it

private:
    struct Context;
    std::unique_ptr<Context> context_;
};

} // namespace ostrel
