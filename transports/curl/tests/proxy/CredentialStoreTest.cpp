#include "proxy/CredentialStore.h"

#include <gtest/gtest.h>

#include <thread>

namespace foundation::httpclient_curl::testing {
namespace {

const std::string proxy = "proxy.test:3128";

TEST(CredentialStoreTest, KeepsCredentialsByProxy) {
    CredentialStore store;
    EXPECT_FALSE(store.credentialsFor(proxy).has_value());
    EXPECT_FALSE(store.loginFor(proxy).has_value());
    store.storeCredentials(proxy, "ann:a:b");
    EXPECT_EQ(store.credentialsFor(proxy), "ann:a:b");
    EXPECT_FALSE(store.credentialsFor("other.test:3128").has_value());
    const ProxyLogin login = store.loginFor(proxy).value();
    EXPECT_EQ(login.user, "ann");
    EXPECT_EQ(login.password.text(), "a:b");
    store.promptDeclined();
    EXPECT_TRUE(store.loginFor(proxy).has_value());
    store.forgetCredentials(proxy);
    EXPECT_FALSE(store.loginFor(proxy).has_value());
}

TEST(CredentialStoreTest, TakesATextWithoutAColonForTheName) {
    CredentialStore store;
    store.storeCredentials(proxy, "ann");
    EXPECT_EQ(store.loginFor(proxy)->user, "ann");
    EXPECT_EQ(store.loginFor(proxy)->password.text(), "");
}

TEST(CredentialStoreTest, GivesEveryPairAGenerationAboveTheOlderOnes) {
    CredentialStore store;
    store.storeCredentials(proxy, "ann:one");
    const auto first = store.loginFor(proxy)->generation;
    EXPECT_GT(first, 0U);
    store.storeCredentials("other.test:3128", "bob:x");
    store.storeCredentials(proxy, "ann:one");
    EXPECT_GT(store.loginFor(proxy)->generation, store.loginFor("other.test:3128")->generation);
    store.forgetCredentials(proxy);
    store.storeCredentials(proxy, "ann:one");
    EXPECT_GT(store.loginFor(proxy)->generation, first + 1);
}

TEST(CredentialStoreTest, AnAnswerIsNotStoredASecondTimeByItsThread) {
    CredentialStore store;
    store.storeAnswer(proxy, {"ann", "wrong"});
    // Meanwhile another thread has a better answer; it must survive the store that is late.
    std::thread([&store] { store.storeAnswer(proxy, {"ann", "right"}); }).join();
    const auto generation = store.loginFor(proxy)->generation;
    store.storeCredentials(proxy, "ann:wrong");
    EXPECT_EQ(store.credentialsFor(proxy), "ann:right");
    EXPECT_EQ(store.loginFor(proxy)->generation, generation);
    // Only that one call.
    store.storeCredentials(proxy, "ann:new");
    EXPECT_EQ(store.credentialsFor(proxy), "ann:new");
}

TEST(CredentialStoreTest, AnAnswerThatTheCoreNeverStoredIsForgottenAtTheEnd) {
    CredentialStore store;
    store.storeAnswer(proxy, {"ann", "one"});
    store.endAnswers();
    store.storeCredentials(proxy, "ann:two");
    EXPECT_EQ(store.credentialsFor(proxy), "ann:two");
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
