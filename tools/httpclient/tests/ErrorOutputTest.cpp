#include "terminal/ErrorOutput.h"

#include <gtest/gtest.h>

#include <sstream>

namespace foundation::httpclient_tool {
namespace {

TEST(ErrorOutputTest, WritesWholeSafeLines) {
    std::ostringstream stream;
    ErrorOutput output(stream, false);
    output.failure("no\nluck");
    output.note("http://h/?secret");
    EXPECT_EQ(stream.str(), "httpclient: no\\x0Aluck\n* http://h/?...\n");
}

TEST(ErrorOutputTest, ALineTakesThePlaceOfTheStatus) {
    std::ostringstream stream;
    ErrorOutput output(stream, true);
    output.showStatus("10 %");
    output.showStatus("20 %");
    output.failure("bad");
    output.failure("worse");
    EXPECT_EQ(stream.str(), "\r\x1b[K10 %\r\x1b[K20 %\r\x1b[Khttpclient: bad\nhttpclient: worse\n");
}

TEST(ErrorOutputTest, AKeptStatusIsEndedOnce) {
    std::ostringstream stream;
    ErrorOutput output(stream, true);
    output.keepStatus();
    output.showStatus("done");
    output.keepStatus();
    output.keepStatus();
    output.note("next");
    EXPECT_EQ(stream.str(), "\r\x1b[Kdone\n* next\n");
}

}  // namespace
}  // namespace foundation::httpclient_tool
