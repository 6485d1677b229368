#include "proxy/ProxyKnowledge.h"

#include <gtest/gtest.h>

#include <string>

namespace foundation::httpclient_curl::testing {
namespace {

constexpr auto basic = static_cast<long>(CURLAUTH_BASIC);
constexpr auto digest = static_cast<long>(CURLAUTH_DIGEST);
constexpr auto negotiate = static_cast<long>(CURLAUTH_NEGOTIATE);
const std::string proxy = "proxy.test:3128";

DigestNonce nonceNamed(const std::string& name) {
    return DigestNonce::from({"Digest", {{"nonce", name}, {"qop", "auth"}}}).value();
}

std::string nameOf(DigestNonce nonce) {
    return parseChallenges(nonce.authorize("u", "p", "GET", "/")).at(0).parameter("nonce");
}

TEST(ProxyKnowledgeTest, ChoosesTheStrongestSchemeThatTheProxyOffers) {
    ProxyKnowledge knowledge;
    EXPECT_EQ(knowledge.schemeFor(proxy, false), 0);
    knowledge.learn(proxy, {{"Proxy-Authenticate", "Basic realm=\"x\""}});
    EXPECT_EQ(knowledge.schemeFor(proxy, false), basic);
    knowledge.learn(proxy, {{"Proxy-Authenticate", "Basic realm=\"x\""},
                            {"proxy-authenticate", "Digest realm=\"x\", nonce=\"n\""}});
    EXPECT_EQ(knowledge.schemeFor(proxy, false), digest);
    EXPECT_EQ(knowledge.schemeFor("other.test:3128", false), 0);
    knowledge.learn(proxy, {{"WWW-Authenticate", "Basic realm=\"x\""}});
    EXPECT_EQ(knowledge.schemeFor(proxy, false), 0);
}

TEST(ProxyKnowledgeTest, ChoosesNegotiateOnDemandOnly) {
    ProxyKnowledge knowledge;
    knowledge.learn(
        proxy, {{"Proxy-Authenticate", "Negotiate"}, {"Proxy-Authenticate", "Basic realm=\"x\""}});
    EXPECT_EQ(knowledge.schemeFor(proxy, false), basic);
    EXPECT_EQ(knowledge.schemeFor(proxy, true), negotiate);
    knowledge.learn(proxy, {{"Proxy-Authenticate", "Negotiate"}});
    EXPECT_EQ(knowledge.schemeFor(proxy, false), 0);
}

TEST(ProxyKnowledgeTest, TellsTheNonceAndItsAge) {
    ProxyKnowledge knowledge;
    const auto fresh = knowledge.learn(
        proxy, {{"Proxy-Authenticate", R"(Digest realm="x", nonce="n", qop="auth")"}});
    EXPECT_EQ(nameOf(fresh.nonce.value()), "n");
    EXPECT_FALSE(fresh.isStale);
    EXPECT_TRUE(knowledge
                    .learn(proxy, {{"Proxy-Authenticate",
                                    R"(Digest realm="x", nonce="n", qop="auth", stale=TRUE)"}})
                    .isStale);
    EXPECT_FALSE(
        knowledge.learn(proxy, {{"Proxy-Authenticate", "Basic realm=\"x\""}}).nonce.has_value());
}

TEST(ProxyKnowledgeTest, LendsTheNonceWithTheFewestUsesTheNewestFirst) {
    ProxyKnowledge knowledge;
    EXPECT_FALSE(knowledge.takeNonce(proxy).has_value());
    DigestNonce used = nonceNamed("used");
    used.addUses(1);
    knowledge.giveNonce(proxy, nonceNamed("older"));
    knowledge.giveNonce(proxy, used);
    knowledge.giveNonce(proxy, nonceNamed("newer"));
    EXPECT_FALSE(knowledge.takeNonce("other.test:3128").has_value());
    EXPECT_EQ(nameOf(knowledge.takeNonce(proxy).value()), "newer");
    EXPECT_EQ(nameOf(knowledge.takeNonce(proxy).value()), "older");
    EXPECT_EQ(nameOf(knowledge.takeNonce(proxy).value()), "used");
    EXPECT_FALSE(knowledge.takeNonce(proxy).has_value());
    knowledge.giveNonce(proxy, nonceNamed("n"));
    knowledge.dropNonces(proxy);
    EXPECT_FALSE(knowledge.takeNonce(proxy).has_value());
}

TEST(ProxyKnowledgeTest, KeepsALimitedNumberOfNonces) {
    ProxyKnowledge knowledge;
    for (int i = 0; i < 300; ++i) {
        knowledge.giveNonce(proxy, nonceNamed(std::to_string(i)));
    }
    int kept = 0;
    std::string last;
    while (auto nonce = knowledge.takeNonce(proxy)) {
        ++kept;
        last = nameOf(*nonce);
    }
    EXPECT_EQ(kept, 256);
    EXPECT_EQ(last, "44");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
