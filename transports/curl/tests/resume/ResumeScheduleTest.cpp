#include "support/TestClient.h"

#include <algorithm>
#include <charconv>
#include <fstream>
#include <mutex>
#include <optional>
#include <random>
#include <sstream>

namespace foundation::httpclient_curl::testing {
namespace {

/// What the answers say of the version of the resource.
enum class Pin { StrongTag, OldDate, FreshDate, WeakTag, Nothing };

std::ostream& operator<<(std::ostream& os, Pin pin) {
    constexpr std::array names{"StrongTag", "OldDate", "FreshDate", "WeakTag", "Nothing"};
    return os << names[static_cast<std::size_t>(pin)];
}

/// One version of a resource.
struct Version {
    std::string content;
    std::string fields;
};

std::string randomText(std::mt19937& random, std::size_t size) {
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(),
                  [&random] { return static_cast<char>('!' + random() % 90); });
    return text;
}

Version makeVersion(std::mt19937& random, Pin pin, int number, std::size_t size) {
    Version version{.content = randomText(random, size), .fields = {}};
    const std::string tag = "\"v" + std::to_string(number) + "\"";
    const std::string second = std::to_string(10 + number % 40);
    switch (pin) {
        case Pin::StrongTag:
            version.fields = "ETag: " + tag + "\r\n";
            break;
        case Pin::WeakTag:
            version.fields = "ETag: W/" + tag + "\r\n";
            break;
        case Pin::OldDate:
            version.fields =
                "Date: Sun, 06 Nov 1994 09:00:00 GMT\r\n"
                "Last-Modified: Sun, 06 Nov 1994 08:49:" +
                second + " GMT\r\n";
            break;
        case Pin::FreshDate:
            // The same for all versions: within the second it tells nothing.
            version.fields =
                "Date: Sun, 06 Nov 1994 09:00:00 GMT\r\n"
                "Last-Modified: Sun, 06 Nov 1994 09:00:00 GMT\r\n";
            break;
        case Pin::Nothing:
            break;
    }
    return version;
}

std::string ifRangeOf(const Version& version, Pin pin) {
    const std::size_t colon = version.fields.rfind(": ");
    return pin == Pin::Nothing
               ? std::string()
               : version.fields.substr(colon + 2, version.fields.size() - colon - 4);
}

std::string answer(const std::string& status,
                   const std::string& fields,
                   std::string_view body,
                   bool chunked = false) {
    std::string text = "HTTP/1.1 " + status + "\r\nAccept-Ranges: bytes\r\n" + fields;
    if (!chunked) {
        return text + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" +
               std::string(body);
    }
    std::ostringstream size;
    size << std::hex << body.size();
    return text + "Transfer-Encoding: chunked\r\n\r\n" +
           (body.empty() ? "" : size.str() + "\r\n" + std::string(body) + "\r\n") + "0\r\n\r\n";
}

/// Serves a resource that changes, with all faults that leave a client a chance to notice.
class FaultyServer {
public:
    FaultyServer(std::uint32_t seed, Pin pin)
        : random_(seed),
          pin_(pin),
          versions_{makeVersion(random_, pin, 0, 70000 + number(200000))},
          server_([this](const auto& request, Connection& connection) {
              serve(request, connection);
          }) {}

    std::string url() const { return server_.url(); }
    bool wasEver(const std::string& content) const {
        const std::lock_guard lock(mutex_);
        return std::any_of(versions_.begin(), versions_.end(),
                           [&content](const Version& each) { return each.content == content; });
    }

private:
    std::size_t number(std::size_t below) { return random_() % below; }

    // Half of the versions are as long as the one before: their total gives nothing away.
    void change() {
        const bool isAsLong = number(2) == 0;
        versions_.push_back(
            makeVersion(random_, pin_, static_cast<int>(versions_.size()),
                        isAsLong ? versions_.back().content.size() : 70000 + number(200000)));
    }

    std::optional<std::size_t> offsetOf(const ReceivedRequest& request) const {
        const std::string range = request.header("Range");
        std::size_t offset = 0;
        if (!range.starts_with("bytes=")) {
            return std::nullopt;
        }
        std::from_chars(range.data() + 6, range.data() + range.size(), offset);
        return offset;
    }

