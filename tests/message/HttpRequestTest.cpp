#include "message/MemoryStream.h"
#include "support/Streams.h"
#include "tests/message/TestStreams.h"
#include "tests/support/GroupingLocale.h"
#include "tests/support/LogCapture.h"
#include "tests/support/ThrowsExactly.h"

#include <foundation/httpclient_core/HttpRequest.h>

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

using testing::coreRecord;
using testing::LogCapture;
using testing::LogRecord;
using testing::throwsExactly;
using testing::UnseekableStream;

HttpRequest makeRequest(HttpHeaders headers = {}) {
    return {HttpMethod::POST, "http://example.com:81/a?b=c#d", std::move(headers)};
}

std::string fields(const HttpRequest& request) {
    return request.getHeaders().toString("; ", "=", [](std::string text) { return text; });
}

std::unique_ptr<std::istream> streamOf(std::string text) {
    return std::make_unique<std::istringstream>(std::move(text));
}

TEST(HttpRequestTest, CarriesEverythingThatIsSent) {
    HttpRequest request(HttpMethod::PUT, "http://example.com/items", {{"Accept", "text/plain"}});
    request.withClientConfiguration(ClientConfiguration().withMaxRedirects(1))
        .withProgressCallback([](const Progress&) { return ProgressResult::Continue; });
    request.setRequestBody("abc");

    EXPECT_EQ(request.getHttpMethod(), HttpMethod::PUT);
    EXPECT_EQ(request.getURL().toAsciiString(), "http://example.com/items");
    EXPECT_EQ(fields(request), "Accept=text/plain; Content-Type=text/plain; Content-Length=3");
    EXPECT_EQ(request.getRequestBodyString(), "abc");
    EXPECT_EQ(request.getClientConfiguration().maxRedirects(), 1);
    EXPECT_TRUE(request.hasProgressCallback());
}

TEST(HttpRequestTest, StartsWithoutBodiesCallbacksAndConfiguration) {
    const HttpRequest request = makeRequest({{"a", "1"}});
    EXPECT_EQ(fields(request), "a=1");
    EXPECT_FALSE(request.hasRequestBody());
    EXPECT_FALSE(request.hasSimpleBody());
    EXPECT_FALSE(request.hasMultipartBody());
    EXPECT_FALSE(request.hasClientConfiguration());
    EXPECT_FALSE(request.hasProgressCallback());
    EXPECT_FALSE(request.getPreRespCodeAndHeadersCallback());
}

TEST(HttpRequestTest, QueryParametersStartEmptyAlsoForAnURLWithAQuery) {
    const HttpRequest request = makeRequest();
    EXPECT_TRUE(request.getQueryParameters().empty());
    EXPECT_EQ(request.getURL().getQueryParameters().toUnencodedString(), "?b=c");
}

TEST(HttpRequestTest, QueryParametersAreReplacedAndLeaveTheURLAlone) {
    HttpRequest request = makeRequest();
    QueryParameters parameters{{"x", "1"}};
    request.setQueryParameters(parameters);
    parameters.addQueryParameter("y", "2");
    EXPECT_EQ(request.getQueryParameters().size(), 1U);
    request.setQueryParameters(parameters);
    EXPECT_EQ(request.getQueryParameters().getParameterValue("y"), "2");
    EXPECT_EQ(request.getURL().toAsciiString(), "http://example.com:81/a?b=c#d");
}

TEST(HttpRequestTest, HasTheDefaultResponseStreamFactory) {
    const auto stream =
        makeRequest().getResponseStreamFactory()(HttpResponseCode::OK, "OK", HttpHeaders());
    ASSERT_NE(dynamic_cast<MemoryStream*>(stream.get()), nullptr);
    EXPECT_EQ(stream->tellp(), std::streampos(0));
}

TEST(HttpRequestTest, IsMovableAndNotCopyable) {
    static_assert(!std::is_copy_constructible_v<HttpRequest>);
    static_assert(!std::is_copy_assignable_v<HttpRequest>);
    static_assert(std::is_move_constructible_v<HttpRequest>);
    static_assert(std::is_move_assignable_v<HttpRequest>);
    static_assert(std::has_virtual_destructor_v<HttpRequest>);
    static_assert(std::is_base_of_v<HttpMessage, HttpRequest>);
}

