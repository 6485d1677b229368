#include "resume/AnswerTerms.h"

#include "request/HeaderText.h"
#include "request/WholeNumber.h"

#include <string>

namespace foundation::httpclient_curl {
namespace {

// Nothing also where several fields contradict each other.
std::optional<ByteRange> sentRange(const HeaderBlock& block) {
    const std::string& text = block.header("Content-Range");
    for (const auto& [name, value] : block.headers()) {
        if (sameName(name, "Content-Range") && value != text) {
            return std::nullopt;
        }
    }
    return ByteRange::fromContentRange(text);
}

bool isMultipart(const HeaderBlock& block) {
    constexpr std::string_view severalRanges = "multipart/byteranges";
    const std::string_view type = block.header("Content-Type");
    return sameName(type.substr(0, severalRanges.size()), severalRanges);
}

}  // namespace

AnswerTerms::AnswerTerms(const HeaderBlock& block)
    : code(block.code()),
      length(wholeNumber<std::int64_t>(block.header("Content-Length")).value_or(-1)),
      hasSeveralParts(isMultipart(block)),
      acceptsRanges(block.header("Accept-Ranges") == "bytes"),
      validator(block) {
    const std::string& coding = block.header("Content-Encoding");
    isPlain = (coding.empty() || sameName(coding, "identity")) && !hasSeveralParts;
    if (isPartial()) {
        range = sentRange(block);
    }
}

}  // namespace foundation::httpclient_curl
