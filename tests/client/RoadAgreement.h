#pragma once
#include "tests/client/Roads.h"
#include "tests/client/ScriptedTransport.h"

#include <foundation/httpclient_core/HttpClient.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <boost/log/attributes/value_extraction.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/frontend_requirements.hpp>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

/// What the synchronous and the asynchronous road do with the same random script: what the transport saw,
/// the log records, what the strategies were told, and the outcome. The differences that callers may rely
/// on are predicted, not ignored.
namespace foundation::httpclient_core::testing::agreement {

// --- Random scripts ---

/// A source of random decisions.
class Draws {
public:
    Draws() = default;
    Draws(const Draws&) = delete;
    Draws& operator=(const Draws&) = delete;
    virtual ~Draws() = default;

    /// 0 to count - 1.
    virtual std::size_t below(std::size_t count) = 0;
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <class T>
    T of(const std::vector<T>& choices) {
        return choices[below(choices.size())];
    }
};

enum class StrategyKind { Default, Limited, Table, Never, Empty };
enum class BodyKind { None, Text, Stream, Unframed, Unseekable, Multipart };
enum class FactoryKind { Standard, Positioned, FailsBetweenAttempts };

/// One request on one client and what happens to it.
struct Script {
    // The request.
    HttpMethod method = HttpMethod::GET;
    HttpHeaders headers;
    BodyKind body = BodyKind::None;
    bool queryParameters = false;
    bool progress = false;
    std::size_t abortAt = 0;  ///< 0: never.
    FactoryKind factory = FactoryKind::Standard;
    std::size_t factoryFailsAt = 0;

    // The configuration.
    bool ownConfiguration = false;
    bool resumeOnRetry = false;
    StrategyKind retry = StrategyKind::Default;
    int retryTotal = 0;
    int retryConsecutive = 0;
    std::vector<int> retryAnswers;  ///< 0 and 1; 2 throws. False after the last.
    StrategyKind proxy = StrategyKind::Default;
    int proxyLimit = 1;
    std::vector<int> proxyAnswers;

    // The transport.
    std::vector<Attempt> attempts;  ///< The last is repeated.
    bool writesContentType = false;
    bool hasPrompt = false;
    std::vector<int> promptAnswers;  ///< 0 declines, 1 answers, 2 throws. Declines after the last.
    int promptRetries = 3;
    bool hasStore = false;
    bool storeThrows = false;

