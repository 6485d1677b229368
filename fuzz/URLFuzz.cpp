// URLs against their plain transcription, and printing that is stable. The first line of the input is the
// URL; each further line is a setter, named by its first character, and its argument.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Outcome.h"
#include "fuzz/support/Target.h"
#include "tests/url/PlainQuery.h"
#include "tests/url/PlainURL.h"

#include <foundation/httpclient_core/URL.h>

#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

namespace foundation::fuzz {
namespace {

using namespace httpclient_core;
using httpclient_core::testing::outcome;
using httpclient_core::testing::PlainQuery;
using httpclient_core::testing::PlainURL;

std::vector<std::string> partsOf(const URL& url) {
    return {"",
            url.getProtocol(),
            url.getDomain(),
            std::to_string(url.getPort()),
            url.getPath(),
            url.getQueryParameters().toUnencodedString(),
            url.getFragment(),
            url.toAsciiString()};
}

void same(const URL& url, const PlainURL& model) {
    requireSame(partsOf(url), outcome(model), "parts");
    require(url.hasFragment() == !model.fragment.empty(), "hasFragment", shown(model.fragment));
    requireSame(pairsOf(url.getQueryParameters()), PlainQuery("?" + model.rawQuery).pairs,
                "pairs of the query");
    std::ostringstream text;
    text << url;
    requireSame(text.str(), model.print(), "text in a stream");
    const URL copy(url);
    require(copy == url, "a copy is equal", model.print());
}

void set(URL& url, PlainURL& model, char field, const std::string& text) {
    switch (field) {
        case 's':
            url.setProtocol(text);
            model.protocol = text;
            break;
        case 'h':
            url.setDomain(text);
            model.domain = text;
            break;
        case ':':
            model.port = static_cast<std::uint16_t>(text.empty() ? 0 : text.front() * 257);
            url.setPort(model.port);
            break;
        case '/':
            url.setPath(text);
            model.path = text;
            break;
        case '?':
            url.setQueryParameters(QueryParameters(text));
            model.rawQuery = PlainQuery(text).raw;
            break;
        case '#':
            url.setFragment(text);
            model.fragment = text;
            break;
        default:
            break;
    }
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    std::string rest = textOf(data, size);
    const std::string text = takeLine(rest);
    PlainURL model(text);
    const std::vector<std::string> parts = outcome(text);
    requireSame(parts, outcome(model), "cuts of a text");
    if (!model.error.empty()) {
        return 0;
    }
    // An empty protocol loses its mark, which then no longer hides another one.
    if (!text.starts_with("://")) {
        requireSame(outcome(model.print()), parts, "a printed URL reads back");
    }
    URL url(text);
    same(url, model);
    while (!rest.empty()) {
        const std::string line = takeLine(rest);
        if (!line.empty()) {
            set(url, model, line.front(), line.substr(1));
            same(url, model);
        }
    }
    return 0;
}
