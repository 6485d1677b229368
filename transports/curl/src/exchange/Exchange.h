#pragma once
#include "connection/ConnectionSockets.h"
#include "connection/CurlTypes.h"
#include "connection/TransferShares.h"
#include "engine/RequestRecord.h"
#include "exchange/Deadlines.h"
#include "exchange/Hop.h"
#include "exchange/TransferError.h"
#include "exchange/TransferSettings.h"
#include "proxy/ProxyResolver.h"
#include "request/RequestHeaders.h"
#include "request/UploadSource.h"
#include "request/WireUrl.h"
#include "response/HeaderBlock.h"
#include "response/ResponseDelivery.h"
#include "resume/ResumeGuard.h"

#include <foundation/httpclient_core/HttpRequest.h>
#include <foundation/httpclient_core/HttpResponse.h>
#include <foundation/httpclient_curl/CurlClientOptions.h>

#include <atomic>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace foundation::httpclient_curl {

/// One attempt of a request: the hops of its redirects, each a transfer of libcurl, and what comes of
/// them in the response. Whoever drives it owns the multi handle; all of it runs on one thread, but for
/// the flag that cancels it.
class Exchange {
public:
    using Clock = Deadlines::Clock;
    enum class Next { Again, Done };

    /// What the exchanges of one client share. Everything must outlive the exchange.
    struct Shared {
        const ProxyResolver& proxies;
        CredentialStore& credentials;
        ProxyKnowledge& proxyKnowledge;
        const TransferShares& shares;
        ConnectionSockets& sockets;
        const CurlClientOptions& options;
    };

    /// Without a history it is an attempt by itself.
    Exchange(core::HttpRequest& request,
             core::HttpResponse& response,
             TransferSettings settings,
             const RequestRecord& record,
             RequestHistory* history,
             Shared shared);
    Exchange(const Exchange&) = delete;
    Exchange& operator=(const Exchange&) = delete;
    ~Exchange();

    /// Prepares the first hop. Done: it failed before anything was sent.
    Next begin() noexcept;
    /// The handle to drive after `Next::Again`.
    CURL* handle() const noexcept { return hop_->easy.get(); }
    /// Whether the transfer has to be taken out of its multi handle and ended with
    /// CURLE_ABORTED_BY_CALLBACK: cancelled, too slow, or given up by the progress callback.
    bool mustStop(Clock::time_point now) noexcept;
    /// When to ask again.
    Clock::time_point nextCheck(Clock::time_point now) const noexcept;
    /// The transfer ended with this code; it is out of its multi handle. After `Next::Done` the handle is
    /// freed.
    Next finish(CURLcode code) noexcept;
    /// After `Next::Done`: null for success. The exchange keeps no reference to it: the error belongs to
    /// whoever gets it, down to the thread that destroys it.
    std::exception_ptr takeError() noexcept;

private:
    void prepare();
    void configureHop();
    void configureBody(CURL* easy);
    void configureProxy(CURL* easy);
    void configureCallbacks(CURL* easy);
    void followRedirect();
    void adoptUpgrade();
    void repeatForProxy();
    void restart();
    void restartOnFreshConnection();
    void rewindBody();

    template <class Action>
    bool guarded(Action&& action) noexcept;
    template <class Action>
    bool excused(Action&& action) noexcept;
    void onHeader(std::string_view line);
    void onBlock();
    bool endsWithConnection(const HeaderBlock& block) const;
    void onRawBody(std::string_view data);
    [[noreturn]] void refuseAnswer(const std::string& flaw);
    void onBody(std::string_view data);
    std::size_t onRead(char* buffer, std::size_t size);
    int onSeek();
    void commit(HeaderBlock& block);
    void deliver(HeaderBlock& block, AnswerTerms terms, ResumeGuard::Verdict verdict);
    void reportProgress(Clock::time_point now, bool isLast);
    Deadlines::State state() const;
    /// The response holds the code and headers of this attempt.
    bool isCommitted() const { return delivery_ != nullptr && delivery_->isBegun(); }

    Next conclude(CURLcode code);
    [[noreturn]] void giveUp();
    void succeed();
    void describeFailure(CURLcode code);
    void settleResponse() noexcept;
    void report() noexcept;
    bool isRefusedTunnel() const;
    TransferContext context() const;

    static std::size_t headerCallback(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t writeCallback(char* data, std::size_t size, std::size_t count, void* self);
    static int beforeRequestCallback(void* self,
                                     char* remoteAddress,
                                     char* localAddress,
                                     int remotePort,
                                     int localPort);
    static int debugCallback(CURL* easy,
                             curl_infotype type,
                             char* data,
                             std::size_t size,
                             void* self);
    static std::size_t readCallback(char* data, std::size_t size, std::size_t count, void* self);
    static int seekCallback(void* self, curl_off_t offset, int origin);

    core::HttpRequest& request_;
    core::HttpResponse& response_;
    TransferSettings settings_;
    const RequestRecord& record_;
    const std::atomic<bool>& cancelled_;
    RequestHistory ownHistory_;
    RequestHistory& history_;
    Shared shared_;
    AttemptReport report_;
    core::ProgressCallback progress_;
    Clock::time_point lastProgress_;

    core::HttpMethod method_;
    std::unique_ptr<WireUrl> url_;  ///< This and the next two: null until prepared.
    Origin firstOrigin_;
    std::unique_ptr<RequestHeaders> headers_;
    std::unique_ptr<ResumeGuard> guard_;
    std::unique_ptr<ResponseDelivery> delivery_;
    std::optional<UploadSource> upload_;
    bool sendsForm_ = false;
    std::unique_ptr<Hop> hop_;
    int redirects_ = 0;
    int proxyRepeats_ = 0;   ///< Of the hop.
    bool upgraded_ = false;  ///< libcurl went from http to https for the sake of HSTS.

    bool needsFreshConnection_ = false;
    bool startsOver_ = false;  ///< The answer did not continue the body; ask again for all of it.
    bool tooManyRedirects_ = false;
    bool timedOut_ = false;
    bool aborted_ = false;  ///< By the progress callback.
    bool isGivenUp_ =
        false;           ///< Ends as cancelled; the flag itself may still be set behind its end.
    bool sent_ = false;  ///< Some hop got as far as sending.
    std::int64_t received_ = 0;  ///< Body bytes that came, those of redirects and dropped ones too.
    std::exception_ptr callbackError_;
    bool isRefused_ = false;  ///< The answer was malformed; the next one may be better.
    bool isLasting_ = false;  ///< The next attempt would meet the error again.
    std::exception_ptr error_;
};

}  // namespace foundation::httpclient_curl
