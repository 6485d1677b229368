#include "transfer/Transfer.h"

#include "command/UrlArgument.h"
#include "entity/Completeness.h"
#include "entity/ContentRange.h"
#include "output/AnswerStream.h"
#include "output/DescriptorWriter.h"
#include "output/StreamOutput.h"
#include "report/HeadText.h"
#include "report/SystemFailure.h"
#include "text/SafeText.h"

#include <foundation/httpclient_core/HttpRequestFailedException.h>
#include <foundation/httpclient_curl/ResumingRetryStrategy.h>

#include <sstream>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace foundation::httpclient_tool {
namespace {

using namespace httpclient_core;

// What a later run may find passed. Nothing is kept of a body that does not fit its own head.
bool mayPass(ExitCode code) {
    switch (code) {
        case ExitCode::Failed:
        case ExitCode::TimedOut:
        case ExitCode::ServerError:
        case ExitCode::TooManyRedirects:
        case ExitCode::Tls:
        case ExitCode::ProxyAuthentication:
        case ExitCode::Interrupted:
            return true;
        default:
            return false;
    }
}

/// The server sent something else than the rest that was asked for. Not of the family of failed requests,
/// so that no strategy repeats the attempt.
class NotTheRest : public std::runtime_error {
public:
    NotTheRest() : std::runtime_error("the server sent another part than the one asked for") {}
};

// The transport looks at the ranges of answers, too.
bool saysNotTheRest(const std::exception_ptr& error) {
    if (error == nullptr) {
        return false;
    }
    try {
        std::rethrow_exception(error);
    } catch (const NotTheRest&) {
        return true;
    } catch (const HttpRequestFailedException& failure) {
        const std::string_view text = failure.what();
        return text.find("another range than the one asked for") != std::string_view::npos ||
               text.find("does not fit its Content-Range") != std::string_view::npos;
    } catch (...) {
        return false;
    }
}

}  // namespace

Transfer::Transfer(std::size_t number, std::string url, const TransferContext& context)
    : number_(number),
      url_(std::move(url)),
      shownUrl_(shownUrl(url_)),
      context_(context),
      parsedUrl_(parseUrlArgument(url_)),
      destination_(openDestination({.path = outputPath(),
                                    .standardOutput = context.standardOutput,
                                    .url = url_,
                                    .resume = context.options.resume})) {}

std::filesystem::path Transfer::outputPath() const {
    return context_.options.remoteName ? std::filesystem::path(remoteName(url_))
                                       : context_.options.output;
}

HttpRequest Transfer::request() {
    HttpRequest request = context_.builder.request(parsedUrl_);
    asked_ = refused_ ? std::nullopt : destination_->heldPart();
    if (asked_.has_value()) {
        request.setHeaderValue("Range", "bytes=" + std::to_string(asked_->size) + "-");
        request.setHeaderValue("If-Range", asked_->validator);
        explain("goes on at byte " + std::to_string(asked_->size) + " of what is held, version " +
                asked_->validator);
    }
    tellHead(request);
    ClientConfiguration configuration = context_.builder.configuration();
    configuration.setRetryStrategy(retryStrategy());
    request.setClientConfiguration(std::move(configuration));
    request.setPreRespCodeAndHeadersCallback([this] { ++heads_; });
    request.setResponseStreamFactory(
        [this](HttpResponseCode code, const std::string& reason, const HttpHeaders& headers) {
            return bodyStream(code, reason, headers);
        });
    request.setProgressCallback([this](const Progress& progress) {
        // The difference alone: the numbers themselves count resumed parts more than once.
        context_.onProgress(number_, destination_->size(),
                            progress.downloadTotal - progress.downloaded);
        return ProgressResult::Continue;
    });
    return request;
}

void Transfer::tellHead(const HttpRequest& request) const {
    if (!context_.options.verbose) {
        return;
    }
    std::ostringstream line;
    line << "> " << request.getHttpMethod() << ' ' << shownUrl_;
    context_.errors.note(line.str());
    for (const std::string& header : shownHeaders(request.getHeaders())) {
        context_.errors.note("> " + header);
    }
}

void Transfer::tellHead(const HttpResponse& response) const {
    if (!context_.options.verbose) {
        return;
    }
    context_.errors.note("< " + to_string(response.getResponseCode()) + " " +
                         response.getResponseCodeReason());
    for (const std::string& header : shownHeaders(response.getHeaders())) {
        context_.errors.note("< " + header);
    }
}

RetryStrategy Transfer::retryStrategy() {
    httpclient_curl::ResumingRetryOptions retry;
    retry.maxRetries = context_.options.retries;
    retry.deadline = context_.options.retryDeadline.value_or(std::chrono::milliseconds(0));
    retry.onRetry = [this](const httpclient_curl::RetryNotice& notice) {
        context_.log.waiting(number_, notice, place());
        context_.onRetry();
        if (context_.options.verbose) {
            context_.errors.note(place() + "retry " + std::to_string(notice.retry) + " of " +
                                 std::to_string(context_.options.retries) + " with " +
                                 std::to_string(destination_->size()) +
                                 " bytes held: " + notice.reason);
        }
    };
    return [this, strategy = httpclient_curl::resumingRetryStrategy(std::move(retry))](
               const HttpRequest& request, const HttpResponse& response,
               const std::exception_ptr& error, int total, int consecutive) {
        // A disk that is full stays full, and a wish to stop is not waited out.
        return !destination_->trouble().has_value() && !context_.mustStop() &&
               !(asked_.has_value() && saysNotTheRest(error)) &&
               strategy(request, response, error, total, consecutive);
    };
}

