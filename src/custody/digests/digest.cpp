#include "custody/digests/digest.h"

#include "platform/files/files.h"

#include <new>
#include <openssl/evp.h>
#include <xxhash.h>
#ifdef OSTREL_XXHASH_DISPATCHES
#include <xxh_x86dispatch.h> // other functions under the same names
#endif

namespace ostrel {

class Digest::State {
public:
    virtual ~State() = default;
    virtual void add(QByteArrayView bytes) = 0;
    virtual QByteArray finish() = 0;
};

namespace {

class OpenSslState : public Digest::State {
public:
    OpenSslState(const EVP_MD* kind, HashFormat format) : format_(format), context_(EVP_MD_CTX_new()) {
        require(context_ && EVP_DigestInit_ex(context_.get(), kind, nullptr) == 1);
    }
    void add(QByteArrayView bytes) override {
        require(EVP_DigestUpdate(context_.get(), bytes.data(), static_cast<std::size_t>(bytes.size())) == 1);
    }
    QByteArray finish() override {
        QByteArray digest(EVP_MAX_MD_SIZE, '\0');
        unsigned int length = 0;
        require(EVP_DigestFinal_ex(context_.get(), reinterpret_cast<unsigned char*>(digest.data()), &length) == 1);
        digest.truncate(static_cast<qsizetype>(length));
        return digest;
    }

private:
    struct Free {
        void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    };
    void require(bool isDone) const {
        if (!isDone) throw FileError(QStringLiteral("%1 is not available in this OpenSSL").arg(rawText(format_)));
    }

    HashFormat format_;
    std::unique_ptr<EVP_MD_CTX, Free> context_;
};

// What the functions of the library's variants have in common.
template <class Handle, auto Create, auto Free, auto Reset, auto Update, auto Finish, auto Canonical, class Canonicals>
class XxhState : public Digest::State {
public:
    XxhState() : handle_(Create()) {
        if (!handle_) throw std::bad_alloc();
        Reset(handle_.get());
    }
    void add(QByteArrayView bytes) override {
        Update(handle_.get(), bytes.data(), static_cast<std::size_t>(bytes.size()));
    }
    QByteArray finish() override {
        Canonicals canonical; // big-endian, whatever the machine
        Canonical(&canonical, Finish(handle_.get()));
        return QByteArray(reinterpret_cast<const char*>(canonical.digest), sizeof canonical.digest);
    }

private:
    struct FreeHandle {
        void operator()(Handle* handle) const { Free(handle); }
    };
    std::unique_ptr<Handle, FreeHandle> handle_;
};

void resetXxh32(XXH32_state_t* state) { XXH32_reset(state, 0); }
void resetXxh64(XXH64_state_t* state) { XXH64_reset(state, 0); }

using Xxh32 = XxhState<XXH32_state_t, XXH32_createState, XXH32_freeState, resetXxh32, XXH32_update, XXH32_digest,
                       XXH32_canonicalFromHash, XXH32_canonical_t>;
using Xxh64 = XxhState<XXH64_state_t, XXH64_createState, XXH64_freeState, resetXxh64, XXH64_update, XXH64_digest,
                       XXH64_canonicalFromHash, XXH64_canonical_t>;
using Xxh3 = XxhState<XXH3_state_t, XXH3_createState, XXH3_freeState, XXH3_64bits_reset, XXH3_64bits_update,
                      XXH3_64bits_digest, XXH64_canonicalFromHash, XXH64_canonical_t>;
using Xxh128 = XxhState<XXH3_state_t, XXH3_createState, XXH3_freeState, XXH3_128bits_reset, XXH3_128bits_update,
                        XXH3_128bits_digest, XXH128_canonicalFromHash, XXH128_canonical_t>;

std::unique_ptr<Digest::State> newState(HashFormat format) {
    switch (format) {
    case HashFormat::c4: return std::make_unique<OpenSslState>(EVP_sha512(), format);
    case HashFormat::md5: return std::make_unique<OpenSslState>(EVP_md5(), format);
    case HashFormat::sha1: return std::make_unique<OpenSslState>(EVP_sha1(), format);
    case HashFormat::xxh128: return std::make_unique<Xxh128>();
    case HashFormat::xxh3: return std::make_unique<Xxh3>();
    case HashFormat::xxh64: return std::make_unique<Xxh64>();
    case HashFormat::xxh32: break;
    }
    return std::make_unique<Xxh32>();
}

} // namespace

Digest::Digest(HashFormat format) : format_(format), state_(newState(format)) {}
Digest::~Digest() = default;
Digest::Digest(Digest&&) noexcept = default;
Digest& Digest::operator=(Digest&&) noexcept = default;

void Digest::add(QByteArrayView bytes) { state_->add(bytes); }

QByteArray Digest::finish() { return state_->finish(); }

QByteArray Digest::of(HashFormat format, QByteArrayView bytes) {
    Digest digest(format);
    digest.add(bytes);
    return digest.finish();
}

} // namespace ostrel
