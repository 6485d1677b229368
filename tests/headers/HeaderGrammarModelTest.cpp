#include "tests/headers/HeaderGrammarModel.h"
#include "tests/headers/RandomRun.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/Accept.h>
#include <foundation/httpclient_core/ContentType.h>
#include <foundation/httpclient_core/Cookie.h>
#include <foundation/httpclient_core/HttpHeaders.h>
#include <foundation/httpclient_core/SetCookie.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <exception>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

// The parsers against plain transcriptions of the rules in the documentation, on random texts.
namespace foundation::httpclient_core {
namespace {

using testing::LogCapture;
using testing::RandomRun;

namespace model = testing::model;
using model::Pair;
using model::Pairs;
using model::Strings;

// What an operation did: a description of its result, or of the exception that left it.
template <class Action>
std::string outcome(const Action& action) {
    try {
        return action();
    } catch (const std::invalid_argument& error) {
        return std::string("invalid_argument ") + error.what();
    } catch (const std::runtime_error& error) {
        return std::string("runtime_error ") + error.what();
    }
}

std::string describe(const std::string& text) {
    return "[" + text + "]";
}

std::string describe(const Pair& pair) {
    return describe(pair.first) + describe(pair.second);
}

template <class Range>
std::string describeAll(const Range& range) {
    std::string text;
    for (const auto& element : range) {
        text += describe(element) + "\n";
    }
    return text;
}

class HeaderGrammarModelTest : public ::testing::Test {
protected:
    // Compares the two on every text and checks that exactly the failures left a record behind.
    template <class Actual, class Expected>
    void compare(const Actual& actual, const Expected& expected) {
        SCOPED_TRACE(::testing::Message() << random_);
        for (std::uint64_t turn = 0; turn < random_.operations(); ++turn) {
            const std::string text = random_.text(alphabet, 24);
            const std::string wanted = outcome([&] { return expected(text); });
            ASSERT_EQ(outcome([&] { return actual(text); }), wanted)
                << "turn " << turn << " text <" << text << ">";
            const bool failed = wanted.starts_with("runtime_error ");
            // A refused Set-Cookie may leave a record or not; its own tests know which.
            if (!wanted.starts_with("invalid_argument ")) {
                ASSERT_EQ(log_.records().size(), failed ? 1U : 0U) << "text <" << text << ">";
                if (failed) {
                    // what() ends at the first NUL, the record does not.
                    const std::string record = log_.records().front().text.c_str();
                    ASSERT_EQ("runtime_error " + record, wanted);
                    ASSERT_EQ(log_.records().front().severity, 4);
                }
            }
            log_.clear();
        }
    }

