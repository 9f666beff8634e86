// One digest of a stream of bytes. For one thread at a time.
#pragma once

#include "custody/digests/hash_format.h"

#include <QByteArrayView>
#include <memory>

namespace ostrel {

class Digest {
public:
    // Throws FileError where the library lacks the format (OpenSSL in a restricted mode).
    explicit Digest(HashFormat format);
    ~Digest();
    Digest(Digest&&) noexcept;
    Digest& operator=(Digest&&) noexcept;

    HashFormat format() const { return format_; }
    void add(QByteArrayView bytes);
    QByteArray finish(); // once, at the end

    static QByteArray of(HashFormat format, QByteArrayView bytes);

    class State;

private:
    HashFormat format_;
    std::unique_ptr<State> state_;
};

} // namespace ostrel
