#include "tests/client/ProxyFakes.h"
#include "tests/client/ScriptedTransport.h"
#include "tests/failures/Tables.h"

#include <chrono>
#include <exception>
#include <functional>
#include <future>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

const std::string longText = "a text that is longer than a short string holds";
const std::string urlText = "http://host.test/a/path/that/is/rather/long";

// A client over a scripted transport, with what its requests need. Every turn of a sweep has a new one.
struct Client {
    ScriptedTransport transport;
    Events events;
    // Set by an operation that breaks a promise; a sweep does not look for exceptions of another kind.
    const char* violation = nullptr;
};

using Owned = std::unique_ptr<Client>;

std::string describe(const Owned& client) {
    if (client->violation != nullptr) {
        return client->violation;
    }
    // Hangs if a mutex is still locked.
    return testing::describe(client->transport.getClientConfiguration());
}

// What is sent, and how the network answers it.
struct Scene {
    std::function<HttpRequest()> request;
    std::function<std::vector<Attempt>()> attempts;
};

HttpRequest get() {
    return {HttpMethod::GET, urlText, {{"X-A-Header-That-Needs-Memory", longText}}};
}

HttpRequest retrying() {
    HttpRequest request = get();
    request.setClientConfiguration(ClientConfiguration().withResumeOnRetry(true).withRetryStrategy(
        defaultRetryStrategy(3, 0, std::chrono::seconds(0), defaultIsRetriable())));
    return request;
}

Scene plain() {
    return {get, [] { return std::vector{answer(HttpResponseCode::OK, longText)}; }};
}

Scene withBody() {
    return {[] {
                HttpRequest request(HttpMethod::PUT, urlText, {});
                request.setRequestBody(longText);
                return request;
            },
            [] { return std::vector{answer(HttpResponseCode::Created)}; }};
}

Scene withParts() {
    return {[] {
                HttpRequest request(HttpMethod::POST, urlText, {{"Content-Type", longText}});
                MultipartBody body;
                body.addPart(DataPart(PartHeader(longText), longText));
                request.setMultipartBody(body);
                return request;
            },
            [] { return std::vector{answer(HttpResponseCode::OK, longText)}; }};
}

Scene retried() {
    return {retrying, [] {
                return std::vector{answer(HttpResponseCode::ServiceUnavailable, "later"),
                                   answer(HttpResponseCode::OK, longText)};
            }};
}

Scene resumed() {
    return {
        [] {
            HttpRequest request = retrying();
            request.setProgressCallback([](const Progress&) { return ProgressResult::Continue; });
            return request;
        },
        [] {
            Attempt first =
                answer(HttpResponseCode::OK, longText.substr(0, 10), {{"Accept-Ranges", "bytes"}});
            first.error = std::make_exception_ptr(HttpRequestTimeoutException());
            return std::vector{first, answer(HttpResponseCode::PartialContent, longText.substr(10),
                                             {{"Content-Range", "bytes 10-47/48"}})};
        }};
}

Scene upgraded() {
    return {[] {
                HttpRequest request = get();
                request.setClientConfiguration(ClientConfiguration().withRetryStrategy(
                    [](const HttpRequest&, const HttpResponse& response,
                       const std::exception_ptr& error, int, int) {
                        return error == nullptr &&
                               response.getResponseCode() == HttpResponseCode::UpgradeRequired;
                    }));
                return request;
            },
            [] {
                return std::vector{
                    answerFrom("https://other.test/a/long/path", HttpResponseCode::UpgradeRequired),
                    answer(HttpResponseCode::OK, longText)};
            }};
}

Scene notSatisfied() {
    return {[] {
                HttpRequest request = get();
                request.setHeaderValue("Range", "bytes=7-");
                request.setClientConfiguration(ClientConfiguration().withRetryStrategy(
                    [](const HttpRequest&, const HttpResponse& response,
                       const std::exception_ptr& error, int, int) {
                        return error == nullptr &&
                               response.getResponseCode() == HttpResponseCode::RangeNotSatisfiable;
                    }));
                return request;
            },
            [] {
                return std::vector{answer(HttpResponseCode::RangeNotSatisfiable, "no"),
                                   answer(HttpResponseCode::OK, longText)};
            }};
}

Scene proxied() {
    return {get, [] {
                return std::vector{testing::refusal(), testing::refusal(),
                                   answer(HttpResponseCode::OK, longText)};
            }};
}

Scene failing() {
    return {get, [] { return std::vector{failure(longText)}; }};
}

Scene refused() {
    return {[] {
                HttpRequest request = get();
                request.setRequestBody(std::make_unique<std::istringstream>(longText));
                return request;
            },
            [] { return std::vector<Attempt>(); }};
}

std::string outcome(const HttpResponse& response) {
    return testing::describe(response) + response.getResponseBodyString();
}

// An error of the memory fails the operation; any other is its outcome.
std::string outcome(const std::exception_ptr& error) {
    try {
        std::rethrow_exception(error);
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& other) {
        return other.what();
    }
}

// Ends a request, or learns by its destruction that nobody will. Notes without allocating.
class Handler {
public:
    struct Ends {
        int calls = 0;
        int destroyedUncalled = 0;
        std::optional<HttpResponse> response;
        std::exception_ptr error;
    };

