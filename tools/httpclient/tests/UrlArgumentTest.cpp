#include "command/UrlArgument.h"
#include "tools/httpclient/tests/FailsWith.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace foundation::httpclient_tool {
namespace {

using testing::failsWith;

TEST(UrlArgumentTest, ReadsAnAbsoluteUrl) {
    const httpclient_core::URL url = parseUrlArgument("https://example.test:8443/a/b?c=d");
    EXPECT_EQ(url.getProtocol(), "https");
    EXPECT_EQ(url.getDomain(), "example.test");
    EXPECT_EQ(url.getPort(), 8443);
    EXPECT_EQ(url.getPath(), "/a/b");
}

struct Accepted {
    const char* label;
    const char* text;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const Accepted& row) {
        return os << row.label;
    }
};

class AcceptedUrlTest : public ::testing::TestWithParam<Accepted> {};

TEST_P(AcceptedUrlTest, IsReadAs) {
    EXPECT_EQ(parseUrlArgument(GetParam().text).toAsciiString(), GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    AcceptedUrlTest,
    ::testing::Values(Accepted{"Path", "http://h/p", "http://h/p"},
                      Accepted{"UpperCaseScheme", "HTTPS://h/p", "https://h/p"},
                      Accepted{"QueryWithoutPath", "http://h?q=1", "http://h/?q=1"},
                      Accepted{"QueryWithoutPathAfterPort", "http://h:8?q", "http://h:8/?q"},
                      Accepted{"LargestPort", "http://h:65535/", "http://h:65535/"},
                      Accepted{"MarkerInQuery", "http://h/?u=http://x/", "http://h/?u=http://x/"},
                      Accepted{"AtInPath", "http://h/a@b:c", "http://h/a@b:c"}),
    [](const auto& row) { return row.param.label; });

struct Refused {
    const char* label;
    const char* text;
    const char* message;
    friend std::ostream& operator<<(std::ostream& os, const Refused& row) {
        return os << row.label;
    }
};

class RefusedUrlTest : public ::testing::TestWithParam<Refused> {};

TEST_P(RefusedUrlTest, IsAUsageError) {
    EXPECT_TRUE(
        failsWith(ExitCode::Usage, GetParam().message, [] { parseUrlArgument(GetParam().text); }));
}

const char* const badScheme = "the URL must begin with http:// or https://";
const char* const badPort = "the port in the URL must be a number from 1 to 65535";
const char* const userInformation =
    "a user name or password in the URL is not supported; use -H 'Authorization: ...'";
const char* const noHost = "the URL has no host";

INSTANTIATE_TEST_SUITE_P(
    Table,
    RefusedUrlTest,
    ::testing::Values(Refused{"Empty", "", badScheme},
                      Refused{"NoScheme", "example.test/x", badScheme},
                      Refused{"OtherScheme", "ftp://h/x", badScheme},
                      Refused{"LongerScheme", "httpss://h/x", badScheme},
                      Refused{"SchemeInThePath", "h/http://x", badScheme},
                      Refused{"NoHost", "http:///x", noHost},
                      Refused{"NothingAfterScheme", "http://", noHost},
                      Refused{"PortWithoutHost", "http://:80/", noHost},
                      Refused{"PortZero", "http://h:0/", badPort},
                      Refused{"PortTooLarge", "http://h:65536/", badPort},
                      Refused{"PortEmpty", "http://h:/", badPort},
                      Refused{"PortWithLetters", "http://h:80a/", badPort},
                      Refused{"PortNegative", "http://h:-80/", badPort},
                      Refused{"UserAndPassword", "http://u:secret@h/", userInformation},
                      Refused{"PasswordThatIsANumber", "http://u:80@h/", userInformation},
                      Refused{"Ipv6", "http://[::1]:80/",
                              "an IPv6 address in the URL is not supported; use a host name"},
                      Refused{"LineEnd", "http://h/\r\nX: y", "the URL has a control character"}),
    [](const auto& row) { return row.param.label; });

TEST(RemoteNameTest, IsTheEndOfThePath) {
    EXPECT_EQ(remoteName("http://h/a/file.bin"), "file.bin");
    EXPECT_EQ(remoteName("http://h/a/file.bin?x=/y#/z"), "file.bin");
    EXPECT_EQ(remoteName("http://h/a%2Fb"), "a%2Fb");
    EXPECT_EQ(remoteName("http://h/..a"), "..a");
}

TEST(RemoteNameTest, RefusesWhatIsNoNameForAFile) {
    for (const char* url : {"http://h", "http://h/", "http://h/a/", "http://h/?a/b", "http://h/.",
                            "http://h/a/..", "http://h/a/..?x"}) {
        EXPECT_TRUE(failsWith(ExitCode::Usage, "the URL's path names no file for -O; use -o FILE",
                              [=] { remoteName(url); }))
            << url;
    }
}

}  // namespace
}  // namespace foundation::httpclient_tool
