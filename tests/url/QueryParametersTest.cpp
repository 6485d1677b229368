#include "tests/support/LogCapture.h"
#include "tests/support/RandomRuns.h"
#include "tests/support/ThrowsExactly.h"
#include "tests/url/PlainQuery.h"
#include "tests/url/RandomTexts.h"

#include <foundation/httpclient_core/LoggingChannels.h>
#include <foundation/httpclient_core/QueryParameters.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::LogCapture;
using testing::PlainQuery;
using testing::randomRuns;
using testing::RandomTexts;
using testing::throwsExactly;

using Pairs = std::vector<std::pair<std::string, std::string>>;

Pairs pairsOf(const QueryParameters& query) {
    return {query.begin(), query.end()};
}

TEST(QueryParametersTest, ParsesExtendsAndPrintsAQuery) {
    QueryParameters query("?q=http+client&page=2");
    query.addQueryParameter("sort", "by date");
    EXPECT_EQ(query.getParameterValue("q"), "http client");
    EXPECT_EQ(query.toString(), "?q=http%20client&page=2&sort=by%20date");
    EXPECT_EQ(query.toUnencodedString(), "?q=http+client&page=2&sort=by date");
}

struct Row {
    const char* label;
    const char* text;
    Pairs pairs;
    const char* printed;
    const char* raw;
    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.label; }
};

class QueryParametersTableTest : public ::testing::TestWithParam<Row> {};

TEST_P(QueryParametersTableTest, Parses) {
    const LogCapture log;
    const QueryParameters query{std::string(GetParam().text)};
    EXPECT_EQ(pairsOf(query), GetParam().pairs);
    EXPECT_EQ(query.size(), GetParam().pairs.size());
    EXPECT_EQ(query.empty(), GetParam().pairs.empty());
    EXPECT_EQ(query.toString(), GetParam().printed);
    EXPECT_EQ(query.toUnencodedString(), GetParam().raw);
    EXPECT_THAT(log.records(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Parsing,
    QueryParametersTableTest,
    ::testing::Values(
        Row{"Empty", "", {}, "", ""},
        Row{"QuestionMarkOnly", "?", {}, "", ""},
        Row{"EmptyValuesAndKeysAndEntries",
            "?a=1&b=&c&=d&&e=x=y",
            {{"a", "1"}, {"b", ""}, {"c", ""}, {"e", "x=y"}},
            "?a=1&b&c&e=x%3Dy",
            "?a=1&b=&c&=d&&e=x=y"},
        Row{"PlusAndEscapedSpace", "a+b=c%20d", {{"a b", "c d"}}, "?a%20b=c%20d", "?a+b=c%20d"},
        Row{"EscapesOfBothCases", "%41%4a%4A=1", {{"AJJ", "1"}}, "?AJJ=1", "?%41%4a%4A=1"},
        Row{"BadEscapesStay",
            "a=%G1&b=%&c=%4",
            {{"a", "%G1"}, {"b", "%"}, {"c", "%4"}},
            "?a=%25G1&b=%25&c=%254",
            "?a=%G1&b=%&c=%4"},
        Row{"OnlyOneQuestionMarkIsTaken", "??a=1", {{"?a", "1"}}, "?%3Fa=1", "??a=1"},
        Row{"WithoutQuestionMark", "a=1", {{"a", "1"}}, "?a=1", "?a=1"},
        Row{"TrailingSeparator", "a=1&", {{"a", "1"}}, "?a=1", "?a=1&"},
        Row{"LeadingSeparators", "&&a=1", {{"a", "1"}}, "?a=1", "?&&a=1"},
        Row{"OnlyDroppedEntries", "=d&=&&", {}, "", "?=d&=&&"},
        Row{"DuplicatesStayInOrder",
            "k=2&K=1&k=2",
            {{"k", "2"}, {"K", "1"}, {"k", "2"}},
            "?k=2&K=1&k=2",
            "?k=2&K=1&k=2"},
        Row{"EscapedSeparatorsDoNotSeparate",
            "a%26b=c%3Dd",
            {{"a&b", "c=d"}},
            "?a%26b=c%3Dd",
            "?a%26b=c%3Dd"},
        Row{"SemicolonDoesNotSeparate", "a=1;b=2", {{"a", "1;b=2"}}, "?a=1%3Bb%3D2", "?a=1;b=2"},
        Row{"FragmentMarkIsText", "a=1#b", {{"a", "1#b"}}, "?a=1%23b", "?a=1#b"},
        Row{"UTF8", "q=\xC3\xA9", {{"q", "\xC3\xA9"}}, "?q=%C3%A9", "?q=\xC3\xA9"},
        Row{"HighBytes", "q=%80%ff", {{"q", "\x80\xFF"}}, "?q=%80%FF", "?q=%80%ff"}),
    [](const auto& row) { return row.param.label; });

TEST(QueryParametersTest, EscapedZeroByteIsPartOfTheValue) {
    const QueryParameters query("a=x%00y");
    EXPECT_EQ(query.getParameterValue("a"), std::string("x\0y", 3));
    EXPECT_EQ(query.toString(), "?a=x%00y");
}

TEST(QueryParametersTest, DefaultIsEmptyWithTheUsualSeparators) {
    const QueryParameters query;
    EXPECT_TRUE(query.empty());
    EXPECT_EQ(query.size(), 0U);
    EXPECT_EQ(query.toString(), "");
    EXPECT_EQ(query.toUnencodedString(), "");
    EXPECT_EQ(query.getEntrySep(), "&");
    EXPECT_EQ(query.getKeyValueSep(), "=");
}

TEST(QueryParametersTest, TextConvertsImplicitlyAndACollectionDoesNot) {
    static_assert(std::is_convertible_v<std::string, QueryParameters>);
    static_assert(!std::is_convertible_v<NameValueCollection, QueryParameters>);
    const QueryParameters query = std::string("a=1");
    EXPECT_EQ(pairsOf(query), (Pairs{{"a", "1"}}));
}

TEST(QueryParametersTest, ListOfPairsIsTakenUnencoded) {
    const QueryParameters query{{"a b", "1&2"}, {"flag", ""}, {"a b", "%41"}};
    EXPECT_EQ(pairsOf(query), (Pairs{{"a b", "1&2"}, {"flag", ""}, {"a b", "%41"}}));
    EXPECT_EQ(query.toUnencodedString(), "?a b=1&2&flag&a b=%41");
    EXPECT_EQ(query.toString(), "?a%20b=1%262&flag&a%20b=%2541");
    const QueryParameters single{{"a", "1"}};
    EXPECT_EQ(single.toString(), "?a=1");
}

TEST(QueryParametersTest, ListWithAnEmptyKeyIsRefusedAndLogged) {
    const LogCapture log;
    const char* message = "Cannot create QueryParameter with an empty key";
    EXPECT_TRUE(throwsExactly<std::logic_error>(
        [] { const QueryParameters query({{"", "1"}, {"b", "2"}}); }, message));
    EXPECT_TRUE(throwsExactly<std::logic_error>(
        [] { const QueryParameters query({{"a", "1"}, {"b", "2"}, {"", ""}}); }, message));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, message), coreRecord(512, message)));
}

