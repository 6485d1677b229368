// Queries and percent-encoding against their plain transcription. The first line of the input is the query;
// each further line, cut at its first tab, is a parameter that is added.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Outcome.h"
#include "fuzz/support/Target.h"
#include "tests/url/PlainQuery.h"
#include "url/PercentDecode.h"

#include <foundation/httpclient_core/FormUrlEncoded.h>
#include <foundation/httpclient_core/PercentEncoder.h>
#include <foundation/httpclient_core/QueryParameters.h>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace foundation::fuzz {
namespace {

using namespace httpclient_core;
using httpclient_core::testing::decodePlainly;
using httpclient_core::testing::PlainQuery;

void coding(const std::string& text) {
    const std::string encoded = PercentEncoder("%20")(text);
    requireSame(encoded, PlainQuery::encode(text), "encoding");
    requireSame(percentDecode(encoded), text, "decoding of encoded text");
    requireSame(percentDecode(PercentEncoder("+")(text)), text,
                "decoding of text encoded for a form");
    requireSame(percentDecode(text), decodePlainly(text), "decoding");
    std::string place(text.size(), '\0');
    place.resize(static_cast<std::size_t>(percentDecodeByTable(text, place.data()) - place.data()));
    requireSame(place, decodePlainly(text), "decoding byte by byte");
    require(encoded.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                      "0123456789-._~%") == std::string::npos,
            "encoded text is plain", shown(encoded));
}

void same(const QueryParameters& query, const PlainQuery& model) {
    requireSame(pairsOf(query), model.pairs, "pairs");
    requireSame(query.toUnencodedString(), model.raw.empty() ? "" : "?" + model.raw, "raw text");
    requireSame(query.toString(), model.print(), "printed text");
    requireSame(query.size(), model.pairs.size(), "size");
    // A few of them: each is compared with all.
    constexpr std::size_t few = 8;
    for (std::size_t i = 0; i < std::min(few, model.pairs.size()); ++i) {
        const std::string& key = model.pairs[i].first;
        require(query.hasParameterKey(key), "a key that is there is found", shown(key));
        std::vector<std::string> values;
        for (const auto& [otherKey, otherValue] : model.pairs) {
            if (otherKey == key) {
                values.push_back(otherValue);
            }
        }
        requireSame(query.getAllParameterValues(key), values, "values of a key");
    }
}

// Printed text reads back as the same pairs and prints the same again.
void stable(const QueryParameters& query) {
    const std::string printed = query.toString();
    const QueryParameters again(printed);
    requireSame(pairsOf(again), pairsOf(query), "a printed query reads back");
    requireSame(again.toString(), printed, "a printed query prints the same again");
}

void form(const PlainQuery& model) {
    NameValueCollection fields;
    for (const auto& [key, value] : model.pairs) {
        fields.add(key, value);
    }
    const FormUrlEncoded body(fields);
    const std::unique_ptr<std::istream> stream = body.stream();
    const std::string text(std::istreambuf_iterator<char>(*stream), {});
    requireSame(body.contentLength(), text.size(), "length of a form");
    requireSame(pairsOf(QueryParameters(text)), model.pairs, "a form reads back");
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    std::string rest = textOf(data, size);
    coding(rest);
    const std::string text = takeLine(rest);
    QueryParameters query(text);
    PlainQuery model(text);
    same(query, model);
    stable(query);
    form(model);
    while (!rest.empty()) {
        const std::string line = takeLine(rest);
        const std::size_t tab = line.find('\t');
        const std::string key = line.substr(0, tab);
        const std::string value = tab == std::string::npos ? "" : line.substr(tab + 1);
        const std::string outcome = outcomeOf([&] {
            query.addQueryParameter(key, value);
            return std::string();
        });
        if (key.empty()) {
            requireSame(outcome, "logic_error Cannot add QueryParameter with an empty key",
                        "empty key");
        } else {
            requireSame(outcome, "gives ", "addQueryParameter");
            model.add(key, value);
        }
        same(query, model);
    }
    stable(query);
    return 0;
}
