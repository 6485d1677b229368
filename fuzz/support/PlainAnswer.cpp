#include "fuzz/support/PlainAnswer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace foundation::fuzz {
namespace {

using Verdict = PlainAnswer::Verdict;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string lowered(std::string_view text) {
    std::string result;
    for (const char c : text) {
        result += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    return result;
}

std::string_view trimmed(std::string_view text) {
    while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) {
        text.remove_prefix(1);
    }
    while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) {
        text.remove_suffix(1);
    }
    return text;
}

bool isToken(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) {
        return isDigit(c) || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
               std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
    });
}

class Reader {
public:
    Reader(std::string_view bytes, bool toHead) : rest_(bytes), toHead_(toHead) {}

    PlainAnswer read() {
        do {
            fields_.clear();
            if (!readHead()) {
                return std::move(answer_);
            }
            // A limit that is far away from the real ones.
            if (++blocks_ > 50) {
                doubt("many interim answers");
            }
        } while (answer_.code >= 100 && answer_.code <= 199 && answer_.code != 101);
        readBody();
        return std::move(answer_);
    }

private:
    void doubt(const char* reason) {
        if (answer_.verdict == Verdict::Whole) {
            answer_.verdict = Verdict::Lenient;
            answer_.reason = reason;
        }
    }
    bool breakOff(const char* reason) {
        answer_.verdict = Verdict::Broken;
        answer_.reason = reason;
        return false;
    }

    // Without its end; nothing where the bytes end before the line does.
    std::optional<std::string_view> takeLine() {
        const std::size_t end = rest_.find('\n');
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        std::string_view line = rest_.substr(0, end);
        rest_.remove_prefix(end + 1);
        if (line.ends_with('\r')) {
            line.remove_suffix(1);
        } else {
            doubt("a line ends with LF alone");
        }
        if (line.find_first_of(std::string_view("\r\0", 2)) != std::string_view::npos) {
            doubt("a line holds a CR or a NUL");
        }
        return line;
    }

    bool readHead() {
        const auto status = takeLine();
        if (!status.has_value()) {
            return breakOff("no status line");
        }
        readStatus(*status);
        for (;;) {
            const auto line = takeLine();
            if (!line.has_value()) {
                return breakOff("the head breaks off");
            }
            if (line->empty()) {
                return true;
            }
            readField(*line);
        }
    }

    void readStatus(std::string_view line) {
        const bool isVersion = line.starts_with("HTTP/1.1 ") || line.starts_with("HTTP/1.0 ");
        isOld_ = line.starts_with("HTTP/1.0");
        const std::string_view rest = isVersion ? line.substr(9) : std::string_view();
        const bool isCode = rest.size() >= 3 &&
                            std::all_of(rest.begin(), rest.begin() + 3, isDigit) &&
                            (rest.size() == 3 || rest[3] == ' ');
        if (!isCode) {
            doubt("no status line by the letter");
            // The first number behind the version.
            const std::size_t space = std::min(line.find(' '), line.size());
            const std::string_view text = trimmed(line.substr(space));
            answer_.code = 0;
            for (std::size_t i = 0; i < text.size() && i < 9 && isDigit(text[i]); ++i) {
                answer_.code = answer_.code * 10 + (text[i] - '0');
            }
            return;
        }
        answer_.code = (rest[0] - '0') * 100 + (rest[1] - '0') * 10 + (rest[2] - '0');
        if (answer_.code < 100 || answer_.code > 599) {
            doubt("no code of a known class");
        }
    }

    void readField(std::string_view line) {
        if (line.front() == ' ' || line.front() == '\t') {
            doubt("a folded line");
            if (!fields_.empty()) {
                fields_.back().second += ' ';
                fields_.back().second += trimmed(line);
            }
            return;
        }
        const std::size_t colon = line.find(':');
        if (colon == std::string_view::npos || !isToken(line.substr(0, colon))) {
            doubt("a line that is no field");
        }
        fields_.emplace_back(
            lowered(trimmed(line.substr(0, std::min(colon, line.size())))),
            colon == std::string_view::npos ? "" : trimmed(line.substr(colon + 1)));
        if (fields_.size() > 500) {
            doubt("many fields");
        }
    }

    // All members of the lists in all fields of a name.
    std::vector<std::string> membersOf(std::string_view name) const {
        std::vector<std::string> members;
        for (const auto& [field, value] : fields_) {
            if (field != name) {
                continue;
            }
            std::string_view list = value;
            for (;;) {
                const std::size_t comma = list.find(',');
                members.emplace_back(trimmed(list.substr(0, comma)));
                if (comma == std::string_view::npos) {
                    break;
                }
                list.remove_prefix(comma + 1);
            }
        }
        return members;
    }

