#pragma once
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace foundation::fuzz {

/// Decisions drawn from the bytes of an input, for what is a sequence of operations and not a text. Each
/// byte decides one thing, so that a small change of the input is a small change of the run; at the end of
/// the input everything is 0.
class ByteDraws {
public:
    ByteDraws(const std::uint8_t* data, std::size_t size) : bytes_(data, size) {}

    bool isAtEnd() const { return bytes_.empty(); }
    std::uint8_t byte() {
        if (bytes_.empty()) {
            return 0;
        }
        const std::uint8_t first = bytes_.front();
        bytes_ = bytes_.subspan(1);
        return first;
    }
    /// 0 to limit - 1; two bytes decide among more than 256.
    std::size_t below(std::size_t limit) {
        const std::size_t low = byte();
        return (limit <= 256 ? low : low + std::size_t{256} * byte()) % limit;
    }
    template <class T>
    const T& oneOf(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }
    /// All bits decided, in as many bytes.
    template <class Integer>
    Integer number() {
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i < sizeof(Integer); ++i) {
            bits = bits << 8U | byte();
        }
        return static_cast<Integer>(bits);
    }
    /// Up to `longest` bytes.
    std::string text(std::size_t longest) {
        std::string result(below(longest + 1), '\0');
        for (char& c : result) {
            c = static_cast<char>(byte());
        }
        return result;
    }

private:
    std::span<const std::uint8_t> bytes_;
};

}  // namespace foundation::fuzz
