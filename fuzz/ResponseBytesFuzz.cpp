// The bytes of an answer through the real transport and libcurl. Each success must be the body that a plain
// reading of the framing finds, each impeccable answer a success, and everything else an exception of ours.
//
// The first line of the input holds options: "a" for the asynchronous road, "h" for HEAD, "r" to follow
// redirects, "c" to continue bodies that break off with the next answers, a digit d for reads of at most 2^d - 1 bytes. The rest is the answer of the first connection, and
// behind each line "---" that of a further one.
#include "fuzz/support/Oracle.h"
#include "fuzz/support/PlainAnswer.h"
#include "fuzz/support/SocketPeer.h"
#include "fuzz/support/Target.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <exception>
#include <future>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace foundation::fuzz {
namespace {

using namespace httpclient_core;
using httpclient_curl::CurlHttpClient;
using Verdict = PlainAnswer::Verdict;

struct Options {
    explicit Options(const std::string& line) {
        for (const char c : line) {
            asynchronous = asynchronous || c == 'a';
            toHead = toHead || c == 'h';
            follows = follows || c == 'r';
            continues = continues || c == 'c';
            if (c >= '0' && c <= '9') {
                mostPerRead = (std::size_t{1} << static_cast<unsigned>(c - '0')) - 1;
            }
        }
    }
    bool asynchronous = false;
    bool toHead = false;
    bool follows = false;
    bool continues = false;
    std::size_t mostPerRead = 0;
};

std::vector<std::string> answersIn(std::string text) {
    const std::string mark = "\n---\n";
    std::vector<std::string> answers;
    for (;;) {
        const std::size_t cut = text.find(mark);
        answers.push_back(text.substr(0, cut));
        if (cut == std::string::npos) {
            return answers;
        }
        text.erase(0, cut + mark.size());
    }
}

struct Outcome {
    std::optional<HttpResponse> response;  ///< Nothing for a failure of ours.
    std::string failure;
};

Outcome run(const Options& options) {
    CurlHttpClient client;
    ClientConfiguration configuration;
    configuration.setRetryStrategy(noRetriesStrategy());
    configuration.setProxyAuthenticationStrategy(
        [](const HttpResponse&, const std::exception_ptr&, int) { return false; });
    if (options.continues) {
        configuration.setResumeOnRetry(true);
        configuration.setRetryStrategy([](const HttpRequest&, const HttpResponse&,
                                          const std::exception_ptr& error, int total,
                                          int) { return error != nullptr && total < 6; });
    }
    configuration.setFollowRedirects(options.follows && !options.continues);
    configuration.setMaxRedirects(3);
    client.setClientConfiguration(configuration);
    HttpRequest request(options.toHead && !options.continues ? HttpMethod::HEAD : HttpMethod::GET,
                        URL("http://127.0.0.1:8080/"), {});
    try {
        if (!options.asynchronous) {
            return {client.makeRequest(std::move(request)), ""};
        }
        std::future<HttpResponse> future = client.makeAsyncRequest(std::move(request)).first;
        // The answer and its end are there before the request is sent.
        require(future.wait_for(std::chrono::seconds(20)) == std::future_status::ready,
                "the request ends");
        return {future.get(), ""};
    } catch (const HttpRequestFailedException& failure) {
        return {std::nullopt, failure.what()};
    }
}

// What the bodies of a row of answers can add up to: each alone, and each part behind as much as it follows
// of the same version.
struct Held {
    std::string body;
    std::string etag;
};

std::vector<Held> sums(const std::vector<Held>& held, const PlainAnswer& answer) {
    std::vector<Held> all{{answer.received, answer.etag}};
    if (answer.code == 206 && answer.rangeFirst > 0) {
        const auto first = static_cast<std::size_t>(answer.rangeFirst);
        for (const Held& before : held) {
            if (first <= before.body.size() &&
                (answer.etag.empty() || before.etag.empty() || answer.etag == before.etag)) {
                all.push_back({before.body.substr(0, first) + answer.received,
                               answer.etag.empty() ? before.etag : answer.etag});
            }
        }
    }
    return all;
}

void checkContinued(const std::vector<std::string>& answers,
                    std::size_t connections,
                    const Outcome& outcome) {
    if (!outcome.response.has_value()) {
        return;
    }
    std::vector<Held> held;
    std::vector<Held> last;
    PlainAnswer answer;
    std::string about;
    for (std::size_t i = 0; i < connections; ++i) {
        const std::string bytes = i < answers.size() ? answers[i] : "";
        answer = PlainAnswer::read(bytes, false);
        about += "\n  " + shown(bytes);
        last = sums(held, answer);
        held.insert(held.end(), last.begin(), last.end());
    }
    const std::string body = outcome.response->getResponseBodyString();
    require(answer.verdict != Verdict::Broken, "a broken answer ends no request", about);
    requireSame(static_cast<int>(outcome.response->getResponseCode()), answer.code,
                "code; " + about);
    require(std::any_of(last.begin(), last.end(),
                        [&body](const Held& each) { return each.body == body; }),
            "the body is a sum of what came", shown(body) + about);
    if (connections > 1 && answer.code == 206 && answer.rangeFirst > 0 && answer.rangeTotal >= 0 &&
        body != answer.received) {
        requireSame(body.size(), static_cast<std::size_t>(answer.rangeTotal),
                    "size of the whole; " + about);
    }
}

void check(const Options& options, const std::vector<std::string>& answers) {
    Outcome outcome;
    std::size_t connections = 0;
    {
        const SocketPeer peer(answers, options.mostPerRead);
        outcome = run(options);
        connections = peer.connections();
    }
    require(connections >= 1, "a connection is made", outcome.failure);
    if (options.continues) {
        checkContinued(answers, connections, outcome);
        return;
    }
    // Each hop has a connection of its own, since each ends behind its answer.
    PlainAnswer expected;
    std::size_t hop = 0;
    for (; hop < connections; ++hop) {
        expected = PlainAnswer::read(hop < answers.size() ? answers[hop] : "", options.toHead);
        if (hop + 1 < connections) {
            // Its body says nothing that counts, so that may break off.
            require(options.follows && expected.redirects,
                    "only a redirect leads to another connection", shown(answers[hop]));
        }
    }
    const std::string about = shown(answers.size() >= connections ? answers[connections - 1] : "") +
                              "\n  plain reading: " + std::to_string(expected.code) + " " +
                              shown(expected.body) + " " + expected.reason +
                              "\n  failure: " + outcome.failure;
    if (outcome.response.has_value()) {
        require(expected.verdict != Verdict::Broken, "a broken answer is not delivered", about);
        requireSame(static_cast<int>(outcome.response->getResponseCode()), expected.code,
                    "code; " + about);
        requireSame(outcome.response->getResponseBodyString(), expected.body, "body; " + about);
    } else {
        const bool mayFollow = options.follows && expected.redirects;
        require(expected.verdict != Verdict::Whole || mayFollow, "a whole answer is delivered",
                about);
    }
}

}  // namespace
}  // namespace foundation::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    using namespace foundation::fuzz;
    std::string text = textOf(data, size);
    const Options options(takeLine(text));
    check(options, answersIn(text));
    return 0;
}