    bool byHandler = false;  ///< The asynchronous road, with a handler instead of a future.
};

inline std::exception_ptr randomError(Draws& random) {
    switch (random.below(6)) {
        case 0:
            return std::make_exception_ptr(HttpRequestTimeoutException());
        case 1:
            return std::make_exception_ptr(HttpRequestCancelledException());
        case 2:
            return std::make_exception_ptr(42);
        case 3:
            try {
                try {
                    throw std::runtime_error("cable cut");
                } catch (...) {
                    std::throw_with_nested(HttpRequestFailedException("no connection"));
                }
            } catch (...) {
                return std::current_exception();
            }
        default:
            return std::make_exception_ptr(HttpRequestFailedException("connection lost"));
    }
}

inline Attempt randomAttempt(Draws& random) {
    using Code = HttpResponseCode;
    static const std::vector<Code> codes{Code::OK,
                                         Code::OK,
                                         Code::PartialContent,
                                         Code::PartialContent,
                                         Code::NoContent,
                                         Code::BadGateway,
                                         Code::ServiceUnavailable,
                                         Code::TooManyRequests,
                                         Code::NotFound,
                                         Code::UpgradeRequired,
                                         Code::UpgradeRequired,
                                         Code::RangeNotSatisfiable,
                                         Code::RangeNotSatisfiable,
                                         Code::ProxyAuthenticationRequired,
                                         Code::ProxyAuthenticationRequired,
                                         Code::ResponseNotReceived};
    if (random.oneIn(5)) {
        return testing::failure(randomError(random));
    }
    const Code code = random.of(codes);
    HttpHeaders headers;
    if (!random.oneIn(3)) {
        headers.addHeaderValue(
            "Accept-Ranges", random.of(std::vector<std::string>{"bytes", "bytes", "bytes", "Bytes",
                                                                "none", "bytes "}));
    }
    if (random.oneIn(6)) {
        headers.addHeaderValue("accept-ranges", "bytes");
    }
    if (code == Code::ProxyAuthenticationRequired ? !random.oneIn(4) : random.oneIn(20)) {
        headers.addHeaderValue("QZ-Internal-Proxy-Info", "proxy" + std::to_string(random.below(3)));
    }
    // One draw in a statement: the order of arguments and operands is the compiler's.
    const std::size_t blocks = random.below(4);
    const std::size_t blockSize = random.below(20);
    Attempt attempt = answer(code, std::string(blocks * blockSize, 'x'), headers);
    if (random.oneIn(4)) {
        attempt.error = randomError(random);
    }
    if (code == Code::UpgradeRequired ? !random.oneIn(4) : random.oneIn(4)) {
        const auto redirects = static_cast<long>(random.below(3));
        const std::string effectiveURL = random.of(std::vector<std::string>{
            "", "http://host/file", "http://moved/file", "https://moved/file?x=1#top"});
        attempt.report = TransactionReport(redirects, URL(effectiveURL));
    }
    return attempt;
}

inline std::vector<int> randomAnswers(Draws& random, std::size_t yesInFour, bool mayThrow) {
    std::vector<int> answers;
    const std::size_t count = random.below(7);
    for (std::size_t i = 0; i < count; ++i) {
        answers.push_back(random.below(4) < yesInFour ? 1 : 0);
        if (mayThrow && random.oneIn(25)) {
            answers.back() = 2;
        }
    }
    return answers;
}

inline Script randomScript(Draws& random) {
    Script script;
    script.method = random.oneIn(4) ? HttpMethod::POST : HttpMethod::GET;
    for (const auto& field : std::vector<std::pair<std::string, std::string>>{
             {"Content-Type", "text/x"}, {"Range", "bytes=1-2"}, {"X-Own", "1"}}) {
        if (random.oneIn(4)) {
            script.headers.add(field.first, field.second);
        }
    }
    script.body = random.of(std::vector<BodyKind>{BodyKind::None, BodyKind::None, BodyKind::None,
                                                  BodyKind::Text, BodyKind::Stream,
                                                  BodyKind::Multipart, BodyKind::Multipart});
    if (random.oneIn(30)) {
        script.body = random.oneIn(2) ? BodyKind::Unframed : BodyKind::Unseekable;
    }
    script.queryParameters = random.oneIn(4);
    script.progress = random.oneIn(3);
    script.abortAt = random.oneIn(8) ? random.below(6) : 0;
    script.factory = random.of(std::vector<FactoryKind>{
        FactoryKind::Standard, FactoryKind::Standard, FactoryKind::Positioned});
    if (random.oneIn(25)) {
        script.factory = FactoryKind::FailsBetweenAttempts;
        script.factoryFailsAt = 1 + random.below(3);
    }

    script.ownConfiguration = random.oneIn(4);
    script.resumeOnRetry = !random.oneIn(3);
    script.retry = random.of(std::vector<StrategyKind>{StrategyKind::Default, StrategyKind::Limited,
                                                       StrategyKind::Table, StrategyKind::Table,
                                                       StrategyKind::Table, StrategyKind::Never});
    script.proxy = random.of(std::vector<StrategyKind>{StrategyKind::Default, StrategyKind::Limited,
                                                       StrategyKind::Table, StrategyKind::Table});
    if (random.oneIn(40)) {
        script.retry = StrategyKind::Empty;
    }
    if (random.oneIn(40)) {
        script.proxy = random.oneIn(2) ? StrategyKind::Empty : StrategyKind::Never;
    }
    script.retryTotal = static_cast<int>(random.below(7));
    script.retryConsecutive = static_cast<int>(random.below(5));
    script.retryAnswers = randomAnswers(random, 3, true);
    script.proxyLimit = static_cast<int>(random.below(5));
    script.proxyAnswers = randomAnswers(random, 1, true);

    const std::size_t count = 1 + random.below(8);
    for (std::size_t i = 0; i < count; ++i) {
        script.attempts.push_back(randomAttempt(random));
    }
    if (random.oneIn(5)) {
        // A proxy that goes on refusing, so that users are asked again.
        const std::size_t refusals = 1 + random.below(count);
        for (std::size_t i = 0; i < refusals; ++i) {
            script.attempts[i] = answer(HttpResponseCode::ProxyAuthenticationRequired, "refused",
                                        {{"QZ-Internal-Proxy-Info", "proxy" + std::to_string(i)}});
        }
    }
    script.writesContentType = random.oneIn(2);
    script.hasPrompt = !random.oneIn(3);
    script.promptAnswers = randomAnswers(random, 3, true);
    script.promptRetries = static_cast<int>(random.below(5)) - 1;
    script.hasStore = !random.oneIn(3);
    script.storeThrows = random.oneIn(25);
    script.byHandler = random.oneIn(2);
    return script;
}

// --- What happened on one road ---

inline std::string textOf(const HttpHeaders& headers, const std::string& except = "") {
    std::string text;
    for (const auto& [name, value] : headers) {
        if (name != except) {
            text += name + "=" + value + ";";
        }
    }
    return text;
}

inline std::string describe(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::exception& exception) {
        return std::string(typeid(exception).name()) + " " + exception.what();
    } catch (...) {
        return "unknown exception";
    }
}