HttpRequest fullRequest() {
    HttpRequest request = makeRequest({{"a", "1"}});
    request.setQueryParameters({{"x", "1"}});
    request.setRequestBody(streamOf("body"));
    request.setMultipartBody(MultipartBody().withPart(DataPart("part")));
    request.setClientConfiguration(ClientConfiguration().withMaxThreads(9));
    request.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
    request.setPreRespCodeAndHeadersCallback([] {});
    request.setResponseStreamFactory([](HttpResponseCode, const std::string&, const HttpHeaders&) {
        return std::make_unique<std::stringstream>("made");
    });
    return request;
}

void expectFull(const HttpRequest& request) {
    EXPECT_EQ(request.getHttpMethod(), HttpMethod::POST);
    EXPECT_EQ(request.getURL().toAsciiString(), "http://example.com:81/a?b=c#d");
    EXPECT_EQ(fields(request), "a=1");
    EXPECT_EQ(request.getQueryParameters().getParameterValue("x"), "1");
    EXPECT_EQ(request.getRequestBodyString(), "body");
    EXPECT_TRUE(request.hasMultipartBody());
    EXPECT_EQ(request.getClientConfiguration().maxThreads(), 9);
    EXPECT_EQ(request.getProgressCallback()(Progress()), ProgressResult::Abort);
    EXPECT_TRUE(request.getPreRespCodeAndHeadersCallback());
    const auto stream = request.getResponseStreamFactory()(HttpResponseCode::OK, "", HttpHeaders());
    EXPECT_EQ(support::readRest(*stream), "made");
}

TEST(HttpRequestTest, MoveConstructionTakesEverything) {
    HttpRequest source = fullRequest();
    const std::istream* body = &source.getRequestBody();
    const HttpRequest target(std::move(source));
    expectFull(target);
    EXPECT_EQ(&target.getRequestBody(), body);
}

TEST(HttpRequestTest, MoveAssignmentTakesEverythingAndDestroysTheFormerBody) {
    std::vector<std::string> events;
    HttpRequest target(HttpMethod::GET, "http://other/", {{"z", "1"}});
    target.setRequestBody(std::make_unique<testing::ObservedStream>(
        [&](const char* event) { events.emplace_back(event); }));
    target = fullRequest();
    EXPECT_EQ(events, (std::vector<std::string>{"destroyed"}));
    expectFull(target);
}

TEST(HttpRequestTest, WithHeadersReplacesTheHeadersAndReturnsTheRequest) {
    HttpRequest request = makeRequest({{"a", "1"}});
    EXPECT_EQ(&request.withHeaders({{"b", "2"}}), &request);
    EXPECT_EQ(fields(request), "b=2");
}

struct TextBodyRow {
    const char* label;
    HttpHeaders headers;
    std::string text;
    const char* expected;
    friend std::ostream& operator<<(std::ostream& os, const TextBodyRow& row) {
        return os << row.label;
    }
};

class HttpRequestTextBodyTest : public ::testing::TestWithParam<TextBodyRow> {};

