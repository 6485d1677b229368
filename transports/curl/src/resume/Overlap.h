#pragma once
#include <cstddef>
#include <cstdint>
#include <ios>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

namespace foundation::httpclient_curl {

/// The last bytes of a body that is to be continued without a validator to rely on. They are fetched once
/// more and compared before anything is appended.
class Overlap {
public:
    static constexpr std::int64_t length = 65536;

    /// Reads the bytes before the write position back. Nothing where the stream cannot do that.
    static std::optional<Overlap> before(std::iostream& body, std::streamoff position);

    /// Takes the next bytes of the answer; `data` is left with those behind the overlap. False once they
    /// differ.
    bool compare(std::string_view& data);
    bool isComplete() const noexcept { return compared_ == bytes_.size(); }

private:
    explicit Overlap(std::string bytes) : bytes_(std::move(bytes)) {}

    std::string bytes_;
    std::size_t compared_ = 0;
};

}  // namespace foundation::httpclient_curl
