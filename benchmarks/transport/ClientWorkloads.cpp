#include "Workloads.h"
#include "transports/curl/tests/support/GeneratedBody.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_curl/CurlHttpClient.h>

#include <atomic>
#include <future>
#include <istream>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <streambuf>

namespace foundation::benchmarks::client {
namespace {

using namespace httpclient_core;
using httpclient_curl::CurlHttpClient;
using httpclient_curl::testing::GeneratedBuffer;
using httpclient_curl::testing::StreamOver;

void require(bool condition, const char* what) {
    if (!condition) {
        throw std::runtime_error(what);
    }
}

// Without the default retry strategy, which logs every success.
ClientConfiguration quietConfiguration() {
    return ClientConfiguration().withRetryStrategy(noRetriesStrategy());
}

class ParallelGets {
public:
    ParallelGets(const std::string& url, Limits limits, std::size_t size) : url_(url), size_(size) {
        client_.setClientConfiguration(quietConfiguration()
                                           .withMaxThreads(limits.threads)
                                           .withMaxRequestsPerThread(limits.perThread));
    }

    void run(int count, int inFlight) {
        std::promise<void> done;
        done_ = &done;
        toStart_ = count;
        toEnd_ = count;
        for (int i = 0; i < inFlight; ++i) {
            next();
        }
        done.get_future().wait();
        require(wrong_ == 0, "a transfer of the client failed");
    }

private:
    void next() {
        if (toStart_.fetch_sub(1) <= 0) {
            return;
        }
        client_.makeAsyncRequest(
            HttpRequest(HttpMethod::GET, url_, {}),
            [this](const HttpRequest&, const HttpResponse& response,
                   const std::exception_ptr& error) {
                if (error != nullptr || response.getResponseBodyString().size() != size_) {
                    ++wrong_;
                }
                next();
                if (--toEnd_ == 0) {
                    done_->set_value();
                }
            });
    }

    std::string url_;
    std::size_t size_;
    std::atomic<int> toStart_ = 0;
    std::atomic<int> toEnd_ = 0;
    std::atomic<int> wrong_ = 0;
    std::promise<void>* done_ = nullptr;
    CurlHttpClient client_;
};

// Counts what is written to it.
class CountingBuffer : public std::streambuf {
public:
    explicit CountingBuffer(std::int64_t& bytes) : bytes_(bytes) {}

protected:
    int_type overflow(int_type c) override {
        ++bytes_;
        return traits_type::not_eof(c);
    }
    std::streamsize xsputn(const char* /*data*/, std::streamsize size) override {
        bytes_ += size;
        return size;
    }

private:
    std::int64_t& bytes_;
};

}  // namespace

Cost parallelGets(const std::string& url,
                  int count,
                  int inFlight,
                  Limits limits,
                  std::size_t size) {
    ParallelGets gets(url, limits, size);
    gets.run(4 * inFlight, inFlight);  // Connects.
    return costOf([&] { gets.run(count, inFlight); });
}

Cost sequentialGets(const std::string& url, int count, std::size_t size) {
    CurlHttpClient client;
    client.setClientConfiguration(quietConfiguration());
    const auto one = [&] {
        const HttpResponse response = client.makeRequest(HttpRequest(HttpMethod::GET, url, {}));
        require(response.getResponseBodyString().size() == size,
                "a transfer of the client brought other bytes");
    };
    one();
    return costOf([&] {
        for (int i = 0; i < count; ++i) {
            one();
        }
    });
}

Cost download(const std::string& url, std::int64_t size) {
    CurlHttpClient client;
    client.setClientConfiguration(quietConfiguration());
    std::int64_t bytes = 0;
    HttpRequest request(HttpMethod::GET, url, {});
    request.setResponseStreamFactory(
        [&bytes](HttpResponseCode, const std::string&, const HttpHeaders&) {
            return std::make_unique<StreamOver<CountingBuffer>>(bytes);
        });
    return costOf([&] {
        client.makeRequest(std::move(request));
        require(bytes == size, "a download of the client brought other bytes");
    });
}

Cost upload(const std::string& url, std::int64_t size) {
    CurlHttpClient client;
    client.setClientConfiguration(quietConfiguration());
    HttpRequest request(HttpMethod::PUT, url, {});
    request.setRequestBody(std::make_unique<StreamOver<GeneratedBuffer>>(size));
    request.setHeaderValue("Content-Length", std::to_string(size));
    return costOf([&] {
        const HttpResponse response = client.makeRequest(std::move(request));
        require(response.getResponseBodyString() == std::to_string(size),
                "the server got another number of bytes");
    });
}

}  // namespace foundation::benchmarks::client