    std::string wellDone(const ReceivedRequest& request) {
        const Version& version = versions_.back();
        const std::optional<std::size_t> offset = offsetOf(request);
        const std::string condition = request.header("If-Range");
        const bool ignoresConditions = number(3) == 0;
        const bool holds =
            ignoresConditions || condition.empty() || condition == ifRangeOf(version, pin_);
        const bool chunked = number(4) == 0;
        if (!offset.has_value() || !holds) {
            return answer("200 OK", version.fields, version.content, chunked);
        }
        return part(version, *offset, version.content.size(), chunked);
    }

    static std::string part(const Version& version,
                            std::size_t offset,
                            std::size_t end,
                            bool chunked = false,
                            std::size_t claimed = std::string::npos) {
        const std::size_t size = version.content.size();
        if (offset >= size) {
            return answer("416 No", "Content-Range: bytes */" + std::to_string(size) + "\r\n", "");
        }
        claimed = claimed == std::string::npos ? offset : claimed;
        const std::string range = "Content-Range: bytes " + std::to_string(claimed) + "-" +
                                  std::to_string(claimed + end - offset - 1) + "/" +
                                  std::to_string(size) + "\r\n";
        return answer("206 Part", version.fields + range,
                      std::string_view(version.content).substr(offset, end - offset), chunked);
    }

    void serve(const ReceivedRequest& request, Connection& connection) {
        const std::lock_guard lock(mutex_);
        const Version& version = versions_.back();
        const std::optional<std::size_t> offset = offsetOf(request);
        const std::size_t from = std::min(offset.value_or(0), version.content.size() - 1);
        std::string text;
        switch (number(14)) {
            case 0:
                text = answer("503 Busy", "", randomText(random_, number(300)));
                break;
            case 1:
                break;  // no answer
            case 2:
                change();
                text = wellDone(request);
                break;
            case 3:  // another offset, and it says so
                text = part(version, from / 2, version.content.size());
                break;
            case 4:  // ends early
                text = part(version, from, from + 1 + number(version.content.size() - from));
                break;
            case 5:  // whatever was asked for
                text = answer("200 OK", version.fields, version.content);
                break;
            case 6:
                text = answer("206 Part", version.fields,
                              std::string_view(version.content).substr(from));
                break;
            case 7:
                text = answer("416 No", "", "no");
                break;
            case 8:
                text = answer("200 OK", version.fields + "Content-Encoding: gzip\r\n", "packed");
                text.resize(text.size() - 1);
                break;
            default:
                text = wellDone(request);
        }
        if (number(3) != 0) {
            text.resize(number(text.size() + 1));
        }
        connection.send(text);
        connection.close();
    }

    mutable std::mutex mutex_;
    std::mt19937 random_;
    Pin pin_;
    std::vector<Version> versions_;  ///< Never empty.
    LoopbackServer server_;
};

using Parameter = std::tuple<Pin, Road>;

class ResumeScheduleTest : public ::testing::TestWithParam<Parameter> {};
INSTANTIATE_TEST_SUITE_P(
    Schedules,
    ResumeScheduleTest,
    ::testing::Combine(
        ::testing::Values(Pin::StrongTag, Pin::OldDate, Pin::FreshDate, Pin::WeakTag, Pin::Nothing),
        ::testing::Values(Road::Synchronous, Road::Asynchronous)),
    [](const auto& parameter) {
        return ::testing::PrintToString(std::get<0>(parameter.param)) +
               ::testing::PrintToString(std::get<1>(parameter.param));
    });

TEST_P(ResumeScheduleTest, EndsWithOneVersionOrAFailure) {
    const auto& [pin, road] = GetParam();
    const std::uint32_t seed = std::random_device()();
    RecordProperty("seed", std::to_string(seed));
    int whole = 0;
    int resumed = 0;
    // Chance decides how many are whole and resumed: rounds are added until there are enough.
    const auto enough = [&] { return whole > 20 && resumed > 5; };
    for (std::uint32_t round = 0; round < 60 || (round < 600 && !enough()); ++round) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " round " + std::to_string(round));
        FaultyServer server(seed + round, pin);
        std::vector<AttemptReport> reports;
        CurlClientOptions options;
        options.attemptObserver = [&reports](const AttemptReport& each) {
            reports.push_back(each);
        };
        TestClient client(std::move(options));
        client->setClientConfiguration(resumingConfiguration(40));
        const Outcome outcome = client.get(server.url(), road);
        ASSERT_FALSE(reports.empty());
        if (outcome.error != nullptr || !isSuccess(outcome.code())) {
            continue;
        }
        const std::string body = outcome.body();
        ++whole;
        ASSERT_TRUE(body == "packed" || server.wasEver(body)) << "a mixture of " << body.size();
        std::int64_t remaining = 0;
        std::int64_t before = 0;
        for (const AttemptReport& each : reports) {
            remaining += each.bytesReceived - each.bytesDiscarded;
            resumed += each.resumed ? 1 : 0;
            EXPECT_LE(each.bytesKept, before);
            before = remaining;
        }
        EXPECT_EQ(remaining, static_cast<std::int64_t>(body.size()));
    }
    EXPECT_TRUE(enough()) << whole << " whole, " << resumed << " resumed";
}

