#include <foundation/httpclient_core/ProxyCredentialStore.h>

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>

namespace foundation::httpclient_core {
namespace {

class InMemory : public ProxyCredentialStore {
public:
    explicit InMemory(bool& destroyed) : destroyed_(destroyed) {}
    InMemory(const InMemory&) = delete;
    InMemory& operator=(const InMemory&) = delete;
    ~InMemory() override { destroyed_ = true; }

    std::optional<std::string> credentialsFor(const std::string& proxyInfo) const override {
        const auto found = entries_.find(proxyInfo);
        return found != entries_.end() ? std::optional(found->second) : std::nullopt;
    }
    void forgetCredentials(const std::string& proxyInfo) override { entries_.erase(proxyInfo); }
    void storeCredentials(std::string proxyInfo, std::string credentials) override {
        entries_[std::move(proxyInfo)] = std::move(credentials);
    }
    void promptDeclined() override { entries_.clear(); }

private:
    bool& destroyed_;
    std::map<std::string, std::string> entries_;
};

TEST(ProxyCredentialStoreTest, KeepsCredentialsByProxy) {
    bool destroyed = false;
    const std::shared_ptr<ProxyCredentialStore> store = std::make_shared<InMemory>(destroyed);
    store->storeCredentials("one:1", "ann:secret");
    store->storeCredentials("two:2", "bob:other");
    EXPECT_EQ(store->credentialsFor("one:1"), "ann:secret");
    store->forgetCredentials("one:1");
    EXPECT_EQ(store->credentialsFor("one:1"), std::nullopt);
    EXPECT_EQ(store->credentialsFor("two:2"), "bob:other");
    store->promptDeclined();
    EXPECT_EQ(store->credentialsFor("two:2"), std::nullopt);
}

TEST(ProxyCredentialStoreTest, IsDestroyedThroughItsBase) {
    bool destroyed = false;
    std::unique_ptr<ProxyCredentialStore> store = std::make_unique<InMemory>(destroyed);
    store.reset();
    EXPECT_TRUE(destroyed);
    EXPECT_TRUE(std::is_abstract_v<ProxyCredentialStore>);
}

}  // namespace
}  // namespace foundation::httpclient_core
