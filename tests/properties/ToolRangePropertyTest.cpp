#include "entity/ContentRange.h"
#include "tests/properties/ContentRangeProperty.h"

#include <gtest/gtest.h>

namespace foundation::httpclient_tool {
namespace {

TEST(ToolRangePropertyTest, ContentRangeIsReadAsByThePlainReading) {
    httpclient_core::testing::expectThePlainReadingOfContentRanges(ContentRange::parse);
}

}  // namespace
}  // namespace foundation::httpclient_tool
