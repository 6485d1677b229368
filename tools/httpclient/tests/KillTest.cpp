// The program is killed at random moments of a download. Whatever it left, the next run with --resume makes
// the right file of it, and no wrong file ever has the final name.
//
// HTTPCLIENT_KILLS: how many kills (25 without it); HTTPCLIENT_SEED: repeats a run.
#include "tests/support/LoopbackServer.h"
#include "tools/httpclient/tests/HttpclientFixture.h"

#include <algorithm>
#include <atomic>
#include <charconv>
#include <chrono>
#include <iostream>
#include <random>
#include <thread>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::testing::Connection;
using httpclient_core::testing::HeaderList;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;

constexpr std::size_t size = 8'000'000;
constexpr std::int64_t interval = std::int64_t{1024} * 1024;

long numberOf(const char* name, long otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? std::strtol(text, nullptr, 10) : otherwise;
}

/// One version of the file.
struct Version {
    std::string content;
    std::string etag;
};

Version makeVersion(std::mt19937& random, const std::string& etag) {
    Version version{std::string(size, '\0'), etag};
    // Few words drawn, repeated with a twist: every 8 bytes differ, and it takes no time.
    const std::uint64_t start = random();
    for (std::size_t at = 0; at + 8 <= size; at += 8) {
        const std::uint64_t word = (start + at) * 0x9E3779B97F4A7C15U;
        std::copy_n(reinterpret_cast<const char*>(&word), 8, version.content.data() + at);
    }
    return version;
}

/// Sends the file in small pieces over about a tenth of a second, and knows ranges.
class SlowFileServer {
public:
    SlowFileServer()
        : server_([this](const ReceivedRequest& request, Connection& connection) {
              answer(request, connection);
          }) {}

    void publish(const Version& version) { version_ = &version; }
    std::string url() const { return server_.url("/file.bin"); }
    std::size_t requestCount() const { return static_cast<std::size_t>(server_.requestCount()); }
    ReceivedRequest request(std::size_t number) const { return server_.requests().at(number); }

private:
    void answer(const ReceivedRequest& request, Connection& connection) const {
        const Version& version = *version_;
        std::string_view body = version.content;
        std::string head = "HTTP/1.1 200 OK\r\n";
        const std::string range = request.header("Range");
        const bool isStrong = version.etag.starts_with('"');
        if (range.starts_with("bytes=") && isStrong && request.header("If-Range") == version.etag) {
            std::size_t first = 0;
            std::from_chars(range.data() + 6, range.data() + range.size(), first);
            body.remove_prefix(first);
            head = "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " + std::to_string(first) +
                   "-" + std::to_string(size - 1) + "/" + std::to_string(size) + "\r\n";
        }
        connection.send(head + "Accept-Ranges: bytes\r\nETag: " + version.etag +
                        "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n");
        while (!body.empty()) {
            constexpr std::size_t piece = 100'000;
            const std::size_t count = std::min(piece, body.size());
            if (!connection.send(body.substr(0, count)) ||
                !connection.pause(std::chrono::milliseconds(1))) {
                return;
            }
            body.remove_prefix(count);
        }
    }

    std::atomic<const Version*> version_{nullptr};
    LoopbackServer server_;
};

class KillTest : public testing::HttpclientFixture {
protected:
    // Runs the program for so long and kills it. Everything it may have left behind is checked.
    void runAndKill(const Version& version, std::chrono::microseconds time, bool resume) {
        std::vector<std::string> arguments = {"get", server_.url(), "-o", file()};
        if (resume) {
            arguments.emplace_back("--resume");
        }
        const auto process = start(arguments);
        std::this_thread::sleep_for(time);
        process->send(SIGKILL);
        process->wait();
        if (std::filesystem::exists(folder_ / "f")) {
            EXPECT_TRUE(folder_.read("f") == version.content) << "a wrong file has the final name";
        }
    }

    std::int64_t partSize() const {
        std::error_code none;
        const auto bytes = std::filesystem::file_size(folder_ / "f.part", none);
        return none ? 0 : static_cast<std::int64_t>(bytes);
    }

    void finish(const Version& version) {
        EXPECT_EQ(getFile(server_.url(), {"--resume"}), 0) << errors();
        EXPECT_TRUE(folder_.read("f") == version.content) << "a wrong file";
        EXPECT_EQ(folder_.names(), std::vector<std::string>{"f"});
        std::filesystem::remove(folder_ / "f");
    }

    // In microseconds.
    std::int64_t timeOfOneRun(const Version& version) {
        const auto begin = std::chrono::steady_clock::now();
        finish(version);
        return std::chrono::duration_cast<std::chrono::microseconds>(
                   std::chrono::steady_clock::now() - begin)
            .count();
    }

    SlowFileServer server_;
};

TEST_F(KillTest, WhateverAKilledDownloadLeftBecomesTheRightFile) {
    const long kills = numberOf("HTTPCLIENT_KILLS", 25);
    const auto seed = static_cast<std::mt19937::result_type>(
        numberOf("HTTPCLIENT_SEED", static_cast<long>(std::random_device{}() & 0x7FFFFFFFU)));
    std::cout << "HTTPCLIENT_SEED=" << seed << '\n';
    std::mt19937 random(seed);
    const Version first = makeVersion(random, "\"first\"");
    const Version second = makeVersion(random, "\"second\"");
    const Version weak = makeVersion(random, "W/\"weak\"");
    server_.publish(first);
    // From the start of the process to a little after its end, whatever the machine.
    std::uniform_int_distribution<std::int64_t> moment(0, timeOfOneRun(first) * 11 / 10);
    std::int64_t mostLost = 0;
    int continued = 0;
    long killed = 0;
    for (long round = 0; killed < kills && !HasFailure(); ++round) {
        // Every fourth file changes after the last kill; every eighth can never be continued.
        const Version& before = round % 8 == 7 ? weak : first;
        const Version& after = round % 4 == 1 ? second : before;
        server_.publish(before);
        const long inARow = 1 + static_cast<long>(random() % 3);
        for (long kill = 0; kill < inARow && killed < kills; ++kill, ++killed) {
            runAndKill(before, std::chrono::microseconds(moment(random)), kill > 0);
        }
        server_.publish(after);
        const std::int64_t held = partSize();
        const std::size_t next = server_.requestCount();
        finish(after);
        const std::string range = server_.request(next).header("Range");
        if (&before == &first && held > interval) {
            ASSERT_TRUE(range.starts_with("bytes=")) << "round " << round << " with " << held;
            const std::int64_t lost = held - std::stoll(range.substr(6));
            // The last byte of a whole part is fetched again, to learn whether it still is the same.
            EXPECT_LE(lost, interval);
            mostLost = std::max(mostLost, lost);
            ++continued;
        }
    }
    std::cout << killed << " kills, " << continued << " parts continued, at most " << mostLost
              << " bytes lost\n";
    EXPECT_EQ(killed, kills);
}

}  // namespace
}  // namespace foundation::httpclient_tool
