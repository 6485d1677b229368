// The program itself, as a process, over the real transport and a server on 127.0.0.1.
#include "tests/support/FlakyFileServer.h"
#include "tests/support/LoopbackServer.h"
#include "tools/httpclient/tests/HttpclientFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fcntl.h>
#include <future>
#include <memory>
#include <poll.h>
#include <pty.h>
#include <thread>

namespace foundation::httpclient_tool {
namespace {

using httpclient_core::testing::Connection;
using httpclient_core::testing::FlakyFileServer;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

using HttpclientTest = testing::HttpclientFixture;

FlakyFileServer::Options flaky(int drops) {
    FlakyFileServer::Options options;
    options.size = 3'000'000;
    options.dropAfter = 700'000;
    options.drops = drops;
    return options;
}

TEST_F(HttpclientTest, DownloadsAFile) {
    const FlakyFileServer server(flaky(0));
    EXPECT_EQ(getFile(server.url()), 0);
    EXPECT_TRUE(folder_.read("f") == server.content());
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(output(), "");
    EXPECT_EQ(errors(), "");
}

TEST_F(HttpclientTest, ResumesWhereTheConnectionBroke) {
    const FlakyFileServer server(flaky(3));
    EXPECT_EQ(getFile(server.url()), 0);
    EXPECT_TRUE(folder_.read("f") == server.content());
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[1].header("Range"), "bytes=700000-");
    EXPECT_EQ(requests[2].header("Range"), "bytes=1400000-");
    EXPECT_EQ(requests[3].header("Range"), "bytes=2100000-");
}

TEST_F(HttpclientTest, ResumesForStandardOutputToo) {
    const FlakyFileServer server(flaky(2));
    EXPECT_EQ(run({"get", server.url()}), 0);
    EXPECT_TRUE(output() == server.content());
    EXPECT_EQ(server.requests().size(), 3U);
}

TEST_F(HttpclientTest, VerboseNeverMixesIntoTheBody) {
    const FlakyFileServer server(flaky(1));
    EXPECT_EQ(run({"get", "-v", server.url()}), 0);
    EXPECT_TRUE(output() == server.content());
    EXPECT_THAT(errors(), HasSubstr("* retry 1 of 8 with 700000 bytes held: "));
    EXPECT_THAT(errors(), HasSubstr("* progress: Requesting a byte range"));
    EXPECT_THAT(errors(), HasSubstr("* standard output: 3.0 MB in "));
}

TEST_F(HttpclientTest, GivesUpAfterTheLastRetryAndKeepsWhatCanBeContinued) {
    const FlakyFileServer server(flaky(3));
    folder_.write("f", "old");
    EXPECT_EQ(getFile(server.url(), {"--retries", "1"}), 1);
    expectOneLine("127\\.0\\.0\\.1.*; 1400000 bytes are kept, run again with --resume");
    EXPECT_THAT(folder_.names(), ElementsAre("f", "f.part", "f.part.journal"));
    EXPECT_EQ(folder_.read("f"), "old");
    EXPECT_EQ(server.requests().size(), 2U);
    EXPECT_EQ(getFile(server.url(), {"--resume"}), 0);
    EXPECT_TRUE(folder_.read("f") == server.content());
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    const auto requests = server.requests();
    ASSERT_EQ(requests.size(), 4U);
    EXPECT_EQ(requests[2].header("Range"), "bytes=1400000-");
    EXPECT_EQ(requests[2].header("If-Range"), "\"v1-3000000\"");
    EXPECT_THAT(requests[3].header("Range"), ::testing::StartsWith("bytes=2100000-"));
}

TEST_F(HttpclientTest, AnInterruptedDownloadThatCanBeContinuedIs) {
    FlakyFileServer::Options options = flaky(0);
    options.bytesPerSecond = 2'000'000;
    const FlakyFileServer server(options);
    const auto process = start({"get", server.url(), "-o", file()});
    while (!std::filesystem::exists(folder_ / "f.part") ||
           std::filesystem::file_size(folder_ / "f.part") == 0) {
        std::this_thread::yield();
    }
    process->send(SIGINT);
    EXPECT_EQ(process->wait(), 130);
    expectOneLine("interrupted; [0-9]+ bytes are kept, run again with --resume");
    EXPECT_EQ(getFile(server.url(), {"--resume"}), 0);
    EXPECT_TRUE(folder_.read("f") == server.content());
    EXPECT_NE(server.requests().back().header("Range"), "");
}

// Breaks off in the middle of the first answer; then there is another version.
class ChangingServer {
public:
    ChangingServer()
        : server_([](const ReceivedRequest& request, Connection& connection) {
              if (request.number == 0) {
                  connection.send(
                      "HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nETag: \"1\"\r\n"
                      "Content-Length: 10\r\n\r\nold o");
                  connection.close();
              } else {
                  connection.sendResponse(200, "OK", {{"ETag", "\"2\""}}, "a new version");
              }
          }) {}
    LoopbackServer* operator->() { return &server_; }

private:
    LoopbackServer server_;
};

TEST_F(HttpclientTest, AFileThatChangedSinceIsFetchedFromItsStart) {
    ChangingServer server;
    EXPECT_EQ(getFile(server->url(), {"--retries", "0"}), 1);
    EXPECT_THAT(errors(), EndsWith("5 bytes are kept, run again with --resume\n"));
    EXPECT_EQ(getFile(server->url(), {"--resume"}), 0);
    EXPECT_EQ(folder_.read("f"), "a new version");
    const auto requests = server->requests();
    ASSERT_EQ(requests.size(), 2U);
    EXPECT_EQ(requests[1].header("Range"), "bytes=5-");
    EXPECT_EQ(requests[1].header("If-Range"), "\"1\"");
}

TEST_F(HttpclientTest, AnotherPartThanTheRestIsNotAppended) {
    LoopbackServer server([](const ReceivedRequest& request, Connection& connection) {
        const std::string head = "Accept-Ranges: bytes\r\nETag: \"1\"\r\nContent-Length: ";
        if (request.number == 0) {
            connection.send("HTTP/1.1 200 OK\r\n" + head + "10\r\n\r\n01234");
            connection.close();
        } else if (request.hasHeader("Range")) {
            connection.send("HTTP/1.1 206 Partial Content\r\nContent-Range: bytes 4-9/10\r\n" +
                            head + "6\r\n\r\n456789");
        } else {
            connection.send("HTTP/1.1 200 OK\r\n" + head + "10\r\n\r\n0123456789");
        }
    });
    EXPECT_EQ(getFile(server.url(), {"--retries", "0"}), 1);
    EXPECT_EQ(getFile(server.url(), {"--resume", "--explain"}), 0);
    EXPECT_EQ(folder_.read("f"), "0123456789");
    EXPECT_THAT(errors(), HasSubstr("* goes on at byte 5 of what is held, version \"1\"\n"));
    EXPECT_THAT(errors(),
                HasSubstr("* the server does not send the rest of what is held: starts over\n"));
    EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(HttpclientTest, APipeNeverGetsAMixOfTwoVersions) {
    ChangingServer server;
    EXPECT_EQ(run({"get", server->url()}), 9);
    expectOneLine("standard output: the resource changed after 5 bytes had gone out");
    EXPECT_EQ(output(), "old o");
}

TEST_F(HttpclientTest, APartOfAnotherUrlIsNine) {
    ChangingServer server;
    EXPECT_EQ(getFile(server->url("/a"), {"--retries", "0"}), 1);
    EXPECT_EQ(getFile(server->url("/b"), {"--resume"}), 9);
    expectOneLine("f\\.part: it belongs to another URL");
    EXPECT_EQ(server->requestCount(), 1);
    EXPECT_EQ(getFile(server->url("/b")), 0);
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
}

TEST_F(HttpclientTest, AServerErrorInBetweenDoesNotSpoilTheFile) {
    const std::string content(100'000, 'c');
    LoopbackServer server([&content](const ReceivedRequest& request, Connection& connection) {
        if (request.number == 1) {
            connection.sendResponse(503, "Busy", {}, std::string(200'000, 'e'));
        } else if (request.number == 0) {
            connection.send(
                "HTTP/1.1 200 OK\r\nAccept-Ranges: bytes\r\nETag: \"1\"\r\n"
                "Content-Length: 100000\r\n\r\n" +
                content.substr(0, 50'000));
            connection.close();
        } else {
            connection.sendResponse(200, "OK", {}, content);
        }
    });
    EXPECT_EQ(getFile(server.url()), 0);
    EXPECT_TRUE(folder_.read("f") == content);
    EXPECT_EQ(server.requestCount(), 3);
}

TEST_F(HttpclientTest, AChangedFileIsNotMixedWithTheOldOne) {
    ChangingServer server;
    EXPECT_EQ(getFile(server->url()), 0);
    EXPECT_EQ(folder_.read("f"), "a new version");
}

TEST_F(HttpclientTest, NotFoundIsFour) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(404, "Not Found", {}, "an error page");
    });
    EXPECT_EQ(getFile(server.url("/x?token=secret")), 4);
    EXPECT_EQ(errors(), "httpclient: " + server.url("/x?...") +
                            ": HTTP status 404 Not Found; check the URL\n");
    EXPECT_THAT(folder_.names(), IsEmpty());
    EXPECT_EQ(run({"get", server.url()}), 4);
    EXPECT_EQ(output(), "");
}

TEST_F(HttpclientTest, WrongUsageIs64) {
    EXPECT_EQ(run({}), 64);
    expectOneLine("--help");
    EXPECT_EQ(run({"get", "ftp://127.0.0.1/"}), 64);
    expectOneLine("http:// or https://");
}

TEST_F(HttpclientTest, HelpAndVersionAreZero) {
    EXPECT_EQ(run({"--help"}), 0);
    EXPECT_THAT(output(), HasSubstr("Exit status:"));
    EXPECT_EQ(run({"--version"}), 0);
    EXPECT_THAT(output(), MatchesRegex("httpclient [0-9.]+\n"));
}

TEST_F(HttpclientTest, AConnectionRefusedIsOne) {
    std::string url;
    {
        const LoopbackServer gone([](const ReceivedRequest&, Connection&) {});
        url = gone.url();
    }
    EXPECT_EQ(getFile(url, {"--retries", "1"}), 1);
    expectOneLine("libcurl 7\\)");
    EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(HttpclientTest, AShortBodyIsOne) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123");
        connection.close();
    });
    EXPECT_EQ(getFile(server.url(), {"--retries", "0"}), 1);
    EXPECT_THAT(folder_.names(), IsEmpty());
    // What came is of the right version as far as it goes, and went out.
    EXPECT_EQ(run({"get", server.url(), "--retries", "0"}), 1);
    EXPECT_EQ(output(), "0123");
}

TEST_F(HttpclientTest, AnUnaskedPartIsOne) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(206, "Partial Content", {{"Content-Range", "bytes 6-9/10"}},
                                "6789");
    });
    EXPECT_EQ(getFile(server.url(), {"--retries", "0"}), 1);
    EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(HttpclientTest, ATlsProblemIsSevenAndNotRetried) {
    LoopbackServer server([](const ReceivedRequest&, Connection&) {});
    logs_.write("ca.pem", "no certificate");
    const std::string url = "https://127.0.0.1:" + std::to_string(server.port()) + "/";
    EXPECT_EQ(getFile(url, {"--cacert", (logs_ / "ca.pem").string()}), 7);
    EXPECT_THAT(errors(), MatchesRegex("httpclient: [^\n]*\\(libcurl 77\\); [^\n]*\n"));
    EXPECT_LE(server.connectionCount(), 1);
}

