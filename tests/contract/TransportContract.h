#pragma once
#include <foundation/httpclient_core.h>

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {

/// What one attempt brought to the other side.
struct PeerRequest {
    std::string method;
    std::string path;
    HttpHeaders headers;
    std::string body;
};

/// What the other side does about it.
struct PeerAnswer {
    enum class Kind {
        Answer,
        Refuse,  ///< Ends the exchange without an answer.
        Hold     ///< Never answers, until the transport gives up. For NetworkTransportContract.
    };

    HttpResponseCode code = HttpResponseCode::OK;
    std::string reason = "OK";
    HttpHeaders headers = {};
    std::string body = {};
    Kind kind = Kind::Answer;
    /// Body bytes after which the exchange breaks off. For NetworkTransportContract.
    std::optional<std::size_t> cutAfter = {};
};

/// The other side. Called from several threads at once; may block.
using Peer = std::function<PeerAnswer(const PeerRequest&)>;

/// A transport and its other side, for one test.
class TransportSubject {
public:
    TransportSubject() = default;
    TransportSubject(const TransportSubject&) = delete;
    TransportSubject& operator=(const TransportSubject&) = delete;
    /// Destroys the client, where it still lives, and then the other side.
    virtual ~TransportSubject();

    virtual HttpClient& client() = 0;
    /// Destroys the client, as a user does; the other side stays.
    virtual void destroyClient() = 0;
    /// The URL that reaches the peer with this path.
    virtual std::string url(const std::string& path) const = 0;
};

/// What INSTANTIATE_TEST_SUITE_P takes: how to make the transport under test.
struct TransportFactory {
    std::string name;
    /// `prompt` is what the client's proxyCredentialPrompt() returns; the mandatory suite passes null.
    std::function<std::unique_ptr<TransportSubject>(Peer peer,
                                                    std::shared_ptr<ProxyCredentialPrompt> prompt)>
        make;

    friend std::ostream& operator<<(std::ostream& os, const TransportFactory& factory) {
        return os << factory.name;
    }
};

/// The name of an instantiated test.
std::string transportName(const ::testing::TestParamInfo<TransportFactory>& factory);

enum class ContractRoad { Synchronous, Asynchronous };

/// How one attempt or one request ended.
struct Ended {
    HttpResponse response;
    std::exception_ptr error;

    HttpResponseCode code() const { return response.getResponseCode(); }
    std::string body() const { return response.getResponseBodyString(); }
    /// Whether the error is of this class or one derived from it.
    template <class Exception>
    bool failedWith() const {
        try {
            if (error != nullptr) {
                std::rethrow_exception(error);
            }
        } catch (const Exception&) {
            return true;
        } catch (...) {
        }
        return false;
    }
    std::string message() const;
};

/// Something that threads wait for. A wait ends after ten seconds, as a failure.
class Signal {
public:
    void give();
    /// Whether it was given `count` times.
    bool wait(int count = 1) const;
    int count() const;

private:
    mutable std::mutex mutex_;
    mutable std::condition_variable given_;
    int count_ = 0;
};

/// The duties of every transport, on whatever it is built.
class TransportContract : public ::testing::TestWithParam<TransportFactory> {
protected:
    TransportContract();
    ~TransportContract() override;

    /// Makes the transport; before anything else of a test.
    void start(Peer peer, std::shared_ptr<ProxyCredentialPrompt> prompt = nullptr);
    /// The same with one answer for every attempt.
    void answerAlways(PeerAnswer answer);

    HttpClient& client() { return subject_->client(); }
    TransportSubject& subject() { return *subject_; }
    HttpRequest get(const std::string& path = "/") const;
    HttpRequest post(const std::string& body, const std::string& path = "/") const;

    /// One attempt on the road, without the core around it. The handler's duties are checked.
    Ended attempt(ContractRoad road, HttpRequest request, HttpResponse response);
    Ended attempt(ContractRoad road, HttpRequest request);
    /// A response that an attempt before has begun to fill.
    static HttpResponse holdingResponse(const HttpRequest& request, const std::string& body);
    /// One attempt that asks for what follows the body that its response holds.
    Ended attemptAfter(const std::string& body, ContractRoad road);
    /// A whole request on the road, with the core's retries.
    Ended run(ContractRoad road, HttpRequest request);
    /// What reached the peer so far.
    std::vector<PeerRequest> received() const;
    /// The last of them; an empty one, as a failure, where there was none.
    PeerRequest lastReceived() const;

    /// Runs the test's body on either road.
    template <class Body>
    void onBothRoads(Body&& body) {
        for (const ContractRoad road : {ContractRoad::Synchronous, ContractRoad::Asynchronous}) {
            SCOPED_TRACE(road == ContractRoad::Synchronous ? "sendRequest" : "sendAsyncRequest");
            body(road);
        }
    }

private:
    mutable std::mutex mutex_;
    std::vector<PeerRequest> received_;
    std::atomic<unsigned long> nextId_{1000000};
    std::unique_ptr<TransportSubject> subject_;  // Last: its threads use the rest.
};

/// What transports owe that reach their peer over connections: redirects, time limits, proxies, bodies
/// that break off, and attempts that can be interrupted while they wait.
class NetworkTransportContract : public TransportContract {};

}  // namespace foundation::httpclient_core::testing