/// A server that breaks off after a number of bytes, again and again, and serves any range.
class CuttingServer {
public:
    CuttingServer(std::string content, std::string fields, std::size_t cutAfter)
        : server_([=](const ReceivedRequest& request, Connection& connection) {
              std::size_t offset = 0;
              const std::string range = request.header("Range");
              std::string text;
              if (range.starts_with("bytes=")) {
                  std::from_chars(range.data() + 6, range.data() + range.size(), offset);
                  text = answer("206 Part",
                                fields + "Content-Range: bytes " + std::to_string(offset) + "-" +
                                    std::to_string(content.size() - 1) + "/" +
                                    std::to_string(content.size()) + "\r\n",
                                std::string_view(content).substr(offset));
              } else {
                  text = answer("200 OK", fields, content);
              }
              const std::size_t head = text.find("\r\n\r\n") + 4;
              text.resize(std::min(text.size(), head + cutAfter));
              connection.send(text);
              connection.close();
          }) {}

    LoopbackServer* operator->() { return &server_; }

private:
    LoopbackServer server_;
};

class ResumeCostTest : public BothRoads {
protected:
    // Runs the download; returns the body bytes that came for each byte of the file.
    double run(CuttingServer& server,
               const std::string& content,
               const ResponseStreamFactory& factory = {}) {
        std::int64_t received = 0;
        CurlClientOptions options;
        options.attemptObserver = [&received](const AttemptReport& each) {
            received += each.bytesReceived;
        };
        TestClient client(std::move(options));
        client->setClientConfiguration(resumingConfiguration(100));
        HttpRequest request(HttpMethod::GET, server->url(), {});
        if (factory) {
            request.setResponseStreamFactory(factory);
        }
        std::vector<Progress> progress;
        request.setProgressCallback([&progress](const Progress& now) {
            progress.push_back(now);
            return ProgressResult::Continue;
        });
        Outcome outcome = client.run(std::move(request), GetParam());
        EXPECT_EQ(outcome.error, nullptr) << outcome.message();
        outcome.response.getResponseBody().seekg(0);
        EXPECT_TRUE(outcome.body() == content);
        for (const Progress& each : progress) {
            EXPECT_GE(each.downloaded, 0);
            EXPECT_LE(each.downloaded, static_cast<std::int64_t>(content.size()));
        }
        EXPECT_EQ(progress.back().downloaded, static_cast<std::int64_t>(content.size()));
        EXPECT_EQ(progress.back().downloadTotal, static_cast<std::int64_t>(content.size()));
        return static_cast<double>(received) / static_cast<double>(content.size());
    }
};
INSTANTIATE_TEST_SUITE_P(Roads,
                         ResumeCostTest,
                         ::testing::Values(Road::Synchronous, Road::Asynchronous),
                         roadName);