TEST_P(HttpRequestTextBodyTest, AddsTheHeadersThatAreMissing) {
    HttpRequest request = makeRequest(GetParam().headers);
    request.setRequestBody(GetParam().text);
    EXPECT_EQ(fields(request), GetParam().expected);
    EXPECT_TRUE(request.hasRequestBody());
    EXPECT_EQ(request.getRequestBodyString(), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpRequestTextBodyTest,
    ::testing::Values(
        TextBodyRow{"NoHeaders", {}, "abc", "Content-Type=text/plain; Content-Length=3"},
        TextBodyRow{"EmptyText", {}, "", "Content-Type=text/plain; Content-Length=0"},
        TextBodyRow{"BytesNotCharacters",
                    {},
                    std::string("\xC3\xA9\0x", 4),
                    "Content-Type=text/plain; Content-Length=4"},
        TextBodyRow{"TransferEncoding",
                    {{"transfer-encoding", "chunked"}},
                    "abc",
                    "transfer-encoding=chunked; Content-Type=text/plain"},
        TextBodyRow{"ContentLength",
                    {{"content-length", "99"}},
                    "abc",
                    "content-length=99; Content-Type=text/plain"},
        TextBodyRow{"ContentType",
                    {{"content-type", "a/b"}},
                    "abc",
                    "content-type=a/b; Content-Length=3"},
        TextBodyRow{"EmptyValuesCountAsThere",
                    {{"Content-Type", ""}, {"Transfer-Encoding", ""}},
                    "abc",
                    "Content-Type=; Transfer-Encoding="}),
    [](const auto& row) { return row.param.label; });

TEST(HttpRequestTest, SecondTextBodyKeepsTheLengthOfTheFirst) {
    HttpRequest request = makeRequest();
    request.setRequestBody("abc");
    request.setRequestBody("abcdef");
    EXPECT_EQ(request.getContentLength(), 3);
    EXPECT_EQ(request.getRequestBodyString(), "abcdef");
}

TEST(HttpRequestTest, TextBodyIsReadAndWrittenInMemory) {
    HttpRequest request = makeRequest();
    request.setRequestBody("abc");
    EXPECT_NE(dynamic_cast<std::stringstream*>(&request.getRequestBody()), nullptr);
    EXPECT_EQ(request.getRequestBody().tellg(), std::streampos(0));
}

TEST(HttpRequestTest, LengthOfALongTextIsNotGrouped) {
    const testing::GroupingLocale grouping;
    HttpRequest request = makeRequest();
    request.setRequestBody(std::string(1234567, 'x'));
    EXPECT_EQ(request.getHeaderValue("Content-Length"), "1234567");
}

TEST(HttpRequestTest, StreamBodyTouchesNoHeader) {
    HttpRequest request = makeRequest({{"a", "1"}});
    auto stream = streamOf("abc");
    const std::istream* address = stream.get();
    request.setRequestBody(std::move(stream));
    EXPECT_EQ(fields(request), "a=1");
    EXPECT_TRUE(request.hasRequestBody());
    EXPECT_TRUE(request.hasSimpleBody());
    EXPECT_EQ(&request.getRequestBody(), address);
}

TEST(HttpRequestTest, NullStreamRemovesTheBody) {
    HttpRequest request = makeRequest();
    request.setRequestBody("abc");
    request.setRequestBody(std::unique_ptr<std::istream>());
    EXPECT_FALSE(request.hasRequestBody());
    EXPECT_FALSE(request.hasSimpleBody());
    EXPECT_TRUE(request.hasHeader("Content-Length"));
}

TEST(HttpRequestTest, MultipartBodyAloneIsNoRequestBody) {
    HttpRequest request = makeRequest();
    request.setMultipartBody(MultipartBody().withPart(DataPart("x")));
    EXPECT_FALSE(request.hasRequestBody());
    EXPECT_FALSE(request.hasSimpleBody());
    EXPECT_TRUE(request.hasMultipartBody());
    EXPECT_EQ(fields(request), "");
}

TEST(HttpRequestTest, BothKindsOfBodyAreHeldSideBySide) {
    HttpRequest request = makeRequest();
    request.setMultipartBody(MultipartBody().withPart(DataPart("x")));
    request.setRequestBody("abc");
    EXPECT_TRUE(request.hasMultipartBody());
    EXPECT_EQ(request.getRequestBodyString(), "abc");
}

TEST(HttpRequestTest, GetMultipartBodyReturnsACopy) {
    HttpRequest request = makeRequest();
    request.setMultipartBody(MultipartBody().withPart(DataPart("x")));
    MultipartBody copy = request.getMultipartBody();
    copy.addPart(DataPart("y"));
    EXPECT_EQ(request.getMultipartBody().getContent().size(), 1U);
}

struct AbsentRow {
    const char* label;
    const char* what;
    std::function<void(const HttpRequest&)> read;
    friend std::ostream& operator<<(std::ostream& os, const AbsentRow& row) {
        return os << row.label;
    }
};

class HttpRequestAbsentTest : public ::testing::TestWithParam<AbsentRow> {};

TEST_P(HttpRequestAbsentTest, ThrowsLogicErrorWithTheURLAndLogsItOnce) {
    const HttpRequest request = makeRequest();
    const std::string text = std::string("Request for http://example.com:81/a?b=c#d ") +
                             "does not have a " + GetParam().what;
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { GetParam().read(request); }, text));
    EXPECT_EQ(log.records(), (std::vector<LogRecord>{coreRecord(512, text)}));
}

