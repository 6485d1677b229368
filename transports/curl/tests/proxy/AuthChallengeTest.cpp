#include "proxy/AuthChallenge.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

std::string print(const std::vector<AuthChallenge>& challenges) {
    std::string text;
    for (const AuthChallenge& challenge : challenges) {
        text += challenge.scheme + "(";
        for (const auto& [name, value] : challenge.parameters) {
            text += name + "=" + value + ";";
        }
        text += ")";
    }
    return text;
}

TEST(AuthChallengeTest, ReadsTheChallengesOfOneField) {
    const auto challenges =
        parseChallenges(R"(Digest realm="a, b", nonce="x", qop="auth,auth-int", Basic realm="c")");
    ASSERT_EQ(challenges.size(), 2U);
    EXPECT_TRUE(challenges[0].isOf("digest"));
    EXPECT_EQ(challenges[0].parameter("Realm"), "a, b");
    EXPECT_EQ(challenges[0].parameter("qop"), "auth,auth-int");
    EXPECT_EQ(challenges[0].parameter("opaque"), "");
    EXPECT_TRUE(challenges[1].isOf("Basic"));
    EXPECT_EQ(challenges[1].parameter("realm"), "c");
}

struct Row {
    std::string text;
    std::string printed;

    friend std::ostream& operator<<(std::ostream& os, const Row& row) { return os << row.text; }
};

TEST(AuthChallengeTest, ReadsWhatItCanOfEveryForm) {
    const std::vector<Row> rows{
        {"", ""},
        {" , ,", ""},
        {"Basic", "Basic()"},
        {"Negotiate, Basic", "Negotiate()Basic()"},
        {"Basic realm=x", "Basic(realm=x;)"},
        {"Basic realm = \"x\"", "Basic(realm=x;)"},
        {R"(Basic realm="a\"b\\c")", R"(Basic(realm=a"b\c;))"},
        {R"(Basic realm="open)", "Basic(realm=open;)"},
        {R"(Basic realm="end\)", R"(Basic(realm=end\;))"},
        {"Basic realm=", "Basic(realm=;)"},
        {"realm=x", ""},
        {"=x", "x()"},
        {"\"Basic\"", ""},
        {"Digest a=1,b=2,,c=3", "Digest(a=1;b=2;c=3;)"},
        {"Digest a=1 b=2", "Digest(a=1;b=2;)"},
        {"Bad@Scheme", ""},
    };
    for (const Row& row : rows) {
        EXPECT_EQ(print(parseChallenges(row.text)), row.printed) << row;
    }
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
