// The splitters of header texts and addHeader() against their plain transcription. The first line of the
// input is a set of separators and a delimiter as well, the rest is the text.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Outcome.h"
#include "fuzz/support/Target.h"
#include "tests/headers/HeaderGrammarModel.h"

#include <foundation/httpclient_core/HttpHeaders.h>

#include <string>
#include <vector>

namespace foundation::fuzz {
namespace {

using httpclient_core::HttpHeaders;
namespace model = httpclient_core::testing::model;

void splitElements(const std::string& text, const std::string& separators, bool skipEmpty) {
    model::Strings elements;
    HttpHeaders::splitElements(
        text, [&](const std::string& element) { elements.push_back(element); }, separators,
        skipEmpty);
    requireSame(elements, model::splitElements(text, separators, skipEmpty), "splitElements");
}

void splitParameter(const std::string& text, const std::string& delimiter, bool allowMissing) {
    requireSame(
        outcomeOf(
            [&] { return shown(HttpHeaders::splitParameter(text, delimiter, allowMissing)); }),
        outcomeOf([&] { return shown(model::splitParameter(text, delimiter, allowMissing)); }),
        "splitParameter");
}

void splitParameters(const std::string& text, const std::string& separators) {
    requireSame(outcomeOf([&] {
                    const auto [value, parameters] = HttpHeaders::splitParameters(text, separators);
                    return shown(value) + shown(pairsOf(parameters));
                }),
                outcomeOf([&] {
                    const auto [value, parameters] = model::splitParameters(text, separators);
                    return shown(value) + shown(parameters);
                }),
                "splitParameters");
}

// Adds each line to one collection. A refused line leaves it as it was; an added one is found again, and
// its printed form adds the same field.
void addLines(const std::string& text) {
    HttpHeaders headers;
    model::Pairs expected;
    for (const std::string& line : model::cut(text, "\n")) {
        const std::string outcome = outcomeOf([&] {
            headers.addHeader(line);
            return std::string();
        });
        requireSame(outcome, outcomeOf([&] {
                        const model::Pair field = model::splitParameter(line, ":", false);
                        if (!field.first.empty()) {
                            expected.push_back(field);
                        }
                        return std::string();
                    }),
                    "addHeader");
        requireSame(headers.size(), expected.size(), "fields after addHeader");
    }
    requireSame(pairsOf(headers), expected, "fields in the end");
    for (const auto& [name, value] : expected) {
        require(headers.hasHeader(name), "a field that was added is found", shown(name));
        HttpHeaders again;
        again.addHeader(name + ": " + value);
        requireSame(pairsOf(again), model::Pairs{{name, value}}, "a printed field reads back");
    }
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    std::string text = textOf(data, size);
    addLines(text);
    const std::string marks = takeLine(text);
    for (const std::string& each : {std::string(","), std::string(";"), std::string("="),
                                    std::string(":"), std::string(), marks}) {
        splitParameters(text, each);
        for (const bool flag : {false, true}) {
            splitElements(text, each, flag);
            splitParameter(text, each, flag);
        }
    }
    return 0;
}
