#pragma once
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// What a fuzz target says about its input: either everything holds, or the program ends here, which is
/// what the fuzzer takes for a find.
namespace foundation::fuzz {

/// Ends the program with what was violated and the particulars.
[[noreturn]] void violated(std::string_view what, const std::string& particulars);

inline void require(bool holds, std::string_view what, const std::string& particulars = {}) {
    if (!holds) {
        violated(what, particulars);
    }
}

/// Texts in quotes, with the bytes that a terminal does not show as \xNN.
/// @{
std::string shown(std::string_view text);
inline std::string shown(const std::string& text) {
    return shown(std::string_view(text));
}
inline std::string shown(const char* text) {
    return shown(std::string_view(text));
}
template <class First, class Second>
std::string shown(const std::pair<First, Second>& pair);
template <class T>
std::string shown(const std::vector<T>& list);
template <class T>
std::string shown(const T& value) {
    std::ostringstream text;
    text << value;
    return text.str();
}
template <class First, class Second>
std::string shown(const std::pair<First, Second>& pair) {
    return "(" + shown(pair.first) + ", " + shown(pair.second) + ")";
}
template <class T>
std::string shown(const std::vector<T>& list) {
    std::string text = "[";
    for (const T& each : list) {
        text += shown(each) + " ";
    }
    return text + "]";
}
/// @}

/// Ends the program unless both are the same.
template <class Actual, class Expected>
void requireSame(const Actual& actual, const Expected& expected, std::string_view what) {
    if (!(actual == expected)) {
        violated(what, "  is       " + shown(actual) + "\n  and not  " + shown(expected));
    }
}

}  // namespace foundation::fuzz