INSTANTIATE_TEST_SUITE_P(
    Table,
    HttpRequestAbsentTest,
    ::testing::Values(
        AbsentRow{"GetClientConfiguration", "ClientConfiguration",
                  [](const HttpRequest& request) { request.getClientConfiguration(); }},
        AbsentRow{"GetProgressCallback", "ProgressCallback",
                  [](const HttpRequest& request) { request.getProgressCallback(); }},
        AbsentRow{"GetRequestBody", "body",
                  [](const HttpRequest& request) { request.getRequestBody(); }},
        AbsentRow{"GetRequestBodyString", "body",
                  [](const HttpRequest& request) { request.getRequestBodyString(); }}),
    [](const auto& row) { return row.param.label; });

TEST(HttpRequestTest, GetMultipartBodyWithoutOneThrowsWithoutRecord) {
    const HttpRequest request = makeRequest();
    LogCapture log;
    EXPECT_TRUE(throwsExactly<std::logic_error>([&] { request.getMultipartBody(); },
                                                "Request does not have a multipart body."));
    EXPECT_TRUE(log.records().empty());
}

TEST(HttpRequestTest, SetMultipartBodyWithoutPartsThrowsWithoutRecordAndChangesNothing) {
    HttpRequest request = makeRequest();
    LogCapture log;
    const auto setEmpty = [&] { request.setMultipartBody(MultipartBody()); };
    EXPECT_TRUE(throwsExactly<std::logic_error>(setEmpty, "Multipart body object is empty."));
    EXPECT_FALSE(request.hasMultipartBody());
    request.setMultipartBody(MultipartBody().withPart(DataPart("x")));
    EXPECT_TRUE(throwsExactly<std::logic_error>(setEmpty, "Multipart body object is empty."));
    EXPECT_EQ(request.getMultipartBody().getContent().size(), 1U);
    EXPECT_TRUE(log.records().empty());
}

TEST(HttpRequestTest, ClientConfigurationIsCopiedInAndOut) {
    HttpRequest request = makeRequest();
    ClientConfiguration configuration;
    configuration.setMaxThreads(7);
    request.setClientConfiguration(configuration);
    configuration.setMaxThreads(8);
    EXPECT_TRUE(request.hasClientConfiguration());
    request.getClientConfiguration().setMaxThreads(9);
    EXPECT_EQ(request.getClientConfiguration().maxThreads(), 7);
    EXPECT_EQ(&request.withClientConfiguration(configuration), &request);
    EXPECT_EQ(request.getClientConfiguration().maxThreads(), 8);
}

TEST(HttpRequestTest, ProgressCallbackIsSetChainedAndRemoved) {
    HttpRequest request = makeRequest();
    request.setProgressCallback([](const Progress&) { return ProgressResult::Abort; });
    EXPECT_TRUE(request.hasProgressCallback());
    EXPECT_EQ(request.getProgressCallback()(Progress()), ProgressResult::Abort);
    EXPECT_EQ(
        &request.withProgressCallback([](const Progress&) { return ProgressResult::Continue; }),
        &request);
    EXPECT_EQ(request.getProgressCallback()(Progress()), ProgressResult::Continue);
    request.setProgressCallback(ProgressCallback());
    EXPECT_FALSE(request.hasProgressCallback());
}

TEST(HttpRequestTest, ProgressCallbackIsReturnedWithAStateOfItsOwn) {
    HttpRequest request = makeRequest();
    request.setProgressCallback([calls = 0](const Progress&) mutable {
        return ++calls > 1 ? ProgressResult::Abort : ProgressResult::Continue;
    });
    const ProgressCallback first = request.getProgressCallback();
    EXPECT_EQ(first(Progress()), ProgressResult::Continue);
    EXPECT_EQ(first(Progress()), ProgressResult::Abort);
    EXPECT_EQ(request.getProgressCallback()(Progress()), ProgressResult::Continue);
}

TEST(HttpRequestTest, PreRespCodeAndHeadersCallbackIsSetChainedAndRemoved) {
    HttpRequest request = makeRequest();
    int calls = 0;
    request.setPreRespCodeAndHeadersCallback([&] { ++calls; });
    request.getPreRespCodeAndHeadersCallback()();
    EXPECT_EQ(&request.withPreRespCodeAndHeadersCallback([&] { calls += 10; }), &request);
    request.getPreRespCodeAndHeadersCallback()();
    EXPECT_EQ(calls, 11);
    request.setPreRespCodeAndHeadersCallback({});
    EXPECT_FALSE(request.getPreRespCodeAndHeadersCallback());
}

