#include "exchange/StreamWatch.h"

#include <algorithm>
#include <array>

namespace foundation::httpclient_curl {
namespace {

// Of the request itself, of the connection's settings, and of TLS messages such as "close notify", which
// follows GOAWAY. A connection that breaks gets a message of its own after these.
bool saysNothing(std::string_view text) {
    using namespace std::string_view_literals;
    constexpr std::array harmless{"We are completely uploaded and fine"sv,
                                  "Connection state changed (MAX_CONCURRENT_STREAMS"sv,
                                  "old SSL session ID is stale"sv, "TLSv1.2 (IN), "sv,
                                  "TLSv1.3 (IN), "sv};
    return std::any_of(harmless.begin(), harmless.end(),
                       [text](std::string_view begin) { return text.starts_with(begin); });
}

}  // namespace

void StreamWatch::addText(std::string_view text) {
    if (text.starts_with("Using Stream ID: ")) {
        undisturbed_ = true;
        refused_ = false;
    } else if (text.starts_with("Connection died, retrying a fresh connect") ||
               text.starts_with("REFUSED_STREAM, retrying a fresh connect")) {
        refused_ = undisturbed_;
        undisturbed_ = false;
    } else if (!saysNothing(text)) {
        undisturbed_ = false;
    }
}

}  // namespace foundation::httpclient_curl