inline std::string describe(const HttpResponse& response) {
    std::ostringstream text;
    text << response.getResponseCode() << " " << response.getResponseCodeReason() << " "
         << textOf(response.getHeaders()) << " " << response.getTransactionReport().redirectCount()
         << " " << response.getTransactionReport().effectiveURL() << " "
         << response.getResponseBodyString();
    return text.str();
}

/// One step of a request.
struct Line {
    enum class Kind { Record, Attempt, RetryAsked, Other };

    Kind kind = Kind::Other;
    std::string text;  ///< Agrees on both roads.

    // Of an attempt.
    bool main = true;  ///< Not a re-send for a proxy. Known on the asynchronous road only.
    bool multipart = false;
    std::string contentType;
    std::exception_ptr error;

    // Of a question to the retry strategy.
    bool success = false;
    int consecutive = 0;
    int ownCount = 0;  ///< How often this very object was asked.

    std::string print() const {
        std::string all = text;
        if (kind == Kind::Attempt) {
            all += " type=" + contentType;
        } else if (kind == Kind::RetryAsked) {
            all +=
                " consecutive=" + std::to_string(consecutive) + " own=" + std::to_string(ownCount);
        }
        return all;
    }
};

struct Outcome {
    bool lost = false;  ///< The handler was destroyed uncalled.
    std::string text;
};

/// An exception that ends a request because a strategy or the preparation of a retry threw it.
struct FatalError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Appends the records of the library to the lines of the road that runs.
class RecordSink
    : public boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
public:
    void consume(const boost::log::record_view& record) {
        if (lines != nullptr) {
            const std::string absent = "none";
            Line line;
            line.kind = Line::Kind::Record;
            line.text =
                boost::log::extract_or_default<std::string>("Channel", record, absent) + " " +
                std::to_string(boost::log::extract_or_default<int>("Severity", record, -1)) + " " +
                boost::log::extract_or_default<std::string>("Message", record, absent);
            lines->push_back(std::move(line));
        }
    }

    std::vector<Line>* lines = nullptr;
};

inline std::string caughtRecord(const std::string& text) {
    return "foundation::httpclient_core 16 Exception caught: " + text;
}

/// What the record of an exception says.
inline std::string chainOf(const std::exception_ptr& error) {
    const std::string text = testing::textOf(error);
    return text == "no connection" ? text + "; caused by: cable cut" : text;
}

/// A stream buffer that gives its text once.
struct OneWay : std::stringbuf {
    using std::stringbuf::stringbuf;
    pos_type seekoff(off_type, std::ios::seekdir, std::ios::openmode) override { return -1; }
    pos_type seekpos(pos_type, std::ios::openmode) override { return -1; }
};

