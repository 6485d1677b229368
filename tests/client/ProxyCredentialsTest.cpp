#include <foundation/httpclient_core/ProxyCredentials.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <type_traits>

namespace foundation::httpclient_core {
namespace {

TEST(ProxyCredentialsTest, HoldsUserNameAndPassword) {
    const ProxyCredentials credentials("ann", "secret");
    EXPECT_EQ(credentials.username(), "ann");
    EXPECT_EQ(credentials.password(), "secret");
}

TEST(ProxyCredentialsTest, TakesAnyTextAsItIs) {
    const std::string odd("a:b\0 %41\xff", 9);
    const ProxyCredentials credentials(odd, "");
    EXPECT_EQ(credentials.username(), odd);
    EXPECT_EQ(credentials.password(), "");
    EXPECT_EQ(ProxyCredentials("", odd).username(), "");
    EXPECT_EQ(ProxyCredentials("", odd).password(), odd);
}

TEST(ProxyCredentialsTest, IsAValue) {
    const ProxyCredentials original("ann", "secret");
    ProxyCredentials copy = original;
    EXPECT_EQ(copy.username(), "ann");
    EXPECT_EQ(copy.password(), "secret");
    copy = ProxyCredentials("bob", "other");
    EXPECT_EQ(copy.username(), "bob");
    EXPECT_EQ(copy.password(), "other");
    EXPECT_EQ(original.username(), "ann");
    const ProxyCredentials& same = copy;
    copy = same;
    EXPECT_EQ(copy.username(), "bob");
    EXPECT_EQ(copy.password(), "other");
    EXPECT_FALSE(std::is_default_constructible_v<ProxyCredentials>);
}

TEST(ProxyCredentialsTest, AccessorsAndDestructorAreVirtual) {
    struct Derived : ProxyCredentials {
        explicit Derived(bool& destroyed) : ProxyCredentials("", ""), destroyed_(destroyed) {}
        Derived(const Derived&) = delete;
        Derived& operator=(const Derived&) = delete;
        ~Derived() override { destroyed_ = true; }
        std::string username() const override { return "computed"; }
        std::string password() const override { return "on demand"; }
        bool& destroyed_;
    };
    bool destroyed = false;
    std::unique_ptr<ProxyCredentials> credentials = std::make_unique<Derived>(destroyed);
    EXPECT_EQ(credentials->username(), "computed");
    EXPECT_EQ(credentials->password(), "on demand");
    credentials.reset();
    EXPECT_TRUE(destroyed);
}

}  // namespace
}  // namespace foundation::httpclient_core
