#pragma once
#include "fuzz/support/Oracle.h"

#include <exception>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace foundation::fuzz {

/// What the action returns, or a description of the exception that left it. Exactly the exceptions that
/// parsers are documented to throw may leave.
template <class Action>
std::string outcomeOf(const Action& action) {
    try {
        return "gives " + action();
    } catch (const std::exception& error) {
        const std::string text = error.what();
        if (typeid(error) == typeid(std::runtime_error)) {
            return "runtime_error " + text;
        }
        if (typeid(error) == typeid(std::invalid_argument)) {
            return "invalid_argument " + text;
        }
        if (typeid(error) == typeid(std::out_of_range)) {
            return "out_of_range " + text;
        }
        if (typeid(error) == typeid(std::logic_error)) {
            return "logic_error " + text;
        }
        violated("only documented exceptions leave", typeid(error).name() + (" " + text));
    }
}

/// All pairs of a collection, or of whatever holds pairs, in order.
template <class Range>
std::vector<std::pair<std::string, std::string>> pairsOf(const Range& range) {
    return {range.begin(), range.end()};
}

}  // namespace foundation::fuzz
