#include "tests/client/Roads.h"
#include "tests/client/ScriptedTransport.h"
#include "tests/properties/Property.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core/HttpClient.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <exception>
#include <future>
#include <string>
#include <utility>
#include <vector>

// A body that comes in any number of pieces, each attempt going on where the one before broke off.
namespace foundation::httpclient_core {
namespace {

using testing::answer;
using testing::Attempt;
using testing::CaseRandom;
using testing::forAllCases;
using testing::ScriptedTransport;
using testing::Seen;

class ResumePropertyTest : public ::testing::Test {
    testing::LogCapture log_;
};

std::size_t offsetIn(const std::string& range) {
    EXPECT_TRUE(range.starts_with("bytes=") && range.ends_with("-")) << range;
    return std::stoul(range.substr(6));
}

TEST_F(ResumePropertyTest, PiecesAddUpToTheBodyAndEachRangeToTheNextOffset) {
    forAllCases([](CaseRandom& random) {
        const std::string whole = random.text("abcdefgh", 1, 40);
        std::vector<std::size_t> offsets;
        std::vector<std::int64_t> progress;
        std::vector<std::int64_t> expectedProgress;
        std::int64_t added = 0;
        std::size_t sent = 0;
        ScriptedTransport client;
        client.answerWith([&](const Seen& seen) {
            const std::size_t offset = seen.headers.hasHeader("Range")
                                           ? offsetIn(seen.headers.getHeaderValue("Range"))
                                           : 0;
            offsets.push_back(offset);
            EXPECT_EQ(offset, sent);
            const std::size_t left = whole.size() - offset;
            const std::size_t piece = random.oneIn(3) ? left : random.below(left + 1);
            Attempt attempt =
                answer(offset == 0 ? HttpResponseCode::OK : HttpResponseCode::PartialContent,
                       whole.substr(offset, piece), {{"Accept-Ranges", "bytes"}});
            if (piece < left) {
                attempt.error = std::make_exception_ptr(HttpRequestFailedException("broken off"));
            }
            sent = offset + piece;
            // Each continuation adds its offset to what the ones before it add already.
            added += static_cast<std::int64_t>(offset);
            expectedProgress.push_back(static_cast<std::int64_t>(piece) + added);
            return attempt;
        });
        client.setClientConfiguration(
            testing::retrying([](const HttpRequest&, const HttpResponse&,
                                 const std::exception_ptr& error, int, int) {
                return error != nullptr;
            }).withResumeOnRetry(true));
        HttpRequest request = testing::getRequest();
        request.setProgressCallback([&](const Progress& each) {
            progress.push_back(each.downloaded);
            return ProgressResult::Continue;
        });
        std::string body;
        if (random.oneIn(2)) {
            body = client.makeRequest(std::move(request)).getResponseBodyString();
        } else {
            std::future<HttpResponse> response = client.makeAsyncRequest(std::move(request)).first;
            client.pump();
            body = response.get().getResponseBodyString();
        }
        ASSERT_EQ(body, whole);
        ASSERT_EQ(progress, expectedProgress);
        for (std::size_t i = 1; i < offsets.size(); ++i) {
            ASSERT_GE(offsets[i], offsets[i - 1]);
        }
    });
}

}  // namespace
}  // namespace foundation::httpclient_core
