#include "tools/httpclient/tests/FailsWith.h"
#include "tools/httpclient/tests/TemporaryFolder.h"
#include "transfer/RequestBuilder.h"

#include <foundation/httpclient_core/Version.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>

#include <gtest/gtest.h>

#include <array>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;
using testing::failsWith;

class RequestBuilderTest : public ::testing::Test {
protected:
    RequestBuilderTest() { options_.method = HttpMethod::POST; }

    HttpRequest build(int standardInput = -1) {
        RequestBuilder builder(options_, standardInput, interrupts_);
        return builder.request(URL("http://h/"));
    }

    RequestOptions options_;
    Interrupts interrupts_;
    testing::TemporaryFolder folder_;
};

TEST_F(RequestBuilderTest, ARequestWithoutABodySaysWhoItIs) {
    options_.method = HttpMethod::GET;
    const HttpRequest request = build();
    EXPECT_EQ(request.getHttpMethod(), HttpMethod::GET);
    EXPECT_EQ(request.getHeaderValue("Accept"), "*/*");
    EXPECT_EQ(request.getHeaderValue("User-Agent"), "httpclient/" FOUNDATION_HTTPCLIENT_VERSION);
    EXPECT_FALSE(request.hasHeader("Content-Length"));
    EXPECT_FALSE(request.hasRequestBody());
}

TEST_F(RequestBuilderTest, HeadersOfTheUserReplaceTheDefaults) {
    options_.headers = {{"accept", "text/html"}, {"X-A", "1"}, {"X-A", "2"}};
    options_.data = "x";
    options_.headers.emplace_back("Content-Type", "text/plain");
    const HttpHeaders headers = build().getHeaders();
    EXPECT_EQ(headers.getAll("Accept"), std::vector<std::string>{"text/html"});
    EXPECT_EQ(headers.getAll("X-A"), (std::vector<std::string>{"1", "2"}));
    EXPECT_EQ(headers.getAll("Content-Type"), std::vector<std::string>{"text/plain"});
}

TEST_F(RequestBuilderTest, ALiteralBodyIsSentAsItIs) {
    options_.data = "a=1&b=\xC3\xA4";
    const HttpRequest request = build();
    EXPECT_EQ(request.getRequestBodyString(), "a=1&b=\xC3\xA4");
    EXPECT_EQ(request.getHeaderValue("Content-Length"), "8");
    EXPECT_EQ(request.getHeaderValue("Content-Type"), "application/octet-stream");
}

TEST_F(RequestBuilderTest, AnEmptyBodyIsABody) {
    options_.data = "";
    const HttpRequest request = build();
    EXPECT_TRUE(request.hasRequestBody());
    EXPECT_EQ(request.getHeaderValue("Content-Length"), "0");
}

TEST_F(RequestBuilderTest, ChunkedHasNoLength) {
    options_.data = "x";
    options_.headers = {{"Transfer-Encoding", "chunked"}};
    EXPECT_FALSE(build().hasHeader("Content-Length"));
}

TEST_F(RequestBuilderTest, AFileIsReadWhenItIsSent) {
    folder_.write("body", "content");
    options_.data = "@" + (folder_ / "body").string();
    const HttpRequest request = build();
    EXPECT_EQ(request.getRequestBodyString(), "content");
    EXPECT_EQ(request.getHeaderValue("Content-Length"), "7");
}

TEST_F(RequestBuilderTest, APipeIsCopiedFirstAndCanBeSentTwice) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const std::string content(200'000, 'p');
    std::thread writer([&] {
        EXPECT_EQ(::write(ends[1], content.data(), content.size()),
                  static_cast<ssize_t>(content.size()));
        ::close(ends[1]);
    });
    options_.data = "@-";
    const RequestBuilder builder(options_, ends[0], interrupts_);
    writer.join();
    ::close(ends[0]);
    for (int time = 0; time < 2; ++time) {
        const HttpRequest request = builder.request(URL("http://h/"));
        EXPECT_TRUE(request.getRequestBodyString() == content);
        EXPECT_EQ(request.getHeaderValue("Content-Length"), "200000");
    }
}

TEST_F(RequestBuilderTest, WhatCannotBeReadIsAFailure) {
    const std::string none = (folder_ / "none").string();
    options_.data = "@" + none;
    EXPECT_TRUE(failsWith(
        ExitCode::Failed,
        "cannot read " + none + ": No such file or directory; check the name and its folder",
        [this] { build(); }));
    options_.data = "@" + folder_.path().string();
    EXPECT_TRUE(
        failsWith(ExitCode::Failed,
                  "cannot read " + folder_.path().string() + ": Is a directory; name a file",
                  [this] { build(); }));
    options_.data = "@-";
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot read standard input: Bad file descriptor; it is closed; "
                          "open it, or choose another place",
                          [this] { build(-1); }));
}

TEST_F(RequestBuilderTest, AFileWithoutANameIsWrongUsage) {
    options_.data = "@";
    EXPECT_TRUE(failsWith(ExitCode::Usage, "-d takes a text, @FILE, or @- for standard input",
                          [this] { build(); }));
}

