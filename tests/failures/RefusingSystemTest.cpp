#include "headers/FoldedName.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstddef>
#include <dlfcn.h>
#include <locale.h>
#include <new>
#include <string>
#include <unistd.h>

// The core asks the system for two things beside memory. Neither is refused in practice.

namespace {

bool refuseLocales = false;

}  // namespace

extern "C" int getentropy(void* /*buffer*/, std::size_t /*size*/) {
    errno = ENOSYS;
    return -1;
}

extern "C" locale_t newlocale(int mask, const char* name, locale_t base) noexcept {
    if (refuseLocales) {
        errno = ENOMEM;
        return nullptr;
    }
    static auto* const real =
        reinterpret_cast<decltype(&newlocale)>(::dlsym(RTLD_NEXT, "newlocale"));
    return real(mask, name, base);
}

namespace foundation::httpclient_core {
namespace {

TEST(RefusingSystemTest, NamesAreFoundWithoutEntropy) {
    NameValueCollection collection;
    for (int number = 0; number < 100; ++number) {
        collection.add("name" + std::to_string(number), std::to_string(number));
    }
    for (int number = 0; number < 100; ++number) {
        EXPECT_EQ(collection.get("NAME" + std::to_string(number)), std::to_string(number));
    }
    EXPECT_FALSE(collection.has("name100"));
    EXPECT_NE(FoldedName(SoughtName("a")).hash(), FoldedName(SoughtName("b")).hash());
}

TEST(RefusingSystemTest, AComparatorWithoutALocaleIsAFailureOfMemory) {
    using Compare = NameValueCollection::CaseInsensitiveCompare;
    refuseLocales = true;
    EXPECT_THROW(const Compare compare, std::bad_alloc);
    refuseLocales = false;
    const Compare compare;
    EXPECT_TRUE(compare("A", "b"));
    EXPECT_FALSE(compare("a", "A"));
}

}  // namespace
}  // namespace foundation::httpclient_core
