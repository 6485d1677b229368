#include "url/PercentEncode.h"

#include "url/PercentAlphabet.h"
#include "url/PercentBlocks.h"

#include <cstddef>
#include <string_view>

namespace foundation::httpclient_core {
namespace {

// Takes the part of `text` that can be handled in blocks off it and returns it.
std::string_view cutBlocks(std::string_view& text) noexcept {
    const std::size_t size =
        percent_blocks::available() ? text.size() - (text.size() % percent_blocks::size) : 0;
    const std::string_view blocks = text.substr(0, size);
    text.remove_prefix(size);
    return blocks;
}

}  // namespace

std::size_t countEscaped(const PercentAlphabet& alphabet, std::string_view text) noexcept {
    const std::string_view blocks = cutBlocks(text);
    return (blocks.empty() ? 0 : percent_blocks::countEscaped(alphabet, blocks)) +
           countEscapedByTable(alphabet, text);
}

char* percentEncodeLong(const PercentAlphabet& alphabet,
                        std::string_view text,
                        char* out) noexcept {
    const std::string_view blocks = cutBlocks(text);
    if (!blocks.empty()) {
        out = percent_blocks::encode(alphabet, blocks, out);
    }
    return alphabet.spell(text, out);
}

std::size_t countEscapedByTable(const PercentAlphabet& alphabet, std::string_view text) noexcept {
    std::size_t count = 0;
    for (const char c : text) {
        count += alphabet.isEscaped(c) ? 1U : 0U;
    }
    return count;
}

}  // namespace foundation::httpclient_core
