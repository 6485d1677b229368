#include "tools/httpclient/Download.h"

#include "tools/httpclient/Completeness.h"
#include "tools/httpclient/Destination.h"
#include "tools/httpclient/Failure.h"
#include "tools/httpclient/FileStream.h"
#include "tools/httpclient/ProgressDisplay.h"
#include "tools/httpclient/RetryPolicy.h"
#include "tools/httpclient/UrlArgument.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>
#include <foundation/httpclient_core/Version.h>

#include <atomic>
#include <future>
#include <system_error>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;

struct Outcome {
    HttpResponse response;
    std::exception_ptr error;
};

class Download {
public:
    Download(const GetOptions& options, Environment& environment)
        : options_(options),
          environment_(environment),
          url_(parseUrlArgument(options.url)),
          destination_(
              openDestination(options.output, environment.standardOutput, environment.interrupts)),
          display_(environment.errors,
                   environment.errors.isTerminal() && !options.output.empty() && !options.quiet) {}

    void run() {
        const Outcome outcome = fetch();
        requireSuccess(outcome);
        const std::int64_t size = body().size();
        destination_->publish();
        display_.finish(size);
        if (options_.verbose) {
            environment_.errors.note(destination_->name() + ": " + display_.summary(size));
        }
    }

private:
    const BodyFile& body() const noexcept { return *destination_->body(); }

    Outcome fetch() {
        const std::unique_ptr<HttpClient> client = environment_.makeClient();
        std::promise<Outcome> promise;
        std::future<Outcome> future = promise.get_future();
        client->makeAsyncRequest(request(), [promise = std::move(promise)](
                                                HttpRequest /*request*/, HttpResponse response,
                                                std::exception_ptr error) mutable {
            promise.set_value({.response = std::move(response), .error = std::move(error)});
        });
        // After the start: a wish to stop that came before it is acted on here.
        const Interrupts::Scope scope(environment_.interrupts,
                                      [&client] { client->cancelAllRequests(); });
        if (options_.maxTime.has_value() &&
            future.wait_for(*options_.maxTime) == std::future_status::timeout) {
            gaveUp_ = true;
            client->cancelAllRequests();
        }
        return future.get();
    }

    HttpRequest request() {
        HttpRequest request(
            HttpMethod::GET, url_,
            {{"Accept", "*/*"}, {"User-Agent", "httpclient/" FOUNDATION_HTTPCLIENT_VERSION}});
        request.setClientConfiguration(configuration());
        // Whatever the code is: the core may keep a stream that was made for an error page for the body
        // of the attempt that follows, so a stream that discards would lose that one too. Error pages
        // are collected like everything else and then not published.
        request.setResponseStreamFactory(
            [file = destination_->body()](HttpResponseCode, const std::string&,
                                          const HttpHeaders&) -> std::unique_ptr<std::iostream> {
                file->clear();
                return std::make_unique<FileStream>(file);
            });
        request.setProgressCallback([this](const Progress& progress) {
            // The difference alone: the numbers themselves count resumed parts more than once.
            display_.update(body().size(), progress.downloadTotal - progress.downloaded);
            return ProgressResult::Continue;
        });
        return request;
    }

    ClientConfiguration configuration() {
        RetryPolicy policy;
        policy.retries = options_.retries;
        policy.bodySize = [this] { return body().size(); };
        policy.isHopeless = [this] { return body().error() != 0 || mustStop(); };
        policy.onRetry = [this](int retry, const std::string& reason) {
            display_.countRetry();
            if (options_.verbose) {
                environment_.errors.note("retry " + std::to_string(retry) + " of " +
                                         std::to_string(options_.retries) + " with " +
                                         std::to_string(body().size()) + " bytes held: " + reason);
            }
        };
        return ClientConfiguration()
            .withCertificateFile(options_.certificateFile)
            .withResumeOnRetry(true)
            .withRetryStrategy(downloadRetryStrategy(std::move(policy)));
    }

    bool mustStop() const { return gaveUp_ || environment_.interrupts.interrupted(); }

    void requireSuccess(const Outcome& outcome) const {
        if (environment_.interrupts.interrupted()) {
            throw Failure(ExitCode::Interrupted, "interrupted");
        }
        if (body().error() != 0) {
            throw Failure(ExitCode::OutputFailed,
                          "cannot write " + destination_->name() + ": " +
                              std::generic_category().message(body().error()));
        }
        const HttpResponseCode code = outcome.response.getResponseCode();
        if (gaveUp_ && (outcome.error != nullptr || !isSuccess(code))) {
            throw Failure(ExitCode::TimedOut,
                          options_.url + ": not complete when --max-time was over");
        }
        if (outcome.error != nullptr) {
            throwFailureFor(outcome.error);
        }
        if (!isSuccess(code)) {
            throw Failure(ExitCode::HttpStatus, options_.url + ": HTTP status " + to_string(code) +
                                                    " " + outcome.response.getResponseCodeReason());
        }
        if (const auto reason = whyIncomplete(outcome.response, body().size())) {
            throw Failure(ExitCode::RequestFailed, options_.url + ": incomplete: " + *reason);
        }
    }

    [[noreturn]] void throwFailureFor(const std::exception_ptr& error) const {
        try {
            std::rethrow_exception(error);
        } catch (const HttpRequestTimeoutException&) {
            throw Failure(ExitCode::TimedOut, options_.url + ": timed out");
        } catch (const HttpRequestCancelledException&) {
            throw Failure(ExitCode::RequestFailed, options_.url + ": cancelled");
        } catch (const std::exception& failure) {
            throw Failure(ExitCode::RequestFailed, failure.what());
        } catch (...) {
            throw Failure(ExitCode::RequestFailed, options_.url + ": unknown error");
        }
    }

    const GetOptions& options_;
    Environment& environment_;
    URL url_;
    std::unique_ptr<Destination> destination_;
    ProgressDisplay display_;
    std::atomic<bool> gaveUp_{false};
};

}  // namespace

void download(const GetOptions& options, Environment& environment) {
    Download(options, environment).run();
}

}  // namespace foundation::httpclient_tool