// Runs on a thread of the transport, as the first byte of each answer comes.
std::unique_ptr<std::iostream> Transfer::bodyStream(HttpResponseCode code,
                                                    const std::string& reason,
                                                    const HttpHeaders& headers) {
    if (!isSuccess(code)) {
        return std::make_unique<AnswerStream>();
    }
    Entity entity = Entity::fromHead(code, headers);
    // Only a whole resource can be gone on with by its validator.
    entity.continuable = entity.continuable && context_.options.method == HttpMethod::GET &&
                         !context_.options.hasHeader("Range");
    const std::int64_t offset = offsetOf(code, headers, entity);
    StreamOutput* output = standardOutput();
    if (context_.options.includeHead && output != nullptr && output->size() == 0) {
        output->setPreamble(headText(code, reason, headers));
    }
    const std::uint64_t ticket = destination_->begin(offset, entity);
    begun_ = true;
    resumedFrom_ = offset;
    return std::make_unique<AnswerStream>(
        destination_, ticket, offset, [this, heads = heads_.load()] { return heads == heads_; });
}

// Where the first byte of the answer's body belongs.
std::int64_t Transfer::offsetOf(HttpResponseCode code,
                                const HttpHeaders& headers,
                                const Entity& entity) const {
    if (code != HttpResponseCode::PartialContent || context_.options.hasHeader("Range")) {
        return 0;
    }
    const auto range = ContentRange::parse(headers.getHeaderValueOr("Content-Range", ""));
    const std::int64_t expected = asked_.has_value() ? asked_->size : 0;
    const bool isRest =
        range.has_value() && range->first == expected &&
        (!asked_.has_value() ||
         ((asked_->length < 0 || range->total < 0 || range->total == asked_->length) &&
          (entity.validator.empty() || entity.validator == asked_->validator)));
    if (!isRest) {
        throw NotTheRest();
    }
    return expected;
}

bool Transfer::wantsAnother(const Outcome& outcome) {
    if (!asked_.has_value() || !saysNotTheRest(outcome.error)) {
        return false;
    }
    refused_ = true;
    explain("the server does not send the rest of what is held: starts over");
    return true;
}

void Transfer::explain(const std::string& text) const {
    if (context_.options.explain) {
        context_.errors.note(place() + text);
    }
}

std::string Transfer::place() const {
    return context_.options.urls.size() > 1 ? shownUrl_ + ": " : std::string();
}

void Transfer::requireWhole(const HttpResponse& response) const {
    if (context_.options.method == HttpMethod::HEAD) {
        return;
    }
    const std::int64_t size = destination_->size();
    const auto reason = context_.options.hasHeader("Range") ? whyIncompletePart(response, size)
                                                            : whyIncomplete(response, size);
    if (reason.has_value()) {
        throw Failure(ExitCode::Failed, shownUrl_ + ": incomplete: " + *reason + "; try again");
    }
}

void Transfer::conclude(Outcome& outcome) {
    if (const auto trouble = destination_->trouble()) {
        throw Failure(*trouble);
    }
    const HttpResponse& response = outcome.response;
    tellHead(response);
    if (!isSuccessful(outcome)) {
        if (context_.options.includeHead && outcome.error == nullptr) {
            for (const auto& [name, value] : response.getHeaders()) {
                std::string line = name;
                line += ": ";
                line += value;
                context_.errors.note(line);
            }
        }
        throw giveUp(failureFor(outcome, facts()));
    }
    if (!begun_) {
        // An answer without a body.
        resumedFrom_ = 0;
        destination_->begin(0, Entity());
    }
    destination_->requireContinued();
    requireWhole(response);
    publish(response);
}

// Null where the body goes elsewhere.
StreamOutput* Transfer::standardOutput() const noexcept {
    return context_.options.writesToStandardOutput()
               ? dynamic_cast<StreamOutput*>(destination_.get())
               : nullptr;
}

void Transfer::publish(const HttpResponse& response) {
    const bool isHead = context_.options.method == HttpMethod::HEAD;
    const bool printsHead = !context_.options.json && (isHead || context_.options.includeHead);
    const std::string head = printsHead
                                 ? headText(response.getResponseCode(),
                                            response.getResponseCodeReason(), response.getHeaders())
                                 : std::string();
    StreamOutput* output = standardOutput();
    if (output != nullptr && output->size() == 0) {
        output->setPreamble(head);
    }
    destination_->publish();
    const int error = output == nullptr ? writeAll(context_.standardOutput, head) : 0;
    if (error != 0) {
        throw systemFailure("cannot write standard output", error);
    }
}

RequestFacts Transfer::facts() const {
    const HttpMethod method = context_.options.method;
    return {.url = shownUrl_,
            .isRepeated = method != HttpMethod::POST && method != HttpMethod::PATCH,
            .usesSocket = !context_.options.unixSocket.empty()};
}

Failure Transfer::giveUp(Failure failure) {
    if (!mayPass(failure.code()) || !destination_->keepForLater()) {
        return failure;
    }
    return {failure.code(), std::string(failure.what()) + "; " +
                                std::to_string(destination_->size()) +
                                " bytes are kept, run again with --resume"};
}

}  // namespace foundation::httpclient_tool
