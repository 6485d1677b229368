#pragma once
#include "benchmarks/support/Row.h"
#include "benchmarks/support/Samples.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

/// What is done with header fields. A `Side` is a struct of static functions over one library's
/// collection: `Headers`, add, valueSize (0 where the name is missing), all, erase, and the callable
/// types Parser and Printer. What a library has no counterpart for, its side leaves out.
namespace foundation::httpclient_core::benchmarks {

template <class Side>
typename Side::Headers filled(const samples::Fields& fields) {
    typename Side::Headers headers;
    for (const auto& [name, value] : fields) {
        Side::add(headers, name, value);
    }
    return headers;
}

/// An operation that looks up every one of `names` and adds the sizes of the values found.
template <class Side>
auto lookUp(std::size_t count, std::vector<std::string> names) {
    return [headers = filled<Side>(samples::headers(count)), names = std::move(names)] {
        std::size_t characters = 0;
        for (const std::string& name : names) {
            characters += Side::valueSize(headers, name);
        }
        return characters;
    };
}

/// Calls visit(row, prepare) for each workload that makes collections; prepare() returns the operation.
/// The side needs no more than `Headers` and add.
template <class Side, class Visit>
void fillingWorkloads(const Visit& visit) {
    for (const std::size_t count : {14U, 18U, 60U}) {
        const std::uint64_t longStrings = samples::longStrings(samples::headers(count));
        visit(Row{"Build " + std::to_string(count) + " headers", longStrings}, [count] {
            return [fields = samples::headers(count)] { return filled<Side>(fields); };
        });
    }
    for (const std::size_t count : {14U, 60U}) {
        const std::uint64_t longStrings = samples::longStrings(samples::headers(count));
        visit(Row{"Copy " + std::to_string(count) + " headers", longStrings}, [count] {
            return [headers = filled<Side>(samples::headers(count))] {
                return typename Side::Headers(headers);
            };
        });
    }
}

/// The same for each workload.
template <class Side, class Visit>
void headerWorkloads(const Visit& visit) {
    constexpr int names = 16;
    fillingWorkloads<Side>(visit);
    for (const std::size_t count : {18U, 60U, 10000U}) {
        visit(Row{"Look-up hit in " + std::to_string(count), 0, names},
              [count] { return lookUp<Side>(count, samples::presentNames(count)); });
    }
    for (const std::size_t count : {18U, 60U}) {
        visit(Row{"Look-up miss in " + std::to_string(count), 0, names},
              [count] { return lookUp<Side>(count, samples::absentNames()); });
    }
    const std::string cookies = "Set-Cookie";
    visit(Row{"getAll 4 of 18", samples::longValues(samples::headers(18), cookies)}, [cookies] {
        return [headers = filled<Side>(samples::headers(18)), cookies] {
            return Side::all(headers, cookies);
        };
    });
    visit(Row{"Erase one of 18 and add it again"}, [] {
        return [headers = filled<Side>(samples::headers(18)), name = std::string("Content-Length"),
                value = std::string("48213")]() mutable {
            Side::erase(headers, name);
            Side::add(headers, name, value);
            return Side::valueSize(headers, name);
        };
    });
    if constexpr (requires { typename Side::Parser; }) {
        visit(Row{"Parse 18 header lines", samples::longStrings(samples::headers(18))}, [] {
            return [block = samples::headerBlock(18), parse = typename Side::Parser()]() mutable {
                return parse(block);
            };
        });
    }
    if constexpr (requires { typename Side::Printer; }) {
        visit(Row{"Print 14 headers"},
              [] { return typename Side::Printer(filled<Side>(samples::headers(14))); });
    }
}

/// How the cost grows: headers added one by one, and names looked up among them.
template <class Side, class Visit>
void growingHeaderWorkloads(std::size_t count, const Visit& visit) {
    visit(Row{"Add headers", 0, static_cast<int>(count)},
          [count] { return [fields = samples::headers(count)] { return filled<Side>(fields); }; });
    visit(Row{"Look up among headers", 0, 16},
          [count] { return lookUp<Side>(count, samples::presentNames(count)); });
}

}  // namespace foundation::httpclient_core::benchmarks