/// Runs one script on one road.
class World {
public:
    explicit World(const Script& script) : script_(script) {
        setUpTransport();
        ClientConfiguration scripted = configuration();
        if (script_.ownConfiguration) {
            // Counts no attempt and keeps no body: a trace of it would show.
            scripted.setProxyCredentialPromptNumRetries(77);
            client_.setClientConfiguration(
                ClientConfiguration()
                    .withRetryStrategy(testing::retryUpTo(3))
                    .withProxyAuthenticationStrategy(testing::neverAuthenticate())
                    .withResumeOnRetry(!script_.resumeOnRetry)
                    .withProxyCredentialPromptNumRetries(script_.promptRetries));
            own_ = std::move(scripted);
        } else {
            client_.setClientConfiguration(std::move(scripted));
        }
    }

    void runSynchronously(RecordSink& sink) {
        const Recording recording(sink, lines);
        try {
            const HttpResponse response = client_.makeRequest(request());
            finish(response);
        } catch (...) {
            outcome.text = describe(std::current_exception());
        }
    }

    void runAsynchronously(RecordSink& sink) {
        const Recording recording(sink, lines);
        try {
            if (script_.byHandler) {
                runWithHandler();
            } else {
                runWithFuture();
            }
        } catch (...) {
            outcome.text = describe(std::current_exception());
        }
    }

    std::vector<Line> lines;
    Outcome outcome;
    std::string fatal;  ///< The last exception that a strategy or the preparation threw.

private:
    /// Lets the records go to these lines while it lives.
    class Recording {
    public:
        Recording(RecordSink& sink, std::vector<Line>& lines) : sink_(sink) {
            sink_.lines = &lines;
        }
        Recording(const Recording&) = delete;
        Recording& operator=(const Recording&) = delete;
        ~Recording() { sink_.lines = nullptr; }

    private:
        RecordSink& sink_;
    };

    void note(std::string text) {
        Line line;
        line.text = std::move(text);
        lines.push_back(std::move(line));
    }

    void finish(const HttpResponse& response) {
        finished_ = true;
        outcome.text = describe(response);
    }

    void runWithFuture() {
        std::future<HttpResponse> future = client_.makeAsyncRequest(request()).first;
        client_.pump();
        try {
            const HttpResponse response = future.get();
            finish(response);
        } catch (const std::future_error& error) {
            EXPECT_EQ(error.code(), std::future_errc::broken_promise);
            outcome.lost = true;
        }
    }

    void runWithHandler() {
        const auto token = std::make_shared<int>(0);
        client_.makeAsyncRequest(
            request(), [this, token](HttpRequest, HttpResponse response, std::exception_ptr error) {
                ++*token;
                if (error != nullptr) {
                    outcome.text = describe(error);
                } else {
                    finish(response);
                }
            });
        client_.pump();
        EXPECT_EQ(token.use_count(), 1);
        EXPECT_LE(*token, 1);
        outcome.lost = *token == 0;
    }

    // The strategies note what they are told.

    bool answerFrom(const std::vector<int>& answers, int total, const char* what) {
        const auto index = static_cast<std::size_t>(total - 1);
        if (index >= answers.size()) {
            return false;
        }
        if (answers[index] == 2) {
            throw FatalError(what);
        }
        return answers[index] == 1;
    }

    template <class Answer>
    bool fatalIfThrown(const Answer& answering) {
        try {
            return answering();
        } catch (...) {
            fatal = describe(std::current_exception());
            throw;
        }
    }

