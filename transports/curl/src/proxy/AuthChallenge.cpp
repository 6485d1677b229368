#include "proxy/AuthChallenge.h"

#include "request/HeaderText.h"

namespace foundation::httpclient_curl {
namespace {

constexpr std::string_view blanks = " \t";

class Reader {
public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool atEnd() const { return rest_.empty(); }
    void skip(std::string_view characters) {
        rest_.remove_prefix(std::min(rest_.find_first_not_of(characters), rest_.size()));
    }
    bool take(char expected) {
        if (rest_.empty() || rest_.front() != expected) {
            return false;
        }
        rest_.remove_prefix(1);
        return true;
    }
    // A token, or the longer text that Negotiate puts in the place of parameters.
    std::string takeWord() {
        const std::size_t size = std::min(rest_.find_first_of(" \t,=\""), rest_.size());
        std::string word(rest_.substr(0, size));
        rest_.remove_prefix(size);
        return word;
    }
    std::string takeQuoted() {
        std::string text;
        while (!rest_.empty() && rest_.front() != '"') {
            if (rest_.front() == '\\' && rest_.size() > 1) {
                rest_.remove_prefix(1);
            }
            text += rest_.front();
            rest_.remove_prefix(1);
        }
        take('"');
        return text;
    }

private:
    std::string_view rest_;
};

}  // namespace

bool AuthChallenge::isOf(std::string_view name) const {
    return sameName(scheme, name);
}

std::string AuthChallenge::parameter(std::string_view name) const {
    for (const auto& [candidate, value] : parameters) {
        if (sameName(candidate, name)) {
            return value;
        }
    }
    return {};
}

std::vector<AuthChallenge> parseChallenges(std::string_view value) {
    std::vector<AuthChallenge> challenges;
    Reader reader(value);
    reader.skip(" \t,");
    while (!reader.atEnd()) {
        std::string word = reader.takeWord();
        reader.skip(blanks);
        if (word.empty()) {
            // A stray "=" or quoted text.
            if (reader.take('"')) {
                reader.takeQuoted();
            } else {
                reader.take('=');
            }
        } else if (reader.take('=')) {
            reader.skip(blanks);
            std::string text = reader.take('"') ? reader.takeQuoted() : reader.takeWord();
            if (!challenges.empty()) {
                challenges.back().parameters.emplace_back(std::move(word), std::move(text));
            }
        } else if (isToken(word)) {
            challenges.push_back({std::move(word), {}});
        }
        reader.skip(" \t,");
    }
    return challenges;
}

}  // namespace foundation::httpclient_curl
