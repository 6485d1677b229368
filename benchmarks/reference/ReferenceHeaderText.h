#pragma once
#include "benchmarks/reference/ReferenceHeaders.h"

#include <cstddef>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::benchmarks {

inline std::string referenceTrim(std::string text) {
    const std::string whitespace = " \n\r\t";
    text.erase(0, text.find_first_not_of(whitespace));
    text.erase(text.find_last_not_of(whitespace) + 1);
    return text;
}

/// The trimmed elements of a list, without the empty ones.
inline std::vector<std::string> referenceElements(std::string text, char separator) {
    std::vector<std::string> elements;
    while (!text.empty()) {
        const std::size_t cut = text.find(separator);
        const std::string element = referenceTrim(text.substr(0, cut));
        if (!element.empty()) {
            elements.push_back(element);
        }
        text = cut == std::string::npos ? std::string() : text.substr(cut + 1);
    }
    return elements;
}

inline std::pair<std::string, std::string> referenceParameter(std::string text,
                                                              char delimiter,
                                                              bool allowMissingDelimiter) {
    text = referenceTrim(text);
    const std::size_t cut = text.find(delimiter);
    if (cut == std::string::npos) {
        if (!allowMissingDelimiter) {
            throw std::runtime_error("Missing delimiter");
        }
        return {text, ""};
    }
    return {referenceTrim(text.substr(0, cut)), referenceTrim(text.substr(cut + 1))};
}

/// A text of elements, the first of which is a value of its own: a media type, a Set-Cookie field.
struct ReferenceValue {
    std::string value;
    ReferenceHeaders parameters;
};

inline ReferenceValue referenceContentType(const std::string& text) {
    ReferenceValue result;
    for (const std::string& element : referenceElements(text, ';')) {
        if (result.value.empty()) {
            result.value = element;
        } else {
            const auto [name, value] = referenceParameter(element, '=', false);
            result.parameters.add(name, value);
        }
    }
    return result;
}

inline std::vector<ReferenceValue> referenceAccept(const std::string& text) {
    std::vector<ReferenceValue> types;
    for (const std::string& element : referenceElements(text, ',')) {
        types.push_back(referenceContentType(element));
    }
    return types;
}

inline ReferenceHeaders referenceCookie(const std::string& text) {
    ReferenceHeaders cookies;
    for (const std::string& element : referenceElements(text, ';')) {
        const auto [name, value] = referenceParameter(element, '=', false);
        cookies.add(name, value);
    }
    return cookies;
}

/// The attributes of a Set-Cookie text, after its name and value.
inline std::pair<std::pair<std::string, std::string>, ReferenceHeaders> referenceSetCookie(
    const std::string& text) {
    std::pair<std::pair<std::string, std::string>, ReferenceHeaders> cookie;
    for (const std::string& element : referenceElements(text, ';')) {
        if (cookie.first.first.empty()) {
            cookie.first = referenceParameter(element, '=', false);
        } else {
            const auto [name, value] = referenceParameter(element, '=', true);
            cookie.second.add(name, value);
        }
    }
    return cookie;
}

}  // namespace foundation::httpclient_core::benchmarks
