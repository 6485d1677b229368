#pragma once
#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace foundation::httpclient_core {

/// Cuts a query at each "&" and each entry at its first "=", and decodes both parts; entries of nothing are
/// skipped. Usual entries are decoded without an allocation, and those that need no decoding without a copy.
class QueryEntries {
public:
    /// `query` must outlive this object.
    explicit QueryEntries(std::string_view query) noexcept
        : position_(query.data()), end_(position_ + query.size()) {}

    /// Goes to the next entry, the first one when called for the first time; false if there is none.
    /// Throws std::bad_alloc for an entry of more than some hundred bytes.
    bool next();

    /// The decoded parts of the entry, until next() is called. The value is empty where there is no "=".
    /// @{
    std::string_view key() const noexcept { return key_; }
    std::string_view value() const noexcept { return value_; }
    /// @}

private:
    struct Piece {
        std::string_view text;
        bool isEncoded;
    };
    class Decoded {
    public:
        std::string_view decode(const Piece& piece);

    private:
        std::array<char, 256> short_;
        std::string long_;
    };

    Piece cut(bool isKey) noexcept;

    const char* position_;
    const char* end_;
    std::string_view key_;
    std::string_view value_;
    Decoded decodedKey_;
    Decoded decodedValue_;
};

}  // namespace foundation::httpclient_core