    void readBody() {
        const int code = answer_.code;
        if (code == 101) {
            doubt("another protocol that nobody asked for");
        }
        if (code == 206 || !membersOf("content-range").empty()) {
            doubt("a range that nobody asked for");
        }
        readRange();
        const std::vector<std::string> codings = membersOf("transfer-encoding");
        const std::vector<std::string> lengths = membersOf("content-length");
        const bool hasLocation = !membersOf("location").empty();
        answer_.redirects = hasLocation && (code == 301 || code == 302 || code == 303 ||
                                            code == 307 || code == 308);
        if (toHead_ || code == 101 || code == 204 || code == 304) {
            if (!codings.empty() || !lengths.empty()) {
                doubt("framing of a body that is not there");
            }
            return;
        }
        if (!codings.empty()) {
            if (codings.size() > 1 || lowered(codings.front()) != "chunked") {
                breakOff("a coding that nobody asked for");
            } else if (!lengths.empty()) {
                breakOff("a length beside a coding");
            } else {
                if (isOld_) {
                    doubt("a coding that is newer than the version");
                }
                readChunks();
            }
        } else if (!lengths.empty()) {
            readLength(lengths);
        } else {
            answer_.body = rest_;
            answer_.received = rest_;
        }
    }

    // "bytes FIRST-LAST/TOTAL", TOTAL may be "*".
    void readRange() {
        for (const auto& [name, value] : fields_) {
            if (name == "etag") {
                answer_.etag = value;
            }
        }
        if (answer_.code != 206) {
            return;
        }
        answer_.rangeFirst = -1;
        std::string text;
        for (const auto& [name, value] : fields_) {
            if (name == "content-range") {
                text += value;
            }
        }
        const std::size_t dash = std::min(text.find('-'), text.size());
        const std::size_t slash = std::min(text.find('/'), text.size());
        if (text.starts_with("bytes ") && dash < slash && isNumber(text.substr(6, dash - 6))) {
            answer_.rangeFirst = std::stoll(text.substr(6, dash - 6));
            const std::string total = text.substr(std::min(slash + 1, text.size()));
            answer_.rangeTotal = isNumber(total) ? std::stoll(total) : -1;
        }
    }

    static bool isNumber(const std::string& text) {
        return !text.empty() && text.size() <= 18 && std::all_of(text.begin(), text.end(), isDigit);
    }

    void readLength(const std::vector<std::string>& lengths) {
        std::optional<std::uint64_t> length;
        for (const std::string& text : lengths) {
            if (!isNumber(text)) {
                breakOff("a length that is no number");
                return;
            }
            const std::uint64_t number = std::stoull(text);
            if (length.has_value() && *length != number) {
                breakOff("two lengths");
                return;
            }
            length = number;
        }
        if (lengths.size() > 1) {
            doubt("a length that is repeated");
        }
        answer_.received = rest_.substr(0, *length);
        if (*length > rest_.size()) {
            breakOff("the body is short");
            return;
        }
        answer_.body = rest_.substr(0, *length);
    }

    // One line of a chunked body, which ends with CR LF and nothing else.
    std::optional<std::string_view> takeExactLine() {
        const std::size_t end = rest_.find("\r\n");
        if (end == std::string_view::npos) {
            return std::nullopt;
        }
        const std::string_view line = rest_.substr(0, end);
        rest_.remove_prefix(end + 2);
        return line;
    }

    void readChunks() {
        for (;;) {
            const auto line = takeExactLine();
            if (!line.has_value()) {
                breakOff("no size of a chunk");
                return;
            }
            const std::optional<std::uint64_t> size = chunkSize(*line);
            if (!size.has_value()) {
                breakOff("a size that is none");
                return;
            }
            if (*size == 0) {
                break;
            }
            answer_.received += rest_.substr(0, *size);
            if (rest_.size() < *size || rest_.size() - *size < 2 ||
                rest_.substr(*size, 2) != "\r\n") {
                breakOff("a chunk that is short or does not end");
                return;
            }
            answer_.body += rest_.substr(0, *size);
            rest_.remove_prefix(*size + 2);
        }
        readTrailers();
    }

    std::optional<std::uint64_t> chunkSize(std::string_view line) {
        std::size_t digits = 0;
        std::uint64_t size = 0;
        const std::string hex = "0123456789abcdef";
        while (digits < line.size() && hex.find(lowered(line)[digits]) != std::string::npos) {
            if (digits >= 15) {
                return std::nullopt;
            }
            size = size * 16 + hex.find(lowered(line)[digits]);
            ++digits;
        }
        const std::string_view behind = trimmed(line.substr(digits));
        if (digits == 0 || (!behind.empty() && behind.front() != ';')) {
            return std::nullopt;
        }
        if (behind.find_first_of(std::string_view("\n\r\0", 3)) != std::string_view::npos) {
            return std::nullopt;
        }
        if (digits != line.size()) {
            doubt("an extension or a blank behind the size of a chunk");
        }
        return size;
    }

    void readTrailers() {
        for (;;) {
            const auto line = takeLine();
            if (!line.has_value()) {
                breakOff("the trailers break off");
                return;
            }
            if (line->empty()) {
                return;
            }
            doubt("trailers");
        }
    }

    std::string_view rest_;
    bool toHead_;
    bool isOld_ = false;
    int blocks_ = 0;
    std::vector<std::pair<std::string, std::string>> fields_;
    PlainAnswer answer_;
};

}  // namespace

PlainAnswer PlainAnswer::read(std::string_view bytes, bool toHead) {
    return Reader(bytes, toHead).read();
}

}  // namespace foundation::fuzz
