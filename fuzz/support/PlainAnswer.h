#pragma once
#include <cstdint>
#include <string>
#include <string_view>

namespace foundation::fuzz {

/// The answer to one request as a plain reader finds it in the bytes of a connection that ended (RFC 9112):
/// written from the grammar, without code of the transport or of libcurl.
struct PlainAnswer {
    enum class Verdict {
        Whole,  ///< Impeccable: to be delivered.
        Lenient,  ///< Readable, but not by the letter: may be refused, and is delivered as read here or not at all.
        Broken  ///< No end, or one in doubt: never to be delivered.
    };

    Verdict verdict = Verdict::Whole;
    std::string reason;  ///< Why it is not whole, for messages.
    int code = 0;
    std::string body;
    std::string received;  ///< The bytes of a body, also of one that breaks off.
    std::string etag;      ///< As it came; empty for none.
    std::int64_t rangeFirst =
        0;  ///< Of a 206: where its bytes belong; -1 where that makes no sense.
    std::int64_t rangeTotal = -1;  ///< Of a 206: the size of the whole; -1 for none.
    bool redirects = false;  ///< A whole head with a code and a Location that a client may follow.

    /// The first answer in `bytes` that is not an interim one.
    static PlainAnswer read(std::string_view bytes, bool toHead);
};

}  // namespace foundation::fuzz
