#pragma once
#include "response/HeaderBlock.h"
#include "resume/ResumeMark.h"
#include "resume/Validator.h"

#include <cstdint>
#include <optional>

namespace foundation::httpclient_curl {

/// What the header of an answer says about the bytes that follow it: which of which resource they are.
struct AnswerTerms {
    explicit AnswerTerms(const HeaderBlock& block);

    httpclient_core::HttpResponseCode code;
    std::optional<ByteRange> range;  ///< Content-Range; nothing where it is doubtful, too.
    std::int64_t length = -1;        ///< Content-Length, or -1.
    bool hasSeveralParts = false;
    bool isPlain = false;  ///< The bytes of the resource themselves: no coding, no parts.
    bool acceptsRanges = false;
    Validator validator;

    bool isPartial() const noexcept {
        return code == httpclient_core::HttpResponseCode::PartialContent;
    }
};

}  // namespace foundation::httpclient_curl
