#pragma once
#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The rules of the header texts transcribed from the documentation, character by character and without
/// any code of the library, for comparisons with it.
namespace foundation::httpclient_core::testing::model {

using Pair = std::pair<std::string, std::string>;
using Pairs = std::vector<Pair>;
using Strings = std::vector<std::string>;

inline bool isBlank(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

inline std::string trim(std::string text) {
    while (!text.empty() && isBlank(text.back())) {
        text.pop_back();
    }
    while (!text.empty() && isBlank(text.front())) {
        text.erase(0, 1);
    }
    return text;
}

inline Strings cut(const std::string& text, const std::string& separators) {
    Strings elements(1);
    for (const char c : text) {
        bool isSeparator = false;
        for (const char separator : separators) {
            isSeparator = isSeparator || c == separator;
        }
        if (isSeparator) {
            elements.emplace_back();
        } else {
            elements.back().push_back(c);
        }
    }
    return elements;
}

inline Strings splitElements(const std::string& text,
                             const std::string& separators,
                             bool skipEmpty) {
    Strings elements;
    for (const std::string& raw : cut(text, separators)) {
        const std::string element = trim(raw);
        if (!skipEmpty || !element.empty()) {
            elements.push_back(element);
        }
    }
    return elements;
}

inline Pair splitParameter(const std::string& text,
                           const std::string& delimiter,
                           bool allowMissing) {
    const std::string whole = trim(text);
    if (whole.empty()) {
        return {};
    }
    for (std::size_t start = 0; start + delimiter.size() <= whole.size(); ++start) {
        if (whole.compare(start, delimiter.size(), delimiter) == 0) {
            std::string value;
            for (std::size_t i = start + 1; i < whole.size(); ++i) {
                value.push_back(whole[i]);
            }
            return {trim(whole.substr(0, start)), trim(value)};
        }
    }
    if (!allowMissing) {
        throw std::runtime_error("Missing delimiter <" + delimiter + "> when parsing : <" + text +
                                 ">");
    }
    return {whole, ""};
}

inline std::pair<std::string, Pairs> splitParameters(const std::string& text,
                                                     const std::string& separators) {
    std::string mainValue;
    Pairs parameters;
    for (const std::string& element : cut(text, separators)) {
        if (mainValue.empty()) {
            mainValue = element;
        } else {
            parameters.push_back(splitParameter(element, "=", false));
        }
    }
    return {mainValue, parameters};
}

inline std::string joined(const Pairs& pairs, const std::string& separator) {
    std::string text;
    for (std::size_t i = 0; i < pairs.size(); ++i) {
        text += (i == 0 ? "" : separator) + pairs[i].first + "=" + pairs[i].second;
    }
    return text;
}

inline std::pair<std::string, Pairs> contentType(const std::string& text) {
    const auto result = splitParameters(text, ";");
    for (const Pair& parameter : result.second) {
        if (parameter.second.empty()) {
            throw std::runtime_error("Missing parameter value for <" + parameter.first + ">");
        }
    }
    return result;
}

inline std::string contentTypeText(const std::pair<std::string, Pairs>& type) {
    return type.second.empty() ? type.first : type.first + "; " + joined(type.second, ";");
}

inline Pairs cookie(const std::string& text) {
    Pairs pairs;
    for (const std::string& element : splitElements(text, ";", true)) {
        pairs.push_back(splitParameter(element, "=", false));
    }
    return pairs;
}

// The name and value first, then the attributes.
inline Pairs setCookie(const std::string& text) {
    Pairs pairs;
    for (const std::string& element : splitElements(text, ";", true)) {
        if (pairs.empty() && element.find('=') == std::string::npos) {
            break;
        }
        pairs.push_back(splitParameter(element, "=", true));
    }
    if (pairs.empty() || pairs.front().first.empty()) {
        throw std::invalid_argument(
            "Malformed Set-Cookie header: missing 'name=value' before attributes: <" + text + ">");
    }
    return pairs;
}

}  // namespace foundation::httpclient_core::testing::model
