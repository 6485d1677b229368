#pragma once
#include <memory>
#include <string>
#include <string_view>

struct evp_md_ctx_st;

namespace foundation::httpclient_tool {

/// A running SHA-256. A copy goes on from the same bytes.
///
/// @par Thread safety
/// thread-compatible
class Sha256 {
public:
    /// Starts with no bytes.
    /// @throws std::runtime_error "SHA-256 is not available" when the cryptographic library lacks it.
    Sha256();
    Sha256(const Sha256& other);
    Sha256& operator=(const Sha256& other);
    Sha256(Sha256&&) noexcept = default;
    Sha256& operator=(Sha256&&) noexcept = default;
    ~Sha256() = default;

    void add(std::string_view bytes);
    /// The digest of the bytes so far, as 64 hexadecimal digits; more may be added afterwards.
    std::string hex() const;

    /// The digest of one text.
    static std::string of(std::string_view bytes);

private:
    struct Free {
        void operator()(evp_md_ctx_st* context) const noexcept;
    };
    std::unique_ptr<evp_md_ctx_st, Free> context_;
};

}  // namespace foundation::httpclient_tool