TEST(QueryParametersTest, CollectionIsTakenAsItIs) {
    const LogCapture log;
    const QueryParameters query(NameValueCollection{{"", "x"}, {"a", "1"}, {"", ""}, {"b", ""}});
    EXPECT_EQ(pairsOf(query), (Pairs{{"", "x"}, {"a", "1"}, {"", ""}, {"b", ""}}));
    EXPECT_EQ(query.toUnencodedString(), "?=x&a=1&&b");
    EXPECT_EQ(query.toString(), "?=x&a=1&&b");
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QueryParametersTest, RawTextOfACollectionSeparatesOnlyAfterText) {
    // The separator depends on the raw text, which an empty pair leaves empty.
    const QueryParameters query(NameValueCollection{{"", ""}, {"a", "1"}});
    EXPECT_EQ(query.toUnencodedString(), "?a=1");
    EXPECT_EQ(query.toString(), "?&a=1");
}

TEST(QueryParametersTest, AddAppendsToThePairsAndToTheRawText) {
    QueryParameters query("a=1");
    query.addQueryParameter("k", "v w");
    EXPECT_EQ(query.toUnencodedString(), "?a=1&k=v w");
    EXPECT_EQ(query.toString(), "?a=1&k=v%20w");
    query.addQueryParameter("A", "");
    EXPECT_EQ(query.toUnencodedString(), "?a=1&k=v w&A");
    EXPECT_EQ(query.toString(), "?a=1&k=v%20w&A");
    EXPECT_EQ(pairsOf(query), (Pairs{{"a", "1"}, {"k", "v w"}, {"A", ""}}));
}

TEST(QueryParametersTest, AddToAnEmptyQueryWritesNoSeparator) {
    QueryParameters query;
    query.addQueryParameter("k", "");
    EXPECT_EQ(query.toUnencodedString(), "?k");
    QueryParameters dropped("=d");
    dropped.addQueryParameter("k", "1");
    EXPECT_EQ(dropped.toUnencodedString(), "?=d&k=1");
    EXPECT_EQ(dropped.toString(), "?k=1");
}

