#include "proxy/DigestNonce.h"
#include "proxy/Md5.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace foundation::httpclient_curl::testing {
namespace {

std::optional<DigestNonce> nonceFrom(const std::string& field) {
    return DigestNonce::from(parseChallenges(field).at(0));
}

// The parameters of the field that was made, read back.
AuthChallenge fieldOf(DigestNonce& nonce,
                      const std::string& user,
                      const std::string& password,
                      const std::string& method,
                      const std::string& target) {
    return parseChallenges(nonce.authorize(user, password, method, target)).at(0);
}

// The same rule written down once more: RFC 7616, 3.4.1.
std::string expectedResponse(const AuthChallenge& field,
                             const std::string& password,
                             const std::string& method) {
    const std::string a1 =
        field.parameter("username") + ":" + field.parameter("realm") + ":" + password;
    const std::string a2 = method + ":" + field.parameter("uri");
    return md5(md5(a1) + ":" + field.parameter("nonce") + ":" + field.parameter("nc") + ":" +
               field.parameter("cnonce") + ":" + field.parameter("qop") + ":" + md5(a2));
}

TEST(DigestNonceTest, AnswersAChallengeAndCounts) {
    auto nonce = nonceFrom(R"(Digest realm="proxy", nonce="n1", qop="auth", opaque="o")");
    ASSERT_TRUE(nonce.has_value());
    const AuthChallenge first = fieldOf(*nonce, "ann", "secret", "GET", "http://a.test/x?y");
    EXPECT_TRUE(first.isOf("Digest"));
    EXPECT_EQ(first.parameter("username"), "ann");
    EXPECT_EQ(first.parameter("realm"), "proxy");
    EXPECT_EQ(first.parameter("nonce"), "n1");
    EXPECT_EQ(first.parameter("uri"), "http://a.test/x?y");
    EXPECT_EQ(first.parameter("opaque"), "o");
    EXPECT_EQ(first.parameter("nc"), "00000001");
    EXPECT_EQ(first.parameter("response"), expectedResponse(first, "secret", "GET"));
    const AuthChallenge second = fieldOf(*nonce, "ann", "secret", "CONNECT", "a.test:443");
    EXPECT_EQ(second.parameter("nc"), "00000002");
    EXPECT_NE(second.parameter("cnonce"), first.parameter("cnonce"));
    EXPECT_EQ(second.parameter("response"), expectedResponse(second, "secret", "CONNECT"));
    EXPECT_EQ(nonce->uses(), 2U);
    nonce->addUses(-1);
    EXPECT_EQ(fieldOf(*nonce, "ann", "secret", "GET", "/").parameter("nc"), "00000002");
}

TEST(DigestNonceTest, SaysOnlyWhatTheChallengeSaid) {
    auto plain = nonceFrom(R"(Digest realm="r", nonce="n", qop=auth)");
    const std::string field = plain->authorize("u", "p", "GET", "/");
    EXPECT_EQ(field.find("opaque"), std::string::npos) << field;
    EXPECT_EQ(field.find("algorithm"), std::string::npos) << field;
    auto full = nonceFrom(R"(Digest realm="r", nonce="n", qop=auth, algorithm=md5, opaque="")");
    const std::string all = full->authorize("u", "p", "GET", "/");
    EXPECT_NE(all.find(", opaque=\"\""), std::string::npos) << all;
    EXPECT_NE(all.find(", algorithm=MD5"), std::string::npos) << all;
}

TEST(DigestNonceTest, EscapesQuotesAndBackslashes) {
    auto nonce = nonceFrom(R"(Digest realm="a\"b", nonce="n", qop="auth")");
    const std::string field = nonce->authorize(R"(dom\user)", "p", "GET", "/");
    EXPECT_NE(field.find(R"(username="dom\\user")"), std::string::npos) << field;
    EXPECT_NE(field.find(R"(realm="a\"b")"), std::string::npos) << field;
    EXPECT_EQ(fieldOf(*nonce, R"(dom\user)", "p", "GET", "/").parameter("username"), R"(dom\user)");
}

TEST(DigestNonceTest, LeavesOtherKindsToLibcurl) {
    for (const char* field : {
             R"(Basic realm="r", nonce="n", qop="auth")",
             R"(Digest realm="r", nonce="n", qop="auth", algorithm=SHA-256)",
             R"(Digest realm="r", nonce="n", qop="auth", algorithm=MD5-sess)",
             R"(Digest realm="r", nonce="n", qop="auth-int")",
             R"(Digest realm="r", nonce="n")",
             R"(Digest realm="r", nonce="", qop="auth")",
             R"(Digest realm="r", qop="auth")",
             R"(Digest realm="r", nonce="n", qop="auth", userhash=true)",
         }) {
        EXPECT_FALSE(nonceFrom(field).has_value()) << field;
    }
    EXPECT_TRUE(nonceFrom(R"(Digest realm="r", nonce="n", qop="auth-int, AUTH")").has_value());
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
