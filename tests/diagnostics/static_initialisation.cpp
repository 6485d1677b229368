// Uses the header-name constants in static initialisers, as early as a program can.
#include <foundation/httpclient_core/HttpHeaders.h>

#include <cstdio>
#include <string>

namespace {

namespace core = foundation::httpclient_core;

struct Names {
    Names()
        : all(core::HttpHeaders::ACCEPT + "," + core::HttpHeaders::CONTENT_TYPE + "," +
              core::HttpHeaders::CONTENT_LENGTH + "," + core::HttpHeaders::COOKIE + "," +
              core::HttpHeaders::TRANSFER_ENCODING) {
        headers.addHeaderValue(core::HttpHeaders::ACCEPT, "text/plain");
    }
    std::string all;
    core::HttpHeaders headers;
};

__attribute__((init_priority(102))) const Names early;
const Names usual;

bool areRight(const char* which, const Names& names) {
    const bool right = names.all == "Accept,Content-Type,Content-Length,Cookie,Transfer-Encoding" &&
                       names.headers.getHeaderValueOr("Accept", "none") == "text/plain";
    if (!right) {
        std::fprintf(stderr, "%s: \"%s\"\n", which, names.all.c_str());
    }
    return right;
}

}  // namespace

int main() {
    const bool right = areRight("early", early);
    return areRight("usual", usual) && right ? 0 : 1;
}