TEST_F(HttpclientTest, MaxTimeIsTwo) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 10\r\n\r\n0123");
        connection.waitForPeerToClose();
    });
    EXPECT_EQ(getFile(server.url(), {"--max-time", "0.2"}), 2);
    expectOneLine("max-time");
    EXPECT_THAT(folder_.names(), IsEmpty());
}

TEST_F(HttpclientTest, AFullDeviceIsOne) {
    const FlakyFileServer server(flaky(0));
    EXPECT_EQ(run({"get", server.url(), "-o", "/dev/full"}), 1);
    expectOneLine("/dev/full: No space left on device");
}

TEST_F(HttpclientTest, AFullStandardOutputIsOne) {
    const FlakyFileServer server(flaky(0));
    const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
    EXPECT_EQ(startCommand({HTTPCLIENT_PROGRAM, "get", server.url()}, full)->wait(), 1);
    expectOneLine("standard output: No space left on device");
    EXPECT_EQ(startCommand({HTTPCLIENT_PROGRAM, "--version"}, full)->wait(), 1);
    expectOneLine("standard output: No space left on device");
    ::close(full);
}

TEST_F(HttpclientTest, AFileThatCannotGrowIsOneAndNotRetried) {
    const FlakyFileServer server(flaky(0));
    folder_.write("f", "old");
    // A build that counts coverage writes a file at the end, which would exceed the limit as well.
    EXPECT_EQ(
        startCommand({"sh", "-c", "ulimit -f 64; LLVM_PROFILE_FILE=/dev/null exec \"$0\" \"$@\"",
                      HTTPCLIENT_PROGRAM, "get", server.url(), "-o", file()},
                     -1)
            ->wait(),
        1);
    expectOneLine("File too large");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "old");
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(HttpclientTest, AClosedStandardOutputIsOneBeforeAnythingIsSent) {
    const FlakyFileServer server(flaky(0));
    EXPECT_EQ(
        startCommand(
            {"sh", "-c", "exec \"$0\" get \"$1\" <&- >&-", HTTPCLIENT_PROGRAM, server.url()}, -1)
            ->wait(),
        1);
    expectOneLine("standard output: Bad file descriptor");
    EXPECT_TRUE(server.requests().empty());
}

