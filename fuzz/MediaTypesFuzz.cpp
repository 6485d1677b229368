// ContentType and Accept against their plain transcription; what is printed parses to itself.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/Outcome.h"
#include "fuzz/support/Target.h"
#include "tests/headers/HeaderGrammarModel.h"

#include <foundation/httpclient_core/Accept.h>
#include <foundation/httpclient_core/ContentType.h>

#include <algorithm>
#include <string>

namespace foundation::fuzz {
namespace {

using httpclient_core::Accept;
using httpclient_core::ContentType;
namespace model = httpclient_core::testing::model;

std::string described(const ContentType& type) {
    return shown(type.getType()) + shown(pairsOf(type.getParameters()));
}

void contentType(const std::string& text) {
    requireSame(outcomeOf([&] {
                    const ContentType type = ContentType::parse(text);
                    const std::string printed = type.toString();
                    requireSame(ContentType::parse(printed).toString(), printed,
                                "a printed media type prints the same again");
                    // The printed text begins with the type; the parameters behind it are trimmed.
                    require(ContentType::parse(printed) == type, "a printed media type reads back",
                            shown(printed));
                    return described(type) + printed;
                }),
                outcomeOf([&] {
                    const auto type = model::contentType(text);
                    return shown(type.first) + shown(type.second) + model::contentTypeText(type);
                }),
                "ContentType::parse");
}

// A type keeps the blanks around it, which a list does not.
bool isTrimmed(const ContentType& type) {
    return !type.getType().empty() && model::trim(type.getType()) == type.getType();
}

void accept(const std::string& text) {
    requireSame(outcomeOf([&] {
                    const Accept accept = Accept::parse(text);
                    std::string types = std::to_string(accept.size());
                    for (const ContentType& type : accept) {
                        types += described(type);
                    }
                    const std::string printed = accept.toString();
                    if (std::all_of(accept.begin(), accept.end(), isTrimmed)) {
                        require(Accept::parse(printed) == accept, "a printed Accept reads back",
                                shown(printed));
                    }
                    return types + printed;
                }),
                outcomeOf([&] {
                    std::string types;
                    std::string printed;
                    std::size_t count = 0;
                    for (const std::string& element : model::splitElements(text, ",", true)) {
                        const auto type = model::contentType(element);
                        types += shown(type.first) + shown(type.second);
                        printed += (count++ == 0 ? "" : ", ") + model::contentTypeText(type);
                    }
                    return std::to_string(count) + types + printed;
                }),
                "Accept::parse");
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    const std::string text = textOf(data, size);
    contentType(text);
    accept(text);
    return 0;
}