TEST(QueryParametersTest, AddKeepsDuplicates) {
    QueryParameters query{{"k", "1"}};
    query.addQueryParameter("k", "2");
    EXPECT_EQ(query.toString(), "?k=1&k=2");
    EXPECT_EQ(query.size(), 2U);
}

TEST(QueryParametersTest, AddOfAnEmptyKeyIsRefusedAndLogged) {
    QueryParameters query("a=1");
    const LogCapture log;
    const char* message = "Cannot add QueryParameter with an empty key";
    EXPECT_TRUE(
        throwsExactly<std::logic_error>([&] { query.addQueryParameter("", "value"); }, message));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, message)));
    EXPECT_EQ(pairsOf(query), (Pairs{{"a", "1"}}));
    EXPECT_EQ(query.toUnencodedString(), "?a=1");
}

TEST(QueryParametersTest, AddTakesAKeyOfItsOwn) {
    QueryParameters query("first=1");
    query.addQueryParameter(query.begin()->first, query.begin()->second);
    EXPECT_EQ(query.toUnencodedString(), "?first=1&first=1");
}

TEST(QueryParametersTest, GetParameterValueGivesTheFirstMatchInAnyCase) {
    const QueryParameters query("b=0&a=1&A=2");
    EXPECT_EQ(query.getParameterValue("a"), "1");
    EXPECT_EQ(query.getParameterValue("A"), "1");
    EXPECT_EQ(QueryParameters("a=1").getParameterValue("A"), "1");
}

TEST(QueryParametersTest, GetParameterValueOfAMissingKeyThrowsAndLogsOnce) {
    const QueryParameters query("a=1");
    const LogCapture log;
    const char* message = "Requested query parameter (B c<>) doesn't exist";
    EXPECT_TRUE(
        throwsExactly<std::logic_error>([&] { query.getParameterValue("B c<>"); }, message));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, message)));
}

TEST(QueryParametersTest, GetAllParameterValuesOfAMissingKeyThrowsAndLogsOnce) {
    const QueryParameters query("a=1");
    const LogCapture log;
    const char* message = "Requested query parameter () doesn't exist";
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { query.getAllParameterValues(""); }, message));
    EXPECT_THAT(log.records(), ElementsAre(coreRecord(512, message)));
}

TEST(QueryParametersTest, ErrorsAreThrownWhenTheirSeverityIsDisabled) {
    const LogCapture log;
    coreChannel().set_filter_mask(~SEVERITY_ERROR);
    QueryParameters query;
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { query.getParameterValue("a"); },
                                                "Requested query parameter (a) doesn't exist"));
    coreChannel().set_filter_mask(foundation::log::basic_diagnostic_logger<char>::filter_bits);
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QueryParametersTest, GetAllParameterValuesIsExactInCaseOnceTheKeyExists) {
    const LogCapture log;
    const QueryParameters query("a=1&A=2&b=3&a=4");
    EXPECT_THAT(query.getAllParameterValues("a"), ElementsAre("1", "4"));
    EXPECT_THAT(query.getAllParameterValues("A"), ElementsAre("2"));
    EXPECT_THAT(query.getAllParameterValues("B"), IsEmpty());
    EXPECT_THAT(QueryParameters("a=1").getAllParameterValues("A"), IsEmpty());
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QueryParametersTest, GetAllParameterValuesComparesWholeKeys) {
    // Look-up compares up to the first zero byte, the collection all bytes.
    QueryParameters query;
    query.addQueryParameter(std::string("ab\0c", 4), "1");
    EXPECT_EQ(query.getParameterValue("ab"), "1");
    EXPECT_THAT(query.getAllParameterValues("ab"), IsEmpty());
    EXPECT_THAT(query.getAllParameterValues(std::string("ab\0c", 4)), ElementsAre("1"));
}

TEST(QueryParametersTest, HasParameterKeyIgnoresCase) {
    const LogCapture log;
    const QueryParameters query("Key=1");
    EXPECT_TRUE(query.hasParameterKey("key"));
    EXPECT_TRUE(query.hasParameterKey("KEY"));
    EXPECT_FALSE(query.hasParameterKey("ke"));
    EXPECT_FALSE(query.hasParameterKey(""));
    EXPECT_THAT(log.records(), IsEmpty());
}

TEST(QueryParametersTest, IteratesInInsertionOrderInBothDirections) {
    const QueryParameters query("z=1&a=2&m=3");
    EXPECT_EQ(Pairs(query.cbegin(), query.cend()), pairsOf(query));
    EXPECT_EQ(pairsOf(query), (Pairs{{"z", "1"}, {"a", "2"}, {"m", "3"}}));
    EXPECT_EQ(std::prev(query.end())->first, "m");
}