TEST_F(HttpclientTest, AFileIsWholeWithoutAnyStandardDescriptor) {
    const FlakyFileServer server(flaky(1));
    EXPECT_EQ(startCommand({"sh", "-c", "exec \"$0\" get -v \"$1\" -o \"$2\" <&- >&- 2>&-",
                            HTTPCLIENT_PROGRAM, server.url(), file()},
                           -1)
                  ->wait(),
              0);
    EXPECT_TRUE(folder_.read("f") == server.content());
}

TEST_F(HttpclientTest, AReaderThatWentAwayIsOne) {
    const FlakyFileServer server(flaky(0));
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    ::close(ends[0]);
    EXPECT_EQ(startCommand({HTTPCLIENT_PROGRAM, "get", server.url()}, ends[1])->wait(), 1);
    ::close(ends[1]);
    expectOneLine("standard output: Broken pipe");
}

class InterruptedHttpclientTest : public HttpclientTest,
                                  public ::testing::WithParamInterface<int> {};

TEST_P(InterruptedHttpclientTest, EndsInTheMiddleOfABodyAndLeavesNothing) {
    std::promise<void> underWay;
    LoopbackServer server([&underWay](const ReceivedRequest&, Connection& connection) {
        connection.send("HTTP/1.1 200 OK\r\nContent-Length: 1000000\r\n\r\n" +
                        std::string(500'000, 'x'));
        underWay.set_value();
        connection.waitForPeerToClose();
    });
    folder_.write("f", "old");
    const auto process = start({"get", server.url(), "-o", file()});
    underWay.get_future().wait();
    EXPECT_THAT(folder_.names(), ElementsAre("f", "f.part", "f.part.journal"));
    process->send(GetParam());
    EXPECT_EQ(process->wait(), 130);
    EXPECT_EQ(errors(), "httpclient: interrupted\n");
    EXPECT_THAT(folder_.names(), ElementsAre("f"));
    EXPECT_EQ(folder_.read("f"), "old");
}

TEST_P(InterruptedHttpclientTest, EndsInTheWaitBetweenTwoAttempts) {
    LoopbackServer server([](const ReceivedRequest&, Connection& connection) {
        connection.sendResponse(503, "Busy", {{"Retry-After", "100"}}, "page");
    });
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const auto process =
        startCommand({HTTPCLIENT_PROGRAM, "get", "-v", server.url(), "-o", file()}, -1, ends[1]);
    ::close(ends[1]);
    // Told as soon as the wait is ordered.
    std::string told;
    std::array<char, 4096> chunk{};
    ssize_t got = 1;
    while (got > 0 && told.find("* retry 1 of 8") == std::string::npos) {
        got = ::read(ends[0], chunk.data(), chunk.size());
        told.append(chunk.data(), static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    }
    EXPECT_GT(got, 0) << told;
    process->send(GetParam());
    EXPECT_EQ(process->wait(), 130);
    ::close(ends[0]);
    EXPECT_THAT(folder_.names(), IsEmpty());
    EXPECT_EQ(server.requestCount(), 1);
}

TEST_P(InterruptedHttpclientTest, EndsWhileNobodyReadsTheOutput) {
    const FlakyFileServer server(flaky(0));
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    const auto process = startCommand({HTTPCLIENT_PROGRAM, "get", server.url()}, ends[1]);
    pollfd readable{ends[0], POLLIN, 0};
    ASSERT_EQ(::poll(&readable, 1, -1), 1);
    process->send(GetParam());
    EXPECT_EQ(process->wait(), 130);
    ::close(ends[0]);
    ::close(ends[1]);
}

INSTANTIATE_TEST_SUITE_P(Signals,
                         InterruptedHttpclientTest,
                         ::testing::Values(SIGINT, SIGTERM),
                         [](const auto& row) {
                             return row.param == SIGINT ? "Interrupt" : "Terminate";
                         });

TEST_F(HttpclientTest, ShowsProgressOnATerminal) {
    FlakyFileServer::Options options = flaky(1);
    options.bytesPerSecond = 10'000'000;
    const FlakyFileServer server(options);
    int terminal = -1;
    int programsEnd = -1;
    ASSERT_EQ(::openpty(&terminal, &programsEnd, nullptr, nullptr, nullptr), 0);
    const auto process =
        startCommand({HTTPCLIENT_PROGRAM, "get", server.url(), "-o", file()}, -1, programsEnd);
    ::close(programsEnd);
    std::string shown;
    std::array<char, 4096> chunk{};
    // Ends with an error when the program, the last one to hold the other end, is gone.
    for (ssize_t got = 0; (got = ::read(terminal, chunk.data(), chunk.size())) > 0;) {
        shown.append(chunk.data(), static_cast<std::size_t>(got));
    }
    ::close(terminal);
    EXPECT_EQ(process->wait(), 0);
    EXPECT_THAT(shown,
                ::testing::ContainsRegex("\r.\\[K[^\r]*[0-9.]+ [kM]B of 3\\.0 MB, [0-9]+ %"));
    EXPECT_THAT(shown, ::testing::ContainsRegex("3\\.0 MB in [0-9.]+ s, [^\r\n]*, 1 retry\r\n$"));
}

}  // namespace
}  // namespace foundation::httpclient_tool