    RetryStrategy retryStrategy() {
        RetryStrategy inner;
        switch (script_.retry) {
            case StrategyKind::Empty:
                return nullptr;
            case StrategyKind::Default:
                inner = ClientConfiguration().retryStrategy();
                break;
            case StrategyKind::Limited:
                inner = defaultRetryStrategy(script_.retryTotal, 0, std::chrono::seconds(0),
                                             defaultIsRetriable(), script_.retryConsecutive);
                break;
            case StrategyKind::Never:
                inner = noRetriesStrategy();
                break;
            case StrategyKind::Table:
                inner = [this](const HttpRequest&, const HttpResponse&, const std::exception_ptr&,
                               int total, int) {
                    return answerFrom(script_.retryAnswers, total, "retry strategy");
                };
        }
        return [this, inner, own = 0](const HttpRequest& request, const HttpResponse& response,
                                      const std::exception_ptr& error, int total,
                                      int consecutive) mutable {
            Line line;
            line.kind = Line::Kind::RetryAsked;
            line.text = "retry? " + request.getURL().toAsciiString() + " " +
                        response.getResponseCodeReason() + " " + testing::textOf(error) + " " +
                        std::to_string(total);
            line.success = isSuccess(response);
            line.consecutive = consecutive;
            line.ownCount = ++own;
            lines.push_back(line);
            // The count after a success is the one thing that may change an answer.
            const int agreed = line.success ? 0 : consecutive;
            return fatalIfThrown([&] { return inner(request, response, error, total, agreed); });
        };
    }

    ProxyAuthenticationStrategy proxyStrategy() {
        ProxyAuthenticationStrategy inner;
        switch (script_.proxy) {
            case StrategyKind::Empty:
                return nullptr;
            case StrategyKind::Default:
                inner = defaultProxyAuthenticationStrategy();
                break;
            case StrategyKind::Limited:
                inner = defaultProxyAuthenticationStrategy(script_.proxyLimit);
                break;
            case StrategyKind::Never:
                inner = noProxyAuthenticationStrategy();
                break;
            case StrategyKind::Table:
                inner = [this](const HttpResponse&, const std::exception_ptr&, int total) {
                    return answerFrom(script_.proxyAnswers, total, "proxy strategy");
                };
        }
        return [this, inner, own = 0](const HttpResponse& response, const std::exception_ptr& error,
                                      int total) mutable {
            // Taken anew for each attempt on both roads, so its own count is among what agrees.
            note("proxy? " + response.getResponseCodeReason() + " " + testing::textOf(error) + " " +
                 std::to_string(total) + " own " + std::to_string(++own));
            return fatalIfThrown([&] { return inner(response, error, total); });
        };
    }

    ClientConfiguration configuration() {
        return ClientConfiguration()
            .withRetryStrategy(retryStrategy())
            .withProxyAuthenticationStrategy(proxyStrategy())
            .withResumeOnRetry(script_.resumeOnRetry)
            .withProxyCredentialPromptNumRetries(script_.promptRetries);
    }

    ResponseStreamFactory factory() {
        return [this](HttpResponseCode code, const std::string& reason,
                      const HttpHeaders& headers) -> std::unique_ptr<std::iostream> {
            if (!finished_) {
                note("stream for " + to_string(code) + " " + reason + " " + textOf(headers));
                if (script_.factory == FactoryKind::FailsBetweenAttempts && !inTransport_ &&
                    ++preparedStreams_ == script_.factoryFailsAt) {
                    fatalIfThrown([]() -> bool { throw FatalError("factory"); });
                }
            }
            const bool positioned = script_.factory == FactoryKind::Positioned;
            return std::make_unique<std::stringstream>(
                positioned ? "before" : "",
                std::ios::in | std::ios::out | (positioned ? std::ios::ate : std::ios::openmode()));
        };
    }

    HttpRequest request() {
        HttpRequest request(script_.method, URL("http://host/file"), script_.headers);
        switch (script_.body) {
            case BodyKind::None:
                break;
            case BodyKind::Text:
                request.setRequestBody("text");
                break;
            case BodyKind::Stream:
                request.setHeaderValue("Transfer-Encoding", "chunked");
                request.setRequestBody(
                    std::unique_ptr<std::istream>(std::make_unique<std::istringstream>("stream")));
                break;
            case BodyKind::Unframed:
                request.setRequestBody(
                    std::unique_ptr<std::istream>(std::make_unique<std::istringstream>("stream")));
                break;
            case BodyKind::Unseekable:
                request.setHeaderValue("Content-Length", "6");
                request.setRequestBody(std::make_unique<std::istream>(&oneWay_));
                break;
            case BodyKind::Multipart:
                request.setMultipartBody(MultipartBody().withPart(DataPart("text")));
        }
        if (script_.queryParameters) {
            request.setQueryParameters(QueryParameters("?q=1"));
        }
        if (script_.progress) {
            request.setProgressCallback([this](const Progress& progress) {
                note("progress " + std::to_string(progress.downloadTotal) + " " +
                     std::to_string(progress.downloaded) + " " +
                     std::to_string(progress.uploadTotal) + " " +
                     std::to_string(progress.uploaded));
                return ++progressCalls_ == script_.abortAt ? ProgressResult::Abort
                                                           : ProgressResult::Continue;
            });
        }
        request.setResponseStreamFactory(factory());
        request.setPreRespCodeAndHeadersCallback([this] { ++changes_; });
        if (own_.has_value()) {
            request.setClientConfiguration(*own_);
        }
        return request;
    }

