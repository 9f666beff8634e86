#include "foundation/proof/md5_digest.h"

#include <openssl/evp.h>
#include <stdexcept>

namespace ostrel {

struct Md5Digest::Context {
    EVP_MD_CTX* openssl = EVP_MD_CTX_new();
    Context() = default;
    ~Context() { EVP_MD_CTX_free(openssl); }
    Context(const Context&) = delete;
    Context& operator=(const Context&) = delete;

    // A build of OpenSSL may refuse MD5 as too weak for secrets; there are none here.
    static void require(int result) {
        if (result != 1) throw std::runtime_error("MD5 is not available in this OpenSSL");
    }
};

Md5Digest::Md5Digest() : context_(std::make_unique<Context>()) {
    Context::require(EVP_DigestInit_ex(context_->openssl, EVP_md5(), nullptr));
}

Md5Digest::~Md5Digest() = default;

void Md5Digest::add(const void* bytes, std::size_t size) {
    Context::require(EVP_DigestUpdate(context_->openssl, bytes, size));
}

QByteArray Md5Digest::result() {
    QByteArray digest(EVP_MAX_MD_SIZE, '\0');
    unsigned int length = 0;
    Context::require(EVP_DigestFinal_ex(context_->openssl, reinterpret_cast<unsigned char*>(digest.data()), &length));
    return digest.first(static_cast<qsizetype>(length));
}

} // namespace ostrel
