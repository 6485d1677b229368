#include "output/Sha256.h"

#include "text/HexDigits.h"
#include "text/LowerCase.h"

#include <array>
#include <openssl/evp.h>
#include <stdexcept>

namespace foundation::httpclient_tool {
namespace {

void require(bool succeeded) {
    if (!succeeded) {
        throw std::runtime_error("SHA-256 is not available");
    }
}

}  // namespace

void Sha256::Free::operator()(evp_md_ctx_st* context) const noexcept {
    EVP_MD_CTX_free(context);
}

Sha256::Sha256() : context_(EVP_MD_CTX_new()) {
    require(context_ != nullptr && EVP_DigestInit_ex(context_.get(), EVP_sha256(), nullptr) == 1);
}

Sha256::Sha256(const Sha256& other) : context_(EVP_MD_CTX_new()) {
    require(context_ != nullptr && EVP_MD_CTX_copy_ex(context_.get(), other.context_.get()) == 1);
}

Sha256& Sha256::operator=(const Sha256& other) {
    if (this != &other) {
        *this = Sha256(other);
    }
    return *this;
}

void Sha256::add(std::string_view bytes) {
    require(EVP_DigestUpdate(context_.get(), bytes.data(), bytes.size()) == 1);
}

std::string Sha256::hex() const {
    // Finishing ends a digest, so a copy is finished.
    const Sha256 copy(*this);
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    require(EVP_DigestFinal_ex(copy.context_.get(), digest.data(), &size) == 1);
    std::string text;
    for (unsigned int index = 0; index < size; ++index) {
        text += hexDigits(digest.at(index));
    }
    return lowerCase(text);
}

std::string Sha256::of(std::string_view bytes) {
    Sha256 digest;
    digest.add(bytes);
    return digest.hex();
}

}  // namespace foundation::httpclient_tool