    void setUpTransport() {
        client_.answerWith([this](const Seen&) {
            const std::size_t index = std::min(sends_++, script_.attempts.size() - 1);
            return script_.attempts[index];
        });
        if (script_.writesContentType) {
            client_.onSend = [](HttpRequest& request) {
                if (request.hasMultipartBody()) {
                    request.setHeaderValue("Content-Type", "multipart/form-data; boundary=x");
                }
            };
        }
        client_.onBegin = [this](const Seen&) { inTransport_ = true; };
        client_.onEnd = [this](const Seen& seen, const std::exception_ptr& error) {
            inTransport_ = false;
            noteAttempt(seen, error);
        };
        if (script_.hasPrompt) {
            client_.makePrompt = [this](const HttpResponse& response,
                                        const std::exception_ptr& error) {
                note("fetch prompt " + response.getResponseCodeReason() + " " +
                     testing::textOf(error));
                return std::make_shared<Prompt>(*this);
            };
        }
        if (script_.hasStore) {
            client_.makeStore = [this] {
                note("fetch store");
                return std::make_shared<Store>(*this);
            };
        }
    }

    void noteAttempt(const Seen& seen, const std::exception_ptr& error) {
        Line line;
        line.kind = Line::Kind::Attempt;
        std::ostringstream text;
        text << "attempt " << seen.method << " " << seen.url << " " << seen.queryParameters << " "
             << textOf(seen.headers, "Content-Type") << " body " << seen.body.value_or("none")
             << " own " << seen.ownConfiguration << " progress " << seen.progress << " entry "
             << seen.codeAtEntry << " " << seen.reasonAtEntry << " "
             << textOf(seen.responseHeadersAtEntry) << " at " << seen.bodyPosition.value_or(-1)
             << " changes " << changes_ << " flag " << client_.useProxyCredentialProvider()
             << " error " << testing::textOf(error);
        line.text = text.str();
        line.main = seen.asynchronous;
        line.multipart = seen.multipart;
        line.contentType = seen.headers.getHeaderValueOr("Content-Type", "-");
        line.error = error;
        lines.push_back(std::move(line));
    }

    struct Prompt : ProxyCredentialPrompt {
        explicit Prompt(World& owner) : world(owner) {}
        std::optional<ProxyCredentials> promptForCredentials(bool previousAttemptFailed,
                                                             int remainingAttempts,
                                                             std::int64_t timeoutMs) override {
            world.note("prompt " + std::to_string(previousAttemptFailed) + " " +
                       std::to_string(remainingAttempts) + " " + std::to_string(timeoutMs));
            const std::size_t index = world.prompts_++;
            const std::vector<int>& answers = world.script_.promptAnswers;
            if (index >= answers.size() || answers[index] == 0) {
                return std::nullopt;
            }
            if (answers[index] == 2) {
                throw std::runtime_error("prompt");
            }
            return ProxyCredentials("user" + std::to_string(index), "secret");
        }
        World& world;
    };

    struct Store : ProxyCredentialStore {
        explicit Store(World& owner) : world(owner) {}
        std::optional<std::string> credentialsFor(const std::string&) const override { return {}; }
        void forgetCredentials(const std::string&) override {}
        void storeCredentials(std::string proxyInfo, std::string credentials) override {
            world.note("store " + proxyInfo + " " + credentials);
            if (world.script_.storeThrows) {
                throw std::runtime_error("store");
            }
        }
        void promptDeclined() override { world.note("declined"); }
        World& world;
    };

