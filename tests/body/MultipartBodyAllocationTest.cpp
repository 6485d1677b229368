#include "tests/support/AllocationCounter.h"

#include <foundation/httpclient_core/MultipartBody.h>

#include <gtest/gtest.h>

#include <string>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;

TEST(MultipartBodyAllocationTest, AskingForAPartAllocatesNothing) {
    const std::string name = "a name that is longer than a short string holds";
    MultipartBody body;
    for (int number = 0; number < 10; ++number) {
        const PartHeader header(name + std::to_string(number), "text/plain; charset=utf-8");
        body.addPart(DataPart(header, std::string(1000, 'x')));
        body.addPart(FilePart(header, "a/path/that/is/longer/than/a/short/string"));
    }
    const std::string last = name + "9";
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(body.hasDataPart(last)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_TRUE(body.hasFilePart(last)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_FALSE(body.hasDataPart(name)); }), 0U);
    EXPECT_EQ(allocationsOf([&] { body.removePart(name); }), 0U);
    EXPECT_EQ(allocationsOf([&] { body.removePart(last); }), 0U);
    EXPECT_EQ(body.getContent().size(), 18U);
}

}  // namespace
}  // namespace foundation::httpclient_core
