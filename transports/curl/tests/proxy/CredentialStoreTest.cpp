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

template <class Action>
auto elsewhere(Action action) {
    decltype(action()) result;
    std::thread([&] { result = action(); }).join();
    return result;
}

TEST(CredentialStoreTest, OnlyItsThreadShowsAnAnswerOnTrial) {
    CredentialStore store;
    const auto generation = store.storeOnTrial(proxy, {"ann", "secret"});
    EXPECT_EQ(store.loginFor(proxy)->generation, generation);
    EXPECT_FALSE(elsewhere([&] { return store.loginFor(proxy).has_value(); }));
    EXPECT_TRUE(elsewhere([&] { return store.stateFor(proxy).isOnTrial; }));
    // As the owner of the client sees it, it is there.
    EXPECT_EQ(elsewhere([&] { return store.credentialsFor(proxy); }), "ann:secret");
    store.judge(proxy, generation, true);
    EXPECT_TRUE(elsewhere([&] { return store.loginFor(proxy).has_value(); }));
}

TEST(CredentialStoreTest, ATrialEndsWithTheAnswersOfItsThread) {
    CredentialStore store;
    store.storeOnTrial(proxy, {"ann", "secret"});
    elsewhere([&] {
        store.endAnswers();
        return 0;
    });
    EXPECT_TRUE(elsewhere([&] { return store.stateFor(proxy).isOnTrial; }));
    store.endAnswers();
    EXPECT_TRUE(elsewhere([&] { return store.loginFor(proxy).has_value(); }));
}

TEST(CredentialStoreTest, AnAnswerThatTheProxyRefusedIsShownNoMore) {
    CredentialStore store;
    const auto generation = store.storeOnTrial(proxy, {"ann", "wrong"});
    store.judge(proxy, generation, false);
    store.endAnswers();
    EXPECT_FALSE(store.loginFor(proxy).has_value());
    EXPECT_TRUE(store.stateFor(proxy).isRefused);
    // The next one starts without its past.
    store.storeCredentials(proxy, "ann:right");
    EXPECT_TRUE(store.loginFor(proxy).has_value());
}

TEST(CredentialStoreTest, WhatTheProxyHasTakenOnceOutlivesARefusal) {
    CredentialStore store;
    const auto generation = store.storeOnTrial(proxy, {"ann", "right"});
    store.judge(proxy, generation, true);
    store.judge(proxy, generation, false);
    EXPECT_TRUE(store.loginFor(proxy).has_value());
    // So does what nobody can be asked for again.
    store.storeCredentials(proxy, "ann:given");
    store.judge(proxy, store.loginFor(proxy)->generation, false);
    EXPECT_TRUE(store.loginFor(proxy).has_value());
}

TEST(CredentialStoreTest, AVerdictOnOlderCredentialsMeansNothing) {
    CredentialStore store;
    const auto older = store.storeOnTrial(proxy, {"ann", "one"});
    store.storeOnTrial(proxy, {"ann", "two"});
    store.judge(proxy, older, false);
    EXPECT_FALSE(store.stateFor(proxy).isRefused);
    store.judge(proxy, older, true);
    EXPECT_TRUE(elsewhere([&] { return store.stateFor(proxy).isOnTrial; }));
    store.judge("other.test:3128", older, true);
}

TEST(CredentialStoreTest, WhatAThreadWasGivenIsNotStoredAgain) {
    CredentialStore store;
    store.storeCredentials(proxy, "ann:one");
    const auto generation = store.loginFor(proxy)->generation;
    store.expectStore(proxy);
    store.storeCredentials(proxy, "ann:one");
    EXPECT_EQ(store.loginFor(proxy)->generation, generation);
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