    const Script& script_;
    OneWay oneWay_{"once"};
    ScriptedTransport client_;
    std::optional<ClientConfiguration> own_;
    std::size_t sends_ = 0;
    std::size_t prompts_ = 0;
    std::size_t progressCalls_ = 0;
    std::size_t preparedStreams_ = 0;
    int changes_ = 0;
    bool inTransport_ = false;
    bool finished_ = false;
};

// --- What the other road must have done ---

/// The lines of the synchronous road, predicted from those of the asynchronous one.
inline std::vector<std::string> predictSynchronous(const std::vector<Line>& asynchronous) {
    std::vector<std::string> result;
    int consecutive = 0;
    int asked = 0;
    bool first = true;
    for (Line line : asynchronous) {
        if (line.kind == Line::Kind::Attempt && line.main) {
            if (line.multipart) {
                // Removed before every attempt; on the asynchronous road before the first only.
                EXPECT_TRUE(!first || line.contentType == "-") << line.print();
                line.contentType = "-";
            }
            first = false;
        } else if (line.kind == Line::Kind::RetryAsked) {
            ++consecutive;
            EXPECT_EQ(line.consecutive, line.success ? 0 : consecutive) << line.print();
            EXPECT_EQ(line.ownCount, 1) << line.print();
            line.consecutive = consecutive;  // The full count also at a success.
            line.ownCount = ++asked;         // One object for all attempts.
            if (line.success) {
                consecutive = 0;
            }
        }
        result.push_back(line.print());
        if (line.kind == Line::Kind::Attempt && line.main && line.error != nullptr) {
            result.push_back(caughtRecord(chainOf(line.error)));
        }
    }
    return result;
}

inline std::string predictOutcome(const World& asynchronous, const Script& script) {
    if (!asynchronous.outcome.lost) {
        return asynchronous.outcome.text;
    }
    if (!asynchronous.fatal.empty()) {
        return asynchronous.fatal;
    }
    EXPECT_TRUE(script.retry == StrategyKind::Empty || script.proxy == StrategyKind::Empty);
    return describe(std::make_exception_ptr(std::bad_function_call()));
}

/// How often the scripts met what they are there for.
struct Coverage {
    int retried = 0;
    int resumed = 0;
    int rebuilt = 0;
    int refusedRanges = 0;
    int notMade = 0;
    int prompted = 0;
    int refusedPrompts = 0;
    int lost = 0;
    int failed = 0;
    int retriedSuccesses = 0;
    int keptContentTypes = 0;

    void count(const World& world) {
        int attempts = 0;
        bool afterSuccess = false;
        for (const Line& line : world.lines) {
            attempts += line.kind == Line::Kind::Attempt && line.main ? 1 : 0;
            keptContentTypes += line.multipart && line.main && line.contentType != "-" ? 1 : 0;
            resumed += contains(line, "Requesting a byte range");
            rebuilt += contains(line, "Got 426");
            refusedRanges += contains(line, "Server responded with Range");
            notMade += contains(line, "Request not made.");
            prompted += line.text.starts_with("prompt 0") ? 1 : 0;
            refusedPrompts += line.text.starts_with("prompt 1") ? 1 : 0;
            if (line.kind == Line::Kind::RetryAsked) {
                retriedSuccesses += afterSuccess ? 1 : 0;
                afterSuccess = line.success;
            }
        }
        retried += attempts > 1 ? 1 : 0;
        lost += world.outcome.lost ? 1 : 0;
        failed += world.outcome.text.find("xception") != std::string::npos ? 1 : 0;
    }

    static int contains(const Line& line, const char* text) {
        return line.kind == Line::Kind::Record && line.text.find(text) != std::string::npos ? 1 : 0;
    }

    int least() const {
        return std::min({retried, resumed, rebuilt, refusedRanges, notMade, prompted,
                         refusedPrompts, lost, failed, retriedSuccesses, keptContentTypes});
    }
};

}  // namespace foundation::httpclient_core::testing::agreement