TEST(QueryParametersTest, ChangesThroughAnIteratorLeaveTheRawText) {
    QueryParameters query("a=1&b=2");
    for (auto& [key, value] : query) {
        value += "!";
    }
    EXPECT_EQ(query.toString(), "?a=1%21&b=2%21");
    EXPECT_EQ(query.getParameterValue("a"), "1!");
    EXPECT_EQ(query.toUnencodedString(), "?a=1&b=2");
}

TEST(QueryParametersTest, ToStreamWritesTheTextAndReturnsTheStream) {
    const QueryParameters query("?a=1&b=&c=x y");
    std::ostringstream os;
    EXPECT_EQ(&query.toStream(os), &os);
    EXPECT_EQ(os.str(), "?a=1&b&c=x%20y");
    EXPECT_EQ(os.str(), query.toString());
}

TEST(QueryParametersTest, ToStreamOfAnEmptyQueryWritesNothingAtAll) {
    std::ostringstream os;
    os << std::setw(5);
    EXPECT_EQ(&QueryParameters("=d").toStream(os), &os);
    EXPECT_EQ(os.str(), "");
}

TEST(QueryParametersTest, CopyIsIndependent) {
    const QueryParameters original("a=1");
    QueryParameters copy = original;
    copy.addQueryParameter("b", "2");
    EXPECT_EQ(original.toString(), "?a=1");
    EXPECT_EQ(original.toUnencodedString(), "?a=1");
    EXPECT_EQ(copy.toUnencodedString(), "?a=1&b=2");
    copy = original;
    EXPECT_EQ(copy.toString(), "?a=1");
    EXPECT_EQ(copy.toUnencodedString(), "?a=1");
    EXPECT_EQ(copy.getEntrySep() + copy.getKeyValueSep(), "&=");
}

TEST(QueryParametersTest, MoveTakesEverythingAndTheSourceCanBeAssigned) {
    QueryParameters source("?a=1&=d");
    QueryParameters target = std::move(source);
    EXPECT_EQ(target.toString(), "?a=1");
    EXPECT_EQ(target.toUnencodedString(), "?a=1&=d");
    source = QueryParameters("b=2");
    source.addQueryParameter("c", "3");
    EXPECT_EQ(source.toUnencodedString(), "?b=2&c=3");
    target = std::move(source);
    EXPECT_EQ(target.toUnencodedString(), "?b=2&c=3");
    EXPECT_EQ(target.getEntrySep() + target.getKeyValueSep(), "&=");
}

