#pragma once
#include "benchmarks/support/Row.h"
#include "benchmarks/support/Samples.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

/// URLs and queries. A `Side` of URLs has a type URL made from a text, `print`, and `read`, which
/// returns scheme, host, port and path in the form in which that library hands them out. A side of
/// queries has parse(text, take), which calls take(key, value) with each decoded parameter, and a
/// callable type Printer, made from decoded parameters.
namespace foundation::httpclient_core::benchmarks {

/// A URL and what was read from it, which may point into it.
template <class Side>
struct ReadURL {
    explicit ReadURL(const std::string& text) : url(text), parts(Side::read(url)) {}

    typename Side::URL url;
    decltype(Side::read(std::declval<const typename Side::URL&>())) parts;
};

template <class Side, class Visit>
void urlWorkloads(const Visit& visit) {
    for (const std::size_t length : {19U, 85U, 480U}) {
        const std::string label = std::to_string(length) + " characters";
        visit(Row{"URL split and read, " + label, samples::longParts(length)},
              [length] { return [text = samples::url(length)] { return ReadURL<Side>(text); }; });
        visit(Row{"URL split, " + label}, [length] {
            return [text = samples::url(length)] { return typename Side::URL(text); };
        });
        visit(Row{"URL split and print, " + label}, [length] {
            return [text = samples::url(length)] { return Side::print(typename Side::URL(text)); };
        });
    }
}

/// An operation that parses `text` and looks at each decoded parameter.
template <class Side>
auto parseQuery(std::string text) {
    return [text = std::move(text)] {
        std::size_t characters = 0;
        Side::parse(text, [&characters](const auto& key, const auto& value) {
            characters += key.size() + value.size();
            // Reads what was decoded.
            if (value.ends_with('x')) {
                ++characters;
            }
        });
        return characters;
    };
}

template <class Side, class Visit>
void queryWorkloads(const Visit& visit) {
    // The parameters and the text that the query is kept in.
    const std::uint64_t longStrings = samples::longStrings(samples::parameters()) + 1;
    visit(Row{"Query of 20: parse", longStrings},
          [] { return parseQuery<Side>(samples::query()); });
    if constexpr (requires { typename Side::Printer; }) {
        visit(Row{"Query of 20: print"},
              [] { return typename Side::Printer(samples::parameters()); });
    }
}

/// How the cost of a query grows with its parameters.
template <class Side, class Visit>
void growingQueryWorkloads(std::size_t count, const Visit& visit) {
    visit(Row{"Parse parameters", 0, static_cast<int>(count)},
          [count] { return parseQuery<Side>(samples::query(count)); });
}

}  // namespace foundation::httpclient_core::benchmarks
