#pragma once
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

/// Parsing and printing written down once more: with plain strings, a list of pairs and no look-up.
inline std::string decodePlainly(const std::string& text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const std::string digits = text[i] == '%' ? text.substr(i + 1, 2) : "";
        if (digits.size() == 2 &&
            digits.find_first_not_of("0123456789abcdefABCDEF") == std::string::npos) {
            result.push_back(static_cast<char>(std::stoi(digits, nullptr, 16)));
            i += 2;
        } else {
            result.push_back(text[i] == '+' ? ' ' : text[i]);
        }
    }
    return result;
}

struct PlainQuery {
    std::string raw;
    std::vector<std::pair<std::string, std::string>> pairs;

    explicit PlainQuery(const std::string& query) {
        raw = query.substr(0, 1) == "?" ? query.substr(1) : query;
        std::string entry;
        for (const char c : raw + "&") {
            if (c != '&') {
                entry += c;
                continue;
            }
            std::string key;
            std::string value;
            std::string* part = &key;
            for (const char e : entry) {
                if (e == '=' && part == &key) {
                    part = &value;
                } else {
                    *part += e;
                }
            }
            if (!key.empty()) {
                pairs.emplace_back(decodePlainly(key), decodePlainly(value));
            }
            entry.clear();
        }
    }

    void add(const std::string& key, const std::string& value) {
        pairs.emplace_back(key, value);
        raw += (raw.empty() ? "" : "&") + key + (value.empty() ? "" : "=" + value);
    }

    std::string print() const {
        std::string text;
        for (const auto& [key, value] : pairs) {
            text += text.empty() ? "?" : "&";
            text += encode(key);
            text += value.empty() ? "" : "=" + encode(value);
        }
        return text;
    }

    static std::string encode(const std::string& text) {
        static const std::string unreserved =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
        std::string result;
        for (const char c : text) {
            if (unreserved.find(c) != std::string::npos) {
                result += c;
            } else {
                const unsigned number = static_cast<unsigned char>(c);
                result += {'%', "0123456789ABCDEF"[number / 16], "0123456789ABCDEF"[number % 16]};
            }
        }
        return result;
    }
};

}  // namespace foundation::httpclient_core::testing