TEST(QueryParametersTest, AgreesWithThePlainModel) {
    RandomTexts texts("&&&===??%%++4aA#");
    SCOPED_TRACE(texts);
    RecordProperty("seed", static_cast<int>(texts.seed()));
    for (std::uint64_t run = 0; run < randomRuns(100'000); ++run) {
        const std::string text = texts.next(12);
        PlainQuery model(text);
        QueryParameters query(text);
        if (run % 4 == 0) {
            const std::string key = "k" + texts.next(3);
            const std::string value = texts.next(3);
            model.add(key, value);
            query.addQueryParameter(key, value);
        }
        const std::string printed = query.toString();
        ASSERT_EQ(pairsOf(query), model.pairs) << texts << ", run " << run << ", \"" << text << '"';
        ASSERT_EQ(printed, model.print()) << texts << ", run " << run << ", \"" << text << '"';
        ASSERT_EQ(query.toUnencodedString(), model.raw.empty() ? "" : "?" + model.raw)
            << texts << ", run " << run << ", \"" << text << '"';
        // Printed text reads back as the same pairs and prints the same again.
        if (run % 3 == 0) {
            const QueryParameters again(printed);
            ASSERT_EQ(pairsOf(again), model.pairs)
                << texts << ", run " << run << ", \"" << text << '"';
            ASSERT_EQ(again.toString(), printed)
                << texts << ", run " << run << ", \"" << text << '"';
        }
    }
}

TEST(QueryParametersTest, PrintsLongKeysAndLongValuesThatAreEscaped) {
    const auto escapedCommas = [](std::size_t count) {
        std::string text;
        for (std::size_t i = 0; i < count; ++i) {
            text += "%2C";
        }
        return text;
    };
    // Around the size up to which no room is measured, and with one part much longer than the other.
    for (const std::size_t keySize : {1U, 100U, 600U, 2000U}) {
        for (const std::size_t valueSize : {0U, 1U, 90U, 580U, 1900U}) {
            QueryParameters query;
            query.addQueryParameter(std::string(keySize, ','), std::string(valueSize, ','));
            query.addQueryParameter("b", "2");
            EXPECT_EQ(query.toString(), "?" + escapedCommas(keySize) + (valueSize != 0 ? "=" : "") +
                                            escapedCommas(valueSize) + "&b=2");
        }
    }
}

TEST(QueryParametersTest, AgreesWithThePlainModelForLongTexts) {
    RandomTexts texts("&===+%%2aword");
    SCOPED_TRACE(texts);
    for (int run = 0; run < 3'000; ++run) {
        // Pieces longer than what is decoded and printed without memory come up, and many pieces.
        std::string text;
        for (std::size_t pieces = texts.below(6); pieces > 0; --pieces) {
            text += texts.below(2) == 0 ? std::string(texts.below(700), "+a%"[texts.below(3)])
                                        : texts.next(500);
            text += "&=x"[texts.below(3)];
        }
        const PlainQuery model(text);
        const QueryParameters query(text);
        ASSERT_EQ(pairsOf(query), model.pairs) << texts << ", run " << run << ", \"" << text << '"';
        ASSERT_EQ(query.toString(), model.print()) << texts << ", run " << run;
    }
}

// A query and its plain model through the same random operations.
TEST(QueryParametersTest, AgreesWithThePlainModelThroughRandomOperations) {
    RandomTexts texts("&=%+4aA ");
    SCOPED_TRACE(texts);
    RecordProperty("seed", static_cast<int>(texts.seed()));
    std::vector<QueryParameters> queries(3);
    std::vector<PlainQuery> models(3, PlainQuery(""));
    for (std::uint64_t run = 0; run < randomRuns(200'000); ++run) {
        const std::size_t i = texts.below(queries.size());
        const std::size_t other = texts.below(queries.size());
        switch (texts.below(8)) {
            case 0: {
                const std::string text = texts.next(20);
                queries[i] = QueryParameters(text);
                models[i] = PlainQuery(text);
                break;
            }
            case 1:
            case 2: {
                const std::string key = "k" + texts.next(2);
                const std::string value = texts.next(3);
                queries[i].addQueryParameter(key, value);
                models[i].add(key, value);
                break;
            }
            case 3:
                queries[i] = queries[other];
                models[i] = models[other];
                break;
            case 4:
                if (i != other) {
                    queries[i] = std::move(queries[other]);
                    models[i] = models[other];
                    queries[other] = QueryParameters();
                    models[other] = PlainQuery("");
                }
                break;
            case 5:
                if (!models[i].pairs.empty()) {
                    const std::size_t n = texts.below(models[i].pairs.size());
                    std::next(queries[i].begin(), static_cast<std::ptrdiff_t>(n))->second += '!';
                    models[i].pairs[n].second += '!';
                }
                break;
            case 6: {
                NameValueCollection pairs;
                PlainQuery model("");
                for (std::size_t n = texts.below(4); n > 0; --n) {
                    const std::string key = texts.next(2);
                    const std::string value = texts.next(2);
                    pairs.add(key, value);
                    model.add(key, value);
                }
                queries[i] = QueryParameters(std::move(pairs));
                models[i] = model;
                break;
            }
            default: {
                // As another object parses the text, so that nothing is shared with the first.
                const QueryParameters again(queries[i].toUnencodedString());
                ASSERT_EQ(again.toUnencodedString(), queries[i].toUnencodedString());
                break;
            }
        }
        ASSERT_EQ(pairsOf(queries[i]), models[i].pairs) << texts << ", run " << run;
        ASSERT_EQ(queries[i].size(), models[i].pairs.size()) << texts << ", run " << run;
        ASSERT_EQ(queries[i].toString(), models[i].print()) << texts << ", run " << run;
        ASSERT_EQ(queries[i].toUnencodedString(), models[i].raw.empty() ? "" : "?" + models[i].raw)
            << texts << ", run " << run;
    }
}

TEST(QueryParametersTest, MovedFromObjectCanBeUsedAgain) {
    QueryParameters source("?a=1&b=a+value+that+needs+memory+of+its+own");
    const QueryParameters target = std::move(source);
    EXPECT_EQ(target.size(), 2U);
    source = QueryParameters();
    source.addQueryParameter("k", "v");
    EXPECT_EQ(source.toUnencodedString(), "?k=v");
    EXPECT_EQ(source.getEntrySep() + source.getKeyValueSep(), "&=");
    EXPECT_EQ(target.getParameterValue("b"), "a value that needs memory of its own");
}

}  // namespace
}  // namespace foundation::httpclient_core