    // Few characters, so that structure is frequent.
    const std::string alphabet{"ab=;,= ;\t\r\n\v:\"\0\xE9", 16};
    RandomRun random_{4000};
    LogCapture log_;
};

TEST_F(HeaderGrammarModelTest, SplitElements) {
    for (const bool skipEmpty : {false, true}) {
        for (const char* separators : {",", ";", ",;", "", " "}) {
            const auto actual = [&](const std::string& text) {
                Strings elements;
                HttpHeaders::splitElements(
                    text, [&](const std::string& element) { elements.push_back(element); },
                    separators, skipEmpty);
                return describeAll(elements);
            };
            const auto expected = [&](const std::string& text) {
                return describeAll(model::splitElements(text, separators, skipEmpty));
            };
            compare(actual, expected);
        }
    }
}

TEST_F(HeaderGrammarModelTest, SplitParameter) {
    for (const bool allowMissing : {false, true}) {
        for (const char* delimiter : {"=", ":", "ab", "", "=; "}) {
            const auto actual = [&](const std::string& text) {
                return describe(HttpHeaders::splitParameter(text, delimiter, allowMissing));
            };
            const auto expected = [&](const std::string& text) {
                return describe(model::splitParameter(text, delimiter, allowMissing));
            };
            compare(actual, expected);
        }
    }
}

TEST_F(HeaderGrammarModelTest, SplitParameters) {
    for (const char* separators : {";", ";,", ""}) {
        const auto actual = [&](const std::string& text) {
            const auto [mainValue, parameters] = HttpHeaders::splitParameters(text, separators);
            return describe(mainValue) + describeAll(parameters);
        };
        const auto expected = [&](const std::string& text) {
            const auto [mainValue, parameters] = model::splitParameters(text, separators);
            return describe(mainValue) + describeAll(parameters);
        };
        compare(actual, expected);
    }
}

TEST_F(HeaderGrammarModelTest, AddHeader) {
    const auto actual = [](const std::string& text) {
        HttpHeaders headers;
        headers.addHeader(text);
        return describeAll(headers);
    };
    const auto expected = [](const std::string& text) {
        const Pair field = model::splitParameter(text, ":", false);
        return field.first.empty() ? std::string() : describeAll(Pairs{field});
    };
    compare(actual, expected);
}

TEST_F(HeaderGrammarModelTest, ContentType) {
    const auto actual = [](const std::string& text) {
        const ContentType type = ContentType::parse(text);
        return describe(type.getType()) + describeAll(type.getParameters()) + type.toString();
    };
    const auto expected = [](const std::string& text) {
        const auto type = model::contentType(text);
        return describe(type.first) + describeAll(type.second) + model::contentTypeText(type);
    };
    compare(actual, expected);
}

TEST_F(HeaderGrammarModelTest, Accept) {
    const auto actual = [](const std::string& text) {
        const Accept accept = Accept::parse(text);
        std::string types;
        for (const ContentType& type : accept) {
            types += describe(type.getType()) + describeAll(type.getParameters());
        }
        return types + accept.toString();
    };
    const auto expected = [](const std::string& text) {
        std::string types;
        std::string printed;
        for (const std::string& element : model::splitElements(text, ",", true)) {
            const auto type = model::contentType(element);
            types += describe(type.first) + describeAll(type.second);
            printed += model::contentTypeText(type) + ", ";
        }
        return types + printed.substr(0, printed.empty() ? 0 : printed.size() - 2);
    };
    compare(actual, expected);
}

TEST_F(HeaderGrammarModelTest, Cookie) {
    const auto actual = [](const std::string& text) {
        const NameValueCollection cookies = Cookie::parse(text);
        return describeAll(cookies) + Cookie::toString(cookies);
    };
    const auto expected = [](const std::string& text) {
        const Pairs cookies = model::cookie(text);
        return describeAll(cookies) + model::joined(cookies, "; ");
    };
    compare(actual, expected);
}

TEST_F(HeaderGrammarModelTest, SetCookie) {
    const auto actual = [](const std::string& text) {
        const SetCookie cookie = SetCookie::parse(text);
        return describe(Pair(cookie.name, cookie.value)) + describeAll(cookie.attributes);
    };
    const auto expected = [](const std::string& text) {
        Pairs pairs = model::setCookie(text);
        const Pair first = pairs.front();
        pairs.erase(pairs.begin());
        return describe(first) + describeAll(pairs);
    };
    compare(actual, expected);
}

// What was printed parses back to what was printed from, for every text that parses at all.
TEST_F(HeaderGrammarModelTest, PrintedTextsParseToThemselves) {
    SCOPED_TRACE(::testing::Message() << random_);
    std::size_t parsed = 0;
    for (std::uint64_t turn = 0; turn < random_.operations(); ++turn) {
        const std::string text = random_.text(alphabet, 12);
        try {
            const NameValueCollection cookies = Cookie::parse(text);
            ASSERT_EQ(Cookie::parse(Cookie::toString(cookies)), cookies) << "text <" << text << ">";
            const std::string printed = ContentType::parse(text).toString();
            ASSERT_EQ(ContentType::parse(printed).toString(), printed) << "text <" << text << ">";
            ++parsed;
        } catch (const std::runtime_error&) {
            log_.clear();
        }
    }
    EXPECT_GT(parsed, random_.operations() / 50);
}

}  // namespace
}  // namespace foundation::httpclient_core
