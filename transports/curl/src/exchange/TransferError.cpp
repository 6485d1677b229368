#include "exchange/TransferError.h"

#include "request/HexDigits.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <sstream>
#include <system_error>

namespace foundation::httpclient_curl {
namespace {

using namespace httpclient_core;

constexpr std::array lastingCodes{CURLE_UNSUPPORTED_PROTOCOL,     CURLE_URL_MALFORMAT,
                                  CURLE_PEER_FAILED_VERIFICATION, CURLE_SSL_CACERT_BADFILE,
                                  CURLE_SSL_ISSUER_ERROR,         CURLE_SSL_INVALIDCERTSTATUS};

std::string numberOf(CURLcode code) {
    return " (libcurl " + std::to_string(code) + ")";
}

const char* prefixFor(CURLcode code) {
    switch (code) {
        case CURLE_PEER_FAILED_VERIFICATION:
        case CURLE_SSL_CACERT_BADFILE:
        case CURLE_SSL_ISSUER_ERROR:
        case CURLE_SSL_INVALIDCERTSTATUS:
            return "TLS verification: ";
        case CURLE_SEND_FAIL_REWIND:
            return "not repeated on a fresh connection: ";
        default:
            return "";
    }
}

// The control characters beyond ASCII, U+0080 to U+009F, as UTF-8.
bool beginsControl(const std::string& text, std::size_t place) {
    return text[place] == '\xC2' && place + 1 < text.size() &&
           (static_cast<unsigned char>(text[place + 1]) & 0xE0U) == 0x80U;
}

}  // namespace

std::string printable(const std::string& text) {
    std::string clean;
    std::size_t escaped = 0;  // bytes from here on
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if (byte < 0x20 || byte == 0x7F) {
            escaped = 1;
        } else if (beginsControl(text, i)) {
            escaped = 2;
        }
        if (escaped > 0) {
            clean += "\\x";
            appendHex(clean, byte, upperHexDigits);
            --escaped;
        } else {
            clean += text[i];
        }
    }
    return clean;
}

std::exception_ptr transferError(CURLcode code,
                                 long osError,
                                 const std::string& detail,
                                 const TransferContext& context) {
    if (code == CURLE_OPERATION_TIMEDOUT ||
        (code == CURLE_COULDNT_CONNECT && osError == ETIMEDOUT)) {
        return std::make_exception_ptr(HttpRequestTimeoutException());
    }
    if (code == CURLE_OUT_OF_MEMORY) {
        return std::make_exception_ptr(std::bad_alloc());
    }
    std::string text = detail.empty() ? curl_easy_strerror(code) : detail;
    // Of this failure libcurl says no more than that it could not.
    if (code == CURLE_COULDNT_CONNECT && osError != 0) {
        text += ": " + std::generic_category().message(static_cast<int>(osError));
    }
    return transferFailure(prefixFor(code) + text + numberOf(code), context);
}

std::exception_ptr transferFailure(const std::string& text, const TransferContext& context) {
    std::ostringstream message;
    message << context.method << ' ' << context.url << ": " << text;
    return std::make_exception_ptr(HttpRequestFailedException(printable(message.str())));
}

bool isLasting(CURLcode code) {
    return std::find(lastingCodes.begin(), lastingCodes.end(), code) != lastingCodes.end();
}

bool saysLasting(std::string_view text) {
    return std::any_of(lastingCodes.begin(), lastingCodes.end(),
                       [text](CURLcode code) { return text.ends_with(numberOf(code).substr(1)); });
}

}  // namespace foundation::httpclient_curl