TEST_F(RequestBuilderTest, AFolderForTemporaryFilesThatIsMissingIsNamed) {
    const char* const former = std::getenv("TMPDIR");
    const std::string formerText = former != nullptr ? former : "";
    ::setenv("TMPDIR", (folder_ / "none").c_str(), 1);
    options_.data = "@-";
    EXPECT_TRUE(failsWith(ExitCode::Failed,
                          "cannot use the folder for temporary files that TMPDIR names: No such "
                          "file or directory; check the name and its folder",
                          [this] { build(); }));
    if (former != nullptr) {
        ::setenv("TMPDIR", formerText.c_str(), 1);
    } else {
        ::unsetenv("TMPDIR");
    }
}

TEST_F(RequestBuilderTest, AFormFieldCannotForgeLines) {
    folder_.write("f", "x");
    const std::string file = (folder_ / "f").string();
    for (const std::string& field : {std::string("a\r\nX: y=b"), std::string("a\x7F=b")}) {
        options_.form = {field};
        EXPECT_TRUE(failsWith(ExitCode::Usage, "the name of a form field has a control character",
                              [this] { build(); }));
    }
    options_.form = {"a=@" + file + ";type=text/x\nX: y"};
    EXPECT_TRUE(failsWith(ExitCode::Usage, "the type of a form field has a control character",
                          [this] { build(); }));
    options_.form = {"a=line\r\nline"};
    EXPECT_EQ(build().getMultipartBody().getDataPart("a").getData(), "line\r\nline");
}

TEST_F(RequestBuilderTest, AFormTakesNoPipes) {
    options_.form = {"a=@/dev/null"};
    EXPECT_TRUE(
        failsWith(ExitCode::Failed,
                  "cannot send /dev/null in a form: it is no regular file; copy it into one",
                  [this] { build(); }));
}

TEST_F(RequestBuilderTest, AFolderIsNoFileForAForm) {
    options_.form = {"a=@" + folder_.path().string()};
    EXPECT_TRUE(
        failsWith(ExitCode::Failed,
                  "cannot read " + folder_.path().string() + ": Is a directory; name a file",
                  [this] { build(); }));
}

TEST_F(RequestBuilderTest, AFormHasItsFieldsAndFiles) {
    folder_.write("picture;x", "pixels");
    const std::string file = (folder_ / "picture;x").string();
    options_.form = {"title=My cat=1", "raw=@" + file, "typed=@" + file + ";type=image/png", "e="};
    const HttpRequest request = build();
    const MultipartBody form = request.getMultipartBody();
    EXPECT_EQ(form.getDataPart("title").getData(), "My cat=1");
    EXPECT_EQ(form.getDataPart("e").getData(), "");
    EXPECT_EQ(form.getFilePart("raw").getFilePath(), file);
    EXPECT_EQ(form.getFilePart("raw").getHeader().getContentType(), "");
    EXPECT_EQ(form.getFilePart("typed").getFilePath(), file);
    EXPECT_EQ(form.getFilePart("typed").getHeader().getContentType(), "image/png");
    EXPECT_FALSE(request.hasRequestBody());
}

TEST_F(RequestBuilderTest, AFieldWithoutANameIsWrongUsage) {
    for (const char* field : {"", "name", "=value", "name=@"}) {
        options_.form = {field};
        EXPECT_TRUE(failsWith(ExitCode::Usage, "-F takes NAME=VALUE or NAME=@FILE", [this] {
            build();
        })) << field;
    }
    const std::string none = (folder_ / "none").string();
    options_.form = {"name=@" + none};
    EXPECT_TRUE(failsWith(
        ExitCode::Failed,
        "cannot read " + none + ": No such file or directory; check the name and its folder",
        [this] { build(); }));
}

TEST_F(RequestBuilderTest, SettingsReachTheConfiguration) {
    using Access = detail::ClientConfigurationAccess;
    options_.connectTimeout = std::chrono::milliseconds(1500);
    options_.idleTimeout = std::chrono::milliseconds(2500);
    options_.maxRedirects = 7;
    options_.proxy = "http://proxy:1";
    options_.certificateFile = "ca.pem";
    options_.unixSocket = "/socket";
    options_.parallel = 3;
    const ClientConfiguration configuration =
        RequestBuilder(options_, -1, interrupts_).configuration();
    EXPECT_EQ(Access::connectTimeoutMs(configuration), 1500);
    EXPECT_EQ(Access::idleTimeoutMs(configuration), 2500);
    EXPECT_EQ(Access::responseTimeoutMs(configuration), 2500);
    EXPECT_EQ(Access::proxyUrl(configuration), "http://proxy:1");
    EXPECT_EQ(configuration.certificateFile(), "ca.pem");
    EXPECT_EQ(configuration.domainSocketPath(), "/socket");
    EXPECT_TRUE(configuration.followRedirects());
    EXPECT_EQ(configuration.maxRedirects(), 7);
    EXPECT_EQ(configuration.maxThreads(), 3);
    EXPECT_EQ(configuration.maxRequestsPerThread(), 1);
    EXPECT_TRUE(configuration.resumeOnRetry());
    options_.maxRedirects = 0;
    EXPECT_FALSE(RequestBuilder(options_, -1, interrupts_).configuration().followRedirects());
}

}  // namespace
}  // namespace foundation::httpclient_tool
