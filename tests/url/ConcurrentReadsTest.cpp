#include <foundation/httpclient_core/PercentEncoder.h>
#include <foundation/httpclient_core/QueryParameters.h>
#include <foundation/httpclient_core/URL.h>

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <string>
#include <thread>
#include <vector>

// Several threads read one object that nobody has read before; a thread sanitizer sees what they share.
namespace foundation::httpclient_core {
namespace {

constexpr int threadCount = 4;

// Calls `read` from all threads at once and returns what they got.
template <class Read>
std::array<std::string, threadCount> readAtOnce(const Read& read) {
    std::array<std::string, threadCount> results;
    std::barrier start(threadCount);
    std::vector<std::jthread> threads;
    threads.reserve(results.size());
    for (std::string& result : results) {
        threads.emplace_back([&start, &read, &result] {
            start.arrive_and_wait();
            result = read();
        });
    }
    threads.clear();
    return results;
}

TEST(ConcurrentReadsTest, QueryParameters) {
    for (int run = 0; run < 100; ++run) {
        const QueryParameters query("?a=1&b=%20&a+long+key=a+value+that+needs+memory");
        const auto results = readAtOnce([&query] {
            const QueryParameters copy = query;
            return query.toString() + query.getParameterValue("B") + query.toUnencodedString() +
                   std::to_string(query.size()) + query.begin()->first + copy.toString();
        });
        for (const std::string& result : results) {
            EXPECT_EQ(result,
                      "?a=1&b=%20&a%20long%20key=a%20value%20that%20needs%20memory "
                      "?a=1&b=%20&a+long+key=a+value+that+needs+memory3a"
                      "?a=1&b=%20&a%20long%20key=a%20value%20that%20needs%20memory");
        }
    }
}

TEST(ConcurrentReadsTest, URL) {
    const std::string text = "web://host:81/a/path?a=1&b=%20#f";
    for (int run = 0; run < 100; ++run) {
        const URL parsed(text);
        URL set("web://host:81/a/path#f");
        set.setQueryParameters(QueryParameters("a=1&b=%20"));
        for (const URL* url : {&parsed, static_cast<const URL*>(&set)}) {
            const auto results = readAtOnce([url] {
                URL copy = *url;
                copy.setPath("/other");
                return url->toAsciiString() + url->getQueryParameters().getParameterValue("a") +
                       url->getDomain() + copy.getQueryParameters().toString() + copy.getPath();
            });
            for (const std::string& result : results) {
                EXPECT_EQ(result, text + "1host?a=1&b=%20/other");
            }
        }
    }
}

TEST(ConcurrentReadsTest, PercentEncoder) {
    const PercentEncoder encode("+");
    const std::string text(1000, ' ');
    for (const std::string& result : readAtOnce([&] { return encode(text); })) {
        EXPECT_EQ(result, std::string(1000, '+'));
    }
}

}  // namespace
}  // namespace foundation::httpclient_core
