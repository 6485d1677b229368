#include "proxy/Md5.h"

#include "request/HexDigits.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <array>
#include <openssl/evp.h>
#include <string_view>

namespace foundation::httpclient_curl {

std::string md5(std::string_view text) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest{};
    unsigned int size = 0;
    if (EVP_Digest(text.data(), text.size(), digest.data(), &size, EVP_md5(), nullptr) != 1) {
        throw httpclient_core::HttpRequestFailedException("MD5 is not available");
    }
    std::string hex;
    for (unsigned int i = 0; i < size; ++i) {
        appendHex(hex, digest[i], lowerHexDigits);
    }
    return hex;
}

}  // namespace foundation::httpclient_curl
