#include "fuzz/support/Oracle.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace foundation::fuzz {

void violated(std::string_view what, const std::string& particulars) {
    std::fprintf(stderr, "Violated: %.*s\n%s\n", static_cast<int>(what.size()), what.data(),
                 particulars.c_str());
    std::fflush(stderr);
    std::abort();
}

std::string shown(std::string_view text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '\n') {
            result += "\\n";
        } else if (c == '\r') {
            result += "\\r";
        } else if (c >= ' ' && c < '\x7F') {
            result += c;
        } else {
            std::array<char, 5> escaped{};
            std::snprintf(escaped.data(), escaped.size(), "\\x%02X", static_cast<unsigned char>(c));
            result += escaped.data();
        }
    }
    return result + '"';
}

}  // namespace foundation::fuzz