TEST_P(ResumeCostTest, StrongValidatorsCostNoByteTwice) {
    std::mt19937 random(1);
    const std::string content = randomText(random, 1000000);
    for (const char* fields : {"ETag: \"a\"\r\n",
                               "Date: Sun, 06 Nov 1994 08:51:00 GMT\r\n"
                               "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n"}) {
        CuttingServer server(content, fields, 70000);
        EXPECT_LE(run(server, content), 1.05);
        EXPECT_EQ(server->requestCount(), 15);
    }
}

TEST_P(ResumeCostTest, WithoutAValidatorTheLastBytesAreComparedFirst) {
    std::mt19937 random(1);
    const std::string content = randomText(random, 1000000);
    for (const char* fields : {"", "ETag: W/\"a\"\r\n", "Last-Modified: now\r\n"}) {
        CuttingServer server(content, fields, 200000);
        EXPECT_GT(run(server, content), 1.05);
        const std::vector<ReceivedRequest> requests = server->requests();
        ASSERT_EQ(requests.size(), 7U);
        EXPECT_EQ(requests[1].header("Range"), "bytes=" + std::to_string(200000 - 65536) + "-");
        EXPECT_FALSE(requests[1].hasHeader("If-Range"));
    }
}

TEST_P(ResumeCostTest, DateOfAFewSecondsIsConditionAndCompared) {
    std::mt19937 random(1);
    const std::string content = randomText(random, 300000);
    CuttingServer server(content,
                         "Date: Sun, 06 Nov 1994 08:49:39 GMT\r\n"
                         "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n",
                         200000);
    run(server, content);
    const ReceivedRequest second = server->requests().at(1);
    EXPECT_EQ(second.header("Range"), "bytes=" + std::to_string(200000 - 65536) + "-");
    EXPECT_EQ(second.header("If-Range"), "Sun, 06 Nov 1994 08:49:37 GMT");
}

TEST_P(ResumeCostTest, OverlapIsReadBackFromAFile) {
    std::mt19937 random(1);
    const std::string content = randomText(random, 300000);
    CuttingServer server(content, "", 200000);
    const std::string path =
        ::testing::TempDir() + "overlap" + std::to_string(static_cast<int>(GetParam()));
    EXPECT_LT(run(server, content,
                  [&path](HttpResponseCode, const std::string&, const HttpHeaders&) {
                      return std::make_unique<std::fstream>(
                          path, std::ios::in | std::ios::out | std::ios::trunc | std::ios::binary);
                  }),
              1.3);
    EXPECT_EQ(server->requestCount(), 2);
}

/// Takes bytes and gives none back.
class WriteOnlyBuffer final : public std::stringbuf {
protected:
    pos_type seekoff(off_type offset, std::ios::seekdir way, std::ios::openmode which) override {
        return (which & std::ios::in) != 0 && (which & std::ios::out) == 0
                   ? pos_type(off_type(-1))
                   : std::stringbuf::seekoff(offset, way, which);
    }
};

class WriteOnlyStream final : public std::iostream {
public:
    WriteOnlyStream() : std::iostream(nullptr) { rdbuf(&buffer_); }

private:
    WriteOnlyBuffer buffer_;
};

TEST_P(ResumeCostTest, StreamThatCannotBeReadBackStartsOver) {
    std::mt19937 random(1);
    const std::string content = randomText(random, 300000);
    std::size_t cutAfter = 200000;
    LoopbackServer server([&](const ReceivedRequest&, Connection& connection) {
        std::string text = answer("200 OK", "", content);
        text.resize(std::min(text.size(), cutAfter));
        cutAfter = std::string::npos;
        connection.send(text);
        connection.close();
    });
    TestClient client;
    client->setClientConfiguration(resumingConfiguration());
    HttpRequest request(HttpMethod::GET, server.url(), {});
    request.setResponseStreamFactory([](HttpResponseCode, const std::string&, const HttpHeaders&) {
        return std::make_unique<WriteOnlyStream>();
    });
    const Outcome outcome = client.run(std::move(request), GetParam());
    EXPECT_EQ(outcome.error, nullptr) << outcome.message();
    EXPECT_EQ(outcome.response.getResponseBody().tellp(), std::streampos(300000));
    ASSERT_EQ(server.requestCount(), 2);
    EXPECT_FALSE(server.requests().back().hasHeader("Range"));
}

}  // namespace
}  // namespace foundation::httpclient_curl::testing