    explicit Handler(Ends& ends) : ends_(&ends) {}
    Handler(Handler&& other) noexcept : ends_(std::exchange(other.ends_, nullptr)) {}
    Handler& operator=(Handler&&) = delete;
    Handler(const Handler&) = delete;
    Handler& operator=(const Handler&) = delete;
    ~Handler() {
        if (ends_ != nullptr) {
            ++ends_->destroyedUncalled;
        }
    }

    void operator()(const HttpRequest& /*request*/,
                    HttpResponse response,
                    std::exception_ptr error) {
        Ends& ends = *std::exchange(ends_, nullptr);
        ++ends.calls;
        ends.response.emplace(std::move(response));
        ends.error = std::move(error);
    }

private:
    Ends* ends_;
};

std::string synchronously(Owned& client, const Scene& scene) {
    client->transport.script(scene.attempts());
    try {
        return outcome(client->transport.makeRequest(scene.request()));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        return outcome(std::current_exception());
    }
}

// However memory runs out: the handler is called once, or destroyed uncalled once; never called where the
// start of the request has thrown, and never neither.
std::string withHandler(Owned& client, const Scene& scene) {
    client->transport.script(scene.attempts());
    HttpRequest request = scene.request();
    Handler::Ends ends;
    std::exception_ptr thrown;
    try {
        client->transport.makeAsyncRequest(std::move(request), Handler(ends));
    } catch (...) {
        thrown = std::current_exception();
    }
    client->transport.pump();
    if (ends.calls + ends.destroyedUncalled != 1) {
        client->violation = "not one end";
    } else if (thrown != nullptr && ends.calls != 0) {
        client->violation = "thrown and delivered";
    }
    if (thrown != nullptr || ends.error != nullptr) {
        return outcome(thrown != nullptr ? thrown : ends.error);
    }
    if (ends.calls == 0) {
        throw std::bad_alloc();
    }
    return outcome(*ends.response);
}

// However memory runs out: the future is ready when the transport has nothing left to do.
std::string withFuture(Owned& client, const Scene& scene) {
    client->transport.script(scene.attempts());
    HttpRequest request = scene.request();
    std::future<HttpResponse> response;
    try {
        response = client->transport.makeAsyncRequest(std::move(request)).first;
    } catch (...) {
        return outcome(std::current_exception());
    }
    client->transport.pump();
    if (response.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
        client->violation = "a future that waits for ever";
    }
    try {
        return outcome(response.get());
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::future_error&) {
        throw std::bad_alloc();  // Broken: between two attempts nobody could be told more.
    } catch (...) {
        return outcome(std::current_exception());
    }
}

Owned client() {
    auto made = std::make_unique<Client>();
    made->transport.makePrompt = [&events = made->events](const HttpResponse&,
                                                          const std::exception_ptr&) {
        return std::make_shared<FakePrompt>(events,
                                            std::vector{ProxyCredentials(longText, longText)});
    };
    made->transport.makeStore = [&events = made->events] {
        return std::make_shared<FakeStore>(events);
    };
    return made;
}

}  // namespace

Operations clientOperations() {
    struct Row {
        std::string name;
        Scene scene;
    };
    const std::vector<Row> rows{{"a request", plain()},
                                {"a request with a body", withBody()},
                                {"a request with parts", withParts()},
                                {"a request that is retried", retried()},
                                {"a request that is resumed", resumed()},
                                {"a request after an upgrade", upgraded()},
                                {"a request whose range is refused", notSatisfied()},
                                {"a request through a proxy", proxied()},
                                {"a request that fails", failing()},
                                {"a request that is refused", refused()}};
    const auto unbroken = [](const std::string& before, const Owned& after) {
        EXPECT_EQ(describe(after), before);
    };
    Operations operations;
    for (const Row& row : rows) {
        operations.push_back(leaving(
            "makeRequest: " + row.name, client,
            [scene = row.scene](Owned& c) { return synchronously(c, scene); }, unbroken));
        operations.push_back(leaving(
            "makeAsyncRequest with a handler: " + row.name, client,
            [scene = row.scene](Owned& c) { return withHandler(c, scene); }, unbroken));
        operations.push_back(leaving(
            "makeAsyncRequest with a future: " + row.name, client,
            [scene = row.scene](Owned& c) { return withFuture(c, scene); }, unbroken));
    }
    operations.push_back(strong("getClientConfiguration", client,
                                [](Owned& c) { return c->transport.getClientConfiguration(); }));
    operations.push_back(strong("setClientConfiguration", client, [](Owned& c) {
        c->transport.setClientConfiguration(ClientConfiguration()
                                                .withCertificateFile(longText)
                                                .withDomainSocketPath(longText)
                                                .withMaxThreads(9));
    }));
    operations.push_back(strong(
        "HttpClient", [] { return longText; },
        [](std::string& /*text*/) {
            const ScriptedTransport transport;
            return transport.transportName();
        }));
    operations.push_back(strong(
        "CompletionHandler", [] { return longText; },
        [](std::string& text) {
            int calls = 0;
            CompletionHandler handler = [&calls, text](const HttpRequest&, const HttpResponse&,
                                                       const std::exception_ptr&) { ++calls; };
            handler(get(), HttpResponse(), nullptr);
            return calls;
        }));
    return operations;
}

}  // namespace foundation::httpclient_core::testing
