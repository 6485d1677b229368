#include "response/HeaderBlock.h"

#include "request/HeaderText.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>

#include <charconv>
#include <utility>

namespace foundation::httpclient_curl {

using httpclient_core::HttpResponseCode;

namespace {

// Without the CR LF, or the LF alone, that ends it.
std::string_view withoutEnd(std::string_view line) {
    if (line.ends_with('\n')) {
        line.remove_suffix(1);
    }
    if (line.ends_with('\r')) {
        line.remove_suffix(1);
    }
    return line;
}

}  // namespace

bool HeaderBlock::isStatusLine(std::string_view line) {
    // No field name can look like this: "/" is no token character.
    return line.substr(0, 5) == "HTTP/";
}

bool HeaderBlock::addLine(std::string_view line) {
    const std::string_view content = withoutEnd(line);
    const std::string_view text = trimmed(content);
    noteControls(content);
    // libcurl takes every line that begins with a CR for the empty one, whatever follows it.
    if (content.empty() || content.front() == '\r') {
        keepField();
        return true;
    }
    const bool continues = content.front() == ' ' || content.front() == '\t';
    if (!continues) {
        keepField();
    }
    // Folded lines count: each makes libcurl move all of the value, which a flood of them turns into
    // seconds.
    if (++fields_ > maxFields_) {
        throw httpclient_core::HttpRequestFailedException(
            "The response has more than " + std::to_string(maxFields_) + " header fields");
    }
    if (continues) {
        if (name_.empty()) {
            flaw_ = "a line of its header continues no field";
        }
        value_ += ' ';
        value_ += text;
        return false;
    }
    const std::size_t colon = text.find(':');
    if (colon == std::string_view::npos || !isToken(text.substr(0, colon))) {
        if (colon != std::string_view::npos && isToken(trimmed(text.substr(0, colon)))) {
            flaw_ = "a name in its header is followed by a blank";
        }
        return false;
    }
    name_ = text.substr(0, colon);
    value_ = trimmed(text.substr(colon + 1));
    return false;
}

void HeaderBlock::noteControls(std::string_view text) {
    // Two searches for one byte each are many times faster than one for either.
    if (text.find('\r') != std::string_view::npos || text.find('\0') != std::string_view::npos) {
        flaw_ = "a line of its header holds a CR or a NUL";
    }
}

void HeaderBlock::begin(std::string_view line) {
    *this = HeaderBlock(maxFields_);
    noteControls(withoutEnd(line));
    const std::string_view text = trimmed(line);
    const std::size_t space = std::min(text.find(' '), text.size());
    const std::string_view rest = trimmed(text.substr(space));
    std::int32_t number = 0;
    const char* end = std::from_chars(rest.data(), rest.data() + rest.size(), number).ptr;
    code_ = HttpResponseCode{number};
    reason_ = trimmed(rest.substr(static_cast<std::size_t>(end - rest.data())));
    if (reason_.empty()) {
        reason_ = httpclient_core::getReasonStringForCode(code_);
    }
}

void HeaderBlock::keepField() {
    // A server must not be able to speak the language between the transport and the core.
    if (!name_.empty() && !isInternalName(name_)) {
        headers_.add(std::move(name_), std::move(value_));
    }
    name_.clear();
    value_.clear();
}

const std::string& HeaderBlock::header(const std::string& name) const {
    static const std::string none;
    const auto field = headers_.find(name);
    return field != headers_.end() ? field->second : none;
}

}  // namespace foundation::httpclient_curl
