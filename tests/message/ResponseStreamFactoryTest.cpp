#include "message/MemoryStream.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/ResponseStreamFactory.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace foundation::httpclient_core {
namespace {

TEST(ResponseStreamFactoryTest, DefaultMakesAnEmptyMemoryStreamToReadAndWrite) {
    testing::LogCapture log;
    const ResponseStreamFactory factory = defaultResponseStreamFactory();
    const auto stream = factory(HttpResponseCode::OK, "OK", HttpHeaders());
    ASSERT_NE(dynamic_cast<MemoryStream*>(stream.get()), nullptr);
    EXPECT_EQ(stream->tellp(), std::streampos(0));
    EXPECT_EQ(stream->tellg(), std::streampos(0));
    *stream << "text";
    std::string text;
    *stream >> text;
    EXPECT_EQ(text, "text");
    EXPECT_TRUE(log.records().empty());
}

TEST(ResponseStreamFactoryTest, DefaultIgnoresItsArguments) {
    const auto stream = defaultResponseStreamFactory()(HttpResponseCode::NotFound, "Not Found",
                                                       HttpHeaders{{"Content-Length", "10"}});
    EXPECT_EQ(stream->peek(), std::char_traits<char>::eof());
}

TEST(ResponseStreamFactoryTest, DefaultMakesANewStreamEachTime) {
    const ResponseStreamFactory factory = defaultResponseStreamFactory();
    const auto first = factory(HttpResponseCode::OK, "OK", HttpHeaders());
    *first << "text";
    const auto second = factory(HttpResponseCode::OK, "OK", HttpHeaders());
    EXPECT_NE(first, second);
    EXPECT_EQ(second->tellp(), std::streampos(0));
}

TEST(ResponseStreamFactoryTest, TakesItsReasonByValue) {
    const ResponseStreamFactory factory = [](HttpResponseCode code, std::string reason,
                                             const HttpHeaders& headers) {
        reason += std::to_string(headers.size());
        return std::make_unique<std::stringstream>(to_string(code) + reason);
    };
    const auto stream = factory(HttpResponseCode::OK, "OK", HttpHeaders{{"a", "1"}});
    std::string text;
    *stream >> text;
    EXPECT_EQ(text, "200OK1");
}

}  // namespace
}  // namespace foundation::httpclient_core