TEST(HttpRequestTest, ResponseStreamFactoryIsSetAndChained) {
    const auto factoryOf = [](const char* text) {
        return [text](HttpResponseCode, const std::string&, const HttpHeaders&) {
            return std::make_unique<std::stringstream>(text);
        };
    };
    const auto made = [](const HttpRequest& request) {
        return support::readRest(
            *request.getResponseStreamFactory()(HttpResponseCode::OK, "", HttpHeaders()));
    };
    HttpRequest request = makeRequest();
    request.setResponseStreamFactory(factoryOf("1"));
    EXPECT_EQ(made(request), "1");
    EXPECT_EQ(&request.withResponseStreamFactory(factoryOf("2")), &request);
    EXPECT_EQ(made(request), "2");
}

TEST(HttpRequestTest, EmptyResponseStreamFactoryIsStored) {
    HttpRequest request = makeRequest();
    request.setResponseStreamFactory(ResponseStreamFactory());
    EXPECT_FALSE(request.getResponseStreamFactory());
}

TEST(HttpRequestTest, BodyStringIsTheWholeTextAndLeavesThePosition) {
    HttpRequest request = makeRequest();
    request.setRequestBody("abcdef");
    std::istream& body = request.getRequestBody();
    body.seekg(2);
    EXPECT_EQ(request.getRequestBodyString(), "abcdef");
    EXPECT_EQ(body.tellg(), std::streampos(2));
    EXPECT_EQ(request.getRequestBodyString(), "abcdef");
}

TEST(HttpRequestTest, BodyStringLeavesTheStateBits) {
    HttpRequest request = makeRequest();
    request.setRequestBody("abc def");
    std::istream& body = request.getRequestBody();
    std::string word;
    while (body >> word) {
    }
    const std::ios::iostate state = std::ios::eofbit | std::ios::failbit;
    ASSERT_EQ(body.rdstate(), state);
    EXPECT_EQ(request.getRequestBodyString(), "abc def");
    EXPECT_EQ(body.rdstate(), state);
    body.clear();
    EXPECT_EQ(body.get(), std::istream::traits_type::eof());
}

TEST(HttpRequestTest, BodyStringSpansManyChunks) {
    std::string text(20001, 'x');
    text[4096] = '\0';
    text.back() = 'y';
    HttpRequest request = makeRequest();
    request.setRequestBody(streamOf(text));
    EXPECT_EQ(request.getRequestBodyString(), text);
}

TEST(HttpRequestTest, BodyStringOfAnUnseekableStreamConsumesTheRest) {
    HttpRequest request = makeRequest();
    request.setRequestBody(std::make_unique<UnseekableStream>("abcdef"));
    request.getRequestBody().get();
    EXPECT_EQ(request.getRequestBodyString(), "bcdef");
    EXPECT_EQ(request.getRequestBodyString(), "");
    EXPECT_TRUE(request.getRequestBody().good());
}

TEST(HttpRequestTest, BodyStringOfAStreamWithoutBufferIsEmpty) {
    HttpRequest request = makeRequest();
    request.setRequestBody(std::make_unique<std::istream>(nullptr));
    EXPECT_EQ(request.getRequestBodyString(), "");
    EXPECT_TRUE(request.getRequestBody().bad());
}

TEST(HttpRequestTest, BodyReadToItsEndIsReadAgainOnceRewound) {
    HttpRequest request = makeRequest();
    request.setRequestBody("abc");
    std::istream& body = request.getRequestBody();
    std::string text;
    while (body >> text) {
    }
    ASSERT_TRUE(body.eof() && body.fail());
    support::rewind(body);
    EXPECT_TRUE(body.good());
    body >> text;
    EXPECT_EQ(text, "abc");
}

TEST(HttpRequestTest, UnseekableBodyHasFailedOnceRewound) {
    HttpRequest request = makeRequest();
    request.setRequestBody(std::make_unique<UnseekableStream>("abc"));
    support::rewind(request.getRequestBody());
    EXPECT_TRUE(request.getRequestBody().fail());
}

TEST(HttpRequestTest, SuccessfulOperationsWriteNoRecord) {
    LogCapture log;
    HttpRequest request = fullRequest();
    request.setRequestBody("abc");
    expectFull(fullRequest());
    request.withHeaders({});
    request.hasClientConfiguration();
    request.hasProgressCallback();
    request.hasMultipartBody();
    EXPECT_TRUE(log.records().empty());
}

}  // namespace
}  // namespace foundation::httpclient_core
