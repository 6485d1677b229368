#include "exchange/StreamWatch.h"

#include <gtest/gtest.h>

#include <initializer_list>

namespace foundation::httpclient_curl::testing {
namespace {

bool wasRefused(std::initializer_list<const char*> texts) {
    StreamWatch watch;
    for (const char* text : texts) {
        watch.addText(text);
    }
    return watch.wasRefused();
}

const char* const stream = "Using Stream ID: 21 (easy handle 0x7f)\n";
const char* const uploaded = "We are completely uploaded and fine\n";
const char* const died = "Connection died, retrying a fresh connect (retry count: 1)\n";

TEST(StreamWatchTest, ARefusedStreamIsRepeatedWithoutAMessage) {
    EXPECT_TRUE(wasRefused({stream, uploaded, died}));
    EXPECT_TRUE(wasRefused({stream, died}));
    EXPECT_TRUE(wasRefused({stream, "REFUSED_STREAM, retrying a fresh connect\n"}));
    EXPECT_TRUE(
        wasRefused({stream, uploaded, "TLSv1.2 (IN), TLS alert, close notify (256):\n", died}));
    EXPECT_TRUE(wasRefused({stream, died, "state.rewindbeforesend = TRUE\n"}));
}

TEST(StreamWatchTest, EverythingElseMayHaveReachedTheServer) {
    EXPECT_FALSE(wasRefused({}));
    // HTTP/1.1 has no streams.
    EXPECT_FALSE(wasRefused({uploaded, died}));
    EXPECT_FALSE(wasRefused({stream, uploaded, "Recv failure: Connection reset by peer\n", died}));
    EXPECT_FALSE(wasRefused({stream, uploaded, "Some text of another libcurl\n", died}));
    // The repetition has a stream of its own.
    EXPECT_FALSE(wasRefused({stream, died, stream}));
    EXPECT_FALSE(wasRefused({stream, died, "Re-using existing connection\n", uploaded, died}));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
