#include "exchange/Exchange.h"

#include "connection/ConnectionOptions.h"
#include "exchange/Redirects.h"
#include "exchange/TransferReport.h"
#include "proxy/InternalHeaders.h"
#include "request/BodyStream.h"
#include "request/Methods.h"
#include "retry/RetryClock.h"

#include <foundation/httpclient_core/HttpRequestCancelledException.h>
#include <foundation/httpclient_core/HttpRequestTimeoutException.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace foundation::httpclient_curl {

using core::HttpMethod;
using core::HttpRequestCancelledException;
using core::HttpRequestFailedException;
using core::HttpResponseCode;

Exchange::Exchange(core::HttpRequest& request,
                   core::HttpResponse& response,
                   TransferSettings settings,
                   const RequestRecord& record,
                   RequestHistory* history,
                   Shared shared)
    : request_(request),
      response_(response),
      settings_(std::move(settings)),
      record_(record),
      cancelled_(record.cancelled),
      history_(history != nullptr ? *history : ownHistory_),
      shared_(shared),
      method_(request.getHttpMethod()) {}

Exchange::~Exchange() = default;

Exchange::Next Exchange::begin() noexcept {
    if (++history_.attempts == 1) {
        history_.begun = retryClock().now();
    }
    report_.attempt = history_.attempts;
    try {
        prepare();
        configureHop();
        return Next::Again;
    } catch (...) {
        // Refused before anything was sent.
        isLasting_ = true;
        error_ = std::current_exception();
        settleResponse();
        report();
        return Next::Done;
    }
}

void Exchange::prepare() {
    // A code other than "not made" means that the core sends a request again after a proxy refused it.
    // That is the one way on which neither the response nor the request body was made ready.
    const bool keepsBody = history_.held.has_value();
    history_.held.reset();
    if (response_.getResponseCode() != HttpResponseCode::RequestNotMade) {
        response_.setResponseCodeAndReason(HttpResponseCode::RequestNotMade, "Request Not Made");
        response_.setHeaders({});
        if (!keepsBody) {
            response_.resetResponseBody();
        }
        if (request_.hasRequestBody()) {
            seekRead(request_.getRequestBody(), 0);
        }
    }
    guard_ = std::make_unique<ResumeGuard>(request_, response_, settings_.resumeOnRetry,
                                           history_.isAttended);
    delivery_ = std::make_unique<ResponseDelivery>(response_, *guard_, history_,
                                                   shared_.options.maxResponseBodyBytes);
    if (cancelled_) {
        giveUp();
    }
    if (request_.hasProgressCallback()) {
        progress_ = request_.getProgressCallback();
        lastProgress_ = Clock::now();
    }
    url_ = std::make_unique<WireUrl>(request_);
    if (!history_.firstOrigin.has_value()) {
        history_.firstOrigin = url_->origin();
    }
    firstOrigin_ = *history_.firstOrigin;
    headers_ = std::make_unique<RequestHeaders>(request_.getHeaders());
    if (url_->origin() != firstOrigin_) {
        // Rebuilt by the core for the URL at which a redirect ended, with all of its headers.
        headers_->dropSensitive(shared_.options.sensitiveHeaders);
    }
    sendsForm_ = request_.hasMultipartBody();
    if (sendsForm_ && request_.hasRequestBody()) {
        throw HttpRequestFailedException("The request has both a body and a multipart body");
    }
    if (method_ == HttpMethod::HEAD && (sendsForm_ || request_.hasRequestBody())) {
        throw HttpRequestFailedException("A HEAD request cannot have a body");
    }
    if (request_.hasRequestBody()) {
        upload_.emplace(request_.getRequestBody(), headers_->contentLength());
    } else {
        headers_->dropTransferCodings();
    }
}

void Exchange::configureHop() {
    hop_ = std::make_unique<Hop>(settings_, shared_.options.maxResponseHeaderFields);
    // A handle of its own for each hop. One that is used again keeps a pointer to the last header line of
    // its former answer, which is freed: an answer that begins with a folded line makes libcurl 7.88
    // continue that one. After HTTP/2 it would besides refuse options, even when it was reset.
    hop_->easy.reset(requireMemory(curl_easy_init()));
    CURL* easy = handle();
    setOption(easy, CURLOPT_URL, url_->text().c_str());
    setOption(easy, CURLOPT_ERRORBUFFER, hop_->errorText.data());
    setOption(easy, CURLOPT_PRIVATE, this);
    setOption(easy, CURLOPT_NOSIGNAL, 1L);
    setOption(easy, CURLOPT_PROTOCOLS_STR, "http,https");
    // With a Transfer-Encoding of the caller's, libcurl would make chunks in HTTP/2 as well.
    setOption(easy, CURLOPT_HTTP_VERSION,
              static_cast<long>(headers_->hasTransferCodings() ? CURL_HTTP_VERSION_1_1
                                                               : CURL_HTTP_VERSION_2TLS));
    setOption(easy, CURLOPT_FOLLOWLOCATION, 0L);
    setOption(easy, CURLOPT_PATH_AS_IS, 1L);
    setOption(easy, CURLOPT_BUFFERSIZE, 131072L);
    setOption(easy, CURLOPT_UPLOAD_BUFFERSIZE, 524288L);
    hop_->lines = headers_->lines(guard_->range(), guard_->ifRange());
    setOption(easy, CURLOPT_HTTPHEADER, hop_->lines.get());
    setConnectionOptions(easy, settings_, shared_.shares);
    configureProxy(easy);
    configureCallbacks(easy);
    configureBody(easy);
}

void Exchange::configureProxy(CURL* easy) {
    if (!settings_.domainSocketPath.empty()) {
        return;
    }
    std::optional<Proxy> proxy = shared_.proxies.proxyFor(url_->origin(), settings_.proxyUrl);
    if (!proxy.has_value()) {
        return;
    }
    std::optional<ProxyLogin> login;
    if (settings_.useStoredProxyCredentials) {
        login = shared_.credentials.loginFor(proxy->info);
    }
    constexpr int mostRepeats = 2;
    hop_->pass = std::make_unique<ProxyPass>(std::move(*proxy), std::move(login),
                                             shared_.proxyKnowledge, proxyRepeats_ < mostRepeats);
    hop_->pass->configure(easy, wireName(method_), *url_);
}

void Exchange::configureCallbacks(CURL* easy) {
    setOption(easy, CURLOPT_HEADERFUNCTION, &Exchange::headerCallback);
    setOption(easy, CURLOPT_HEADERDATA, this);
    setOption(easy, CURLOPT_WRITEFUNCTION, &Exchange::writeCallback);
    setOption(easy, CURLOPT_WRITEDATA, this);
    setOption(easy, CURLOPT_DEBUGFUNCTION, &Exchange::debugCallback);
    setOption(easy, CURLOPT_DEBUGDATA, this);
    // Over TLS, records that are no answer may wait: a session ticket, the frames of HTTP/2.
    if (url_->origin().scheme == "http") {
        shared_.sockets.watch(easy, hop_->opening);
        setOption(easy, CURLOPT_PREREQFUNCTION, &Exchange::beforeRequestCallback);
        setOption(easy, CURLOPT_PREREQDATA, this);
    }
    if (needsFreshConnection_) {
        setOption(easy, CURLOPT_FRESH_CONNECT, 1L);
    } else if (settings_.hasNeighbours && url_->origin().scheme == "https") {
        // A connection that is being made may turn out to carry several requests. Over plain HTTP that is
        // known only from the first answer, which nobody should have to wait for.
        setOption(easy, CURLOPT_PIPEWAIT, 1L);
    }
}

void Exchange::configureBody(CURL* easy) {
    const char* const name = wireName(method_);
    if (method_ == HttpMethod::HEAD) {
        setOption(easy, CURLOPT_NOBODY, 1L);
        return;
    }
    if (mayHaveSideEffects(method_) && !upload_.has_value()) {
        // libcurl repeats a request whose reused connection dies before an answer, and there is no
        // callback here that could stop it.
        setOption(easy, CURLOPT_FRESH_CONNECT, 1L);
    }
    if (sendsForm_) {
        hop_->form = std::make_unique<MultipartForm>(easy, request_.getMultipartBody());
        setOption(easy, CURLOPT_MIMEPOST, hop_->form->get());
        setOption(easy, CURLOPT_CUSTOMREQUEST, name);
        return;
    }
    if (!upload_.has_value() && (method_ == HttpMethod::GET || method_ == HttpMethod::DELETE)) {
        setOption(easy, CURLOPT_HTTPGET, 1L);
        if (method_ == HttpMethod::DELETE) {
            setOption(easy, CURLOPT_CUSTOMREQUEST, name);
        }
        return;
    }
    // Not CURLOPT_POST, which adds the Content-Type of a form.
    setOption(easy, CURLOPT_UPLOAD, 1L);
    setOption(easy, CURLOPT_CUSTOMREQUEST, name);
    setOption(easy, CURLOPT_INFILESIZE_LARGE,
              curl_off_t{upload_.has_value() ? upload_->length() : 0});
    setOption(easy, CURLOPT_READFUNCTION, &Exchange::readCallback);
    setOption(easy, CURLOPT_READDATA, this);
    setOption(easy, CURLOPT_SEEKFUNCTION, &Exchange::seekCallback);
    setOption(easy, CURLOPT_SEEKDATA, this);
    if (mayHaveSideEffects(method_) && url_->origin().scheme == "https") {
        // The only way to learn why libcurl is about to send a request again.
        setOption(easy, CURLOPT_VERBOSE, 1L);
    }
}

// ---- callbacks of libcurl: nothing may be thrown through it

template <class Action>
bool Exchange::guarded(Action&& action) noexcept {
    if (cancelled_ || callbackError_ != nullptr) {
        return false;
    }
    try {
        action();
    } catch (...) {
        callbackError_ = std::current_exception();
    }
    return callbackError_ == nullptr && !startsOver_ && !hop_->givesUpBody && !aborted_;
}

// For what may run the caller's own code, whose time does not count.
template <class Action>
bool Exchange::excused(Action&& action) noexcept {
    const Clock::time_point begin = Clock::now();
    const bool goesOn = guarded(std::forward<Action>(action));
    hop_->deadlines.excuse(Clock::now() - begin);
    return goesOn;
}

std::size_t Exchange::headerCallback(char* data, std::size_t size, std::size_t count, void* self) {
    auto* exchange = static_cast<Exchange*>(self);
    const std::string_view line(data, size * count);
    const auto take = [=] { exchange->onHeader(line); };
    // Only the empty line at the end of a block has consequences outside.
    const bool goesOn = line.size() <= 2 ? exchange->excused(take) : exchange->guarded(take);
    return goesOn ? line.size() : 0;
}

std::size_t Exchange::writeCallback(char* data, std::size_t size, std::size_t count, void* self) {
    auto* exchange = static_cast<Exchange*>(self);
    const std::string_view bytes(data, size * count);
    return exchange->excused([=] { exchange->onBody(bytes); }) ? bytes.size()
                                                               : CURL_WRITEFUNC_ERROR;
}

// NOLINTBEGIN(readability-non-const-parameter): the signature is libcurl's
int Exchange::beforeRequestCallback(void* self,
                                    char* remoteAddress,
                                    char* localAddress,
                                    int remotePort,
                                    int localPort) {
    Exchange& exchange = *static_cast<Exchange*>(self);
    const ConnectionSockets::Ends ends{remoteAddress, localAddress, remotePort, localPort};
    if (info<long>(exchange.handle(), CURLINFO_NUM_CONNECTS) > 0) {
        exchange.shared_.sockets.connected(ends);
        return CURL_PREREQFUNC_OK;
    }
    // Nothing was asked on this connection since its last answer ended: bytes that wait belong to none.
    exchange.hop_->isSoiled = exchange.shared_.sockets.hasUnread(ends);
    return exchange.hop_->isSoiled ? CURL_PREREQFUNC_ABORT : CURL_PREREQFUNC_OK;
}
// NOLINTEND(readability-non-const-parameter)

int Exchange::debugCallback(CURL* /*easy*/,
                            curl_infotype type,
                            char* data,
                            std::size_t size,
                            void* self) {
    auto* exchange = static_cast<Exchange*>(self);
    const std::string_view bytes(data, size);
    if (type == CURLINFO_TEXT) {
        exchange->hop_->stream.addText(bytes);
    } else if (type == CURLINFO_DATA_IN) {
        // What comes after a flaw meets its error: the bytes go no further.
        exchange->guarded([=] { exchange->onRawBody(bytes); });
    }
    return 0;
}

std::size_t Exchange::readCallback(char* data, std::size_t size, std::size_t count, void* self) {
    auto* exchange = static_cast<Exchange*>(self);
    std::size_t got = 0;
    return exchange->excused([&] { got = exchange->onRead(data, size * count); })
               ? got
               : CURL_READFUNC_ABORT;
}

int Exchange::seekCallback(void* self, curl_off_t offset, int origin) {
    auto* exchange = static_cast<Exchange*>(self);
    int result = CURL_SEEKFUNC_CANTSEEK;
    if (offset == 0 && origin == SEEK_SET) {
        exchange->excused([&] { result = exchange->onSeek(); });
    }
    return result;
}

void Exchange::onHeader(std::string_view line) {
    hop_->answered = true;
    hop_->headerBytes += static_cast<std::int64_t>(line.size());
    const std::int64_t most = shared_.options.maxResponseHeaderBytes;
    if (hop_->headerBytes > most) {
        throw HttpRequestFailedException("The response headers are larger than " +
                                         std::to_string(most) + " bytes");
    }
    if (!hop_->inBlock && HeaderBlock::isStatusLine(line)) {
        hop_->inBlock = !isCommitted();
        hop_->undecided = false;
        if (hop_->inBlock) {
            hop_->block.begin(line);
        }
        return;
    }
    // What comes outside a block are trailers; they would change headers that were delivered.
    if (hop_->inBlock && hop_->block.addLine(line)) {
        hop_->inBlock = false;
        onBlock();
    }
}

void Exchange::onBlock() {
    HeaderBlock& block = hop_->block;
    const long readByLibcurl = info<long>(handle(), CURLINFO_RESPONSE_CODE);
    const bool toConnect = readByLibcurl == 0;
    if (hop_->pass != nullptr) {
        hop_->pass->onAnswer(block, toConnect);
        if (hop_->pass->hasPassed() && hop_->pass->generation() > 0) {
            shared_.credentials.judge(hop_->pass->info(), hop_->pass->generation(), true);
        }
        // libcurl asks again for as long as the proxy calls the nonce stale.
        constexpr int mostRefusals = 5;
        if (hop_->pass->isRefused() && ++hop_->refusals > mostRefusals) {
            std::rethrow_exception(
                transferFailure("The proxy asked for credentials again and again", context()));
        }
        if (hop_->pass->isRefused() && (upload_.has_value() || sendsForm_)) {
            // squid never reads the body that it refused, but keeps the connection open: a request that
            // came after it would wait for ever.
            setOption(handle(), CURLOPT_FORBID_REUSE, 1L);
        }
    }
    if (toConnect) {
        hop_->connectBlock = block;
        return;
    }
    const HttpResponseCode code = block.code();
    if (isInformational(code) && code != HttpResponseCode::SwitchingProtocols) {
        if (!block.flaw().empty()) {
            // Where it ends is where the answer begins.
            refuseAnswer(block.flaw());
        }
        return;
    }
    if (static_cast<long>(code) != readByLibcurl) {
        // libcurl takes a line that only begins like a status line for code 200, which decides about the body.
        refuseAnswer("its status line makes no sense");
    }
    hop_->framing = framingOf(block);
    if (!hop_->framing.flaw.empty()) {
        refuseAnswer(hop_->framing.flaw);
    }
    // Once more where libcurl repeats a request.
    hop_->chunks = ChunkCheck();
    hop_->isChunked = hop_->framing.isChunked && method_ != HttpMethod::HEAD &&
                      code != HttpResponseCode::NoContent && code != HttpResponseCode::NotModified;
    if (hop_->isChunked) {
        // The only way to see a chunked body as it came.
        setOption(handle(), CURLOPT_VERBOSE, 1L);
    }
    if (hop_->dropsBody()) {
        return;
    }
    if (endsWithConnection(block)) {
        hop_->tlsEnd.watch(handle());
    }
    if (settings_.followRedirects && isRedirect(code) && block.headers().hasHeader("Location")) {
        tooManyRedirects_ = redirects_ >= settings_.maxRedirects;
        if (!tooManyRedirects_) {
            hop_->redirects = true;
            return;
        }
    }
    hop_->undecided = (code == HttpResponseCode::ProxyAuthenticationRequired &&
                       hop_->pass != nullptr && hop_->pass->libcurlAnswers()) ||
                      (code == HttpResponseCode::ExpectationFailed && headers_->hasExpect());
    hop_->repeatsAllowed = hop_->undecided;
    if (!hop_->undecided) {
        commit(block);
    }
}

bool Exchange::endsWithConnection(const HeaderBlock& block) const {
    return method_ != HttpMethod::HEAD && !hop_->framing.isChunked &&
           !hop_->framing.length.has_value() && block.code() != HttpResponseCode::NoContent &&
           block.code() != HttpResponseCode::NotModified &&
           info<long>(handle(), CURLINFO_HTTP_VERSION) < CURL_HTTP_VERSION_2_0;
}

void Exchange::onRawBody(std::string_view data) {
    if (hop_->isChunked && !hop_->chunks.add(data)) {
        refuseAnswer("its chunks make no sense");
    }
}

void Exchange::refuseAnswer(const std::string& flaw) {
    guard_->distrust();
    isRefused_ = true;
    std::rethrow_exception(transferFailure("The answer is malformed: " + flaw, context()));
}

void Exchange::commit(HeaderBlock& block) {
    hop_->undecided = false;
    AnswerTerms terms(block);
    const ResumeGuard::Verdict verdict = guard_->judge(terms);
    startsOver_ = verdict == ResumeGuard::Verdict::StartOver;
    hop_->compares = verdict == ResumeGuard::Verdict::Compare;
    if (!startsOver_ && !hop_->compares) {
        deliver(block, std::move(terms), verdict);
    }
}

void Exchange::deliver(HeaderBlock& block, AnswerTerms terms, ResumeGuard::Verdict verdict) {
    if (hop_->pass != nullptr && hop_->pass->isRefused()) {
        shared_.credentials.judge(hop_->pass->info(), hop_->pass->generation(), false);
        block.addField(proxyInfoHeader, hop_->pass->info());
        block.addField(proxyGenerationHeader, std::to_string(hop_->pass->generation()));
    }
    const bool hasBody =
        method_ != HttpMethod::HEAD && block.code() != HttpResponseCode::NotModified;
    delivery_->begin(block, std::move(terms), verdict,
                     hasBody ? hop_->framing.length.value_or(0) : 0);
}

void Exchange::onBody(std::string_view data) {
    received_ += static_cast<std::int64_t>(data.size());
    if (hop_->block.code() == HttpResponseCode::SwitchingProtocols) {
        // They are no body; libcurl takes them for one that ends with the connection.
        refuseAnswer("bytes of another protocol follow it");
    }
    if (hop_->dropsBody()) {
        constexpr std::int64_t worthReading = 65536;
        hop_->swallowedBytes += static_cast<std::int64_t>(data.size());
        guard_->addDropped(data.size());
        hop_->givesUpBody = hop_->swallowedBytes > worthReading;
        return;
    }
    if (hop_->undecided) {
        commit(hop_->block);
    }
    if (hop_->compares && !isCommitted() && !startsOver_) {
        startsOver_ = !guard_->compare(data);
        if (!startsOver_ && !guard_->isComparing()) {
            deliver(hop_->block, AnswerTerms(hop_->block), ResumeGuard::Verdict::Accept);
        }
    }
    if (!isCommitted() || startsOver_) {
        return;
    }
    delivery_->add(data);
    reportProgress(Clock::now(), false);
}

std::size_t Exchange::onRead(char* buffer, std::size_t size) {
    // From here on the server may act on the request.
    hop_->repeatsAllowed = false;
    const std::size_t got = upload_.has_value() ? upload_->read(buffer, size) : 0;
    reportProgress(Clock::now(), false);
    return got;
}

int Exchange::onSeek() {
    // A connection that was reused and died may have carried the whole request; only the caller knows
    // whether it may be sent twice. Nothing was done with one that was refused.
    if (mayHaveSideEffects(method_) && !hop_->repeatsAllowed && !hop_->stream.wasRefused()) {
        return CURL_SEEKFUNC_FAIL;
    }
    return !upload_.has_value() || upload_->rewind() ? CURL_SEEKFUNC_OK : CURL_SEEKFUNC_FAIL;
}

void Exchange::reportProgress(Clock::time_point now, bool isLast) {
    constexpr std::chrono::milliseconds interval(50);
    if (!progress_ || aborted_ || (!isLast && now - lastProgress_ < interval)) {
        return;
    }
    lastProgress_ = now;
    core::Progress progress;
    delivery_->describe(progress, info<curl_off_t>(handle(), CURLINFO_CONTENT_LENGTH_DOWNLOAD_T));
    progress.uploaded = info<curl_off_t>(handle(), CURLINFO_SIZE_UPLOAD_T);
    progress.uploadTotal =
        std::max<std::int64_t>(info<curl_off_t>(handle(), CURLINFO_CONTENT_LENGTH_UPLOAD_T), 0);
    aborted_ = progress_(progress) == core::ProgressResult::Abort;
}

// ---- between the transfers

Deadlines::State Exchange::state() const {
    Deadlines::State state;
    state.connected = info<curl_off_t>(handle(), CURLINFO_PRETRANSFER_TIME_T) > 0;
    state.sent = !upload_.has_value() || upload_->isFinished();
    state.answered = hop_->answered;
    state.uploaded = info<curl_off_t>(handle(), CURLINFO_SIZE_UPLOAD_T);
    state.downloaded = hop_->headerBytes + received_;
    return state;
}

bool Exchange::mustStop(Clock::time_point now) noexcept {
    if (cancelled_) {
        return true;
    }
    timedOut_ = hop_->deadlines.isExpired(state(), now);
    try {
        reportProgress(now, false);
    } catch (...) {
        callbackError_ = std::current_exception();
    }
    return timedOut_ || aborted_ || callbackError_ != nullptr;
}

Exchange::Clock::time_point Exchange::nextCheck(Clock::time_point now) const noexcept {
    // Without a sign from the network a progress callback is asked four times a second, and a hop that
    // is still connecting is looked at now and then.
    const Clock::time_point routine = now + std::chrono::milliseconds(progress_ ? 250 : 1000);
    return std::min(routine, hop_->deadlines.next());
}

Exchange::Next Exchange::finish(CURLcode code) noexcept {
    sent_ = sent_ || info<curl_off_t>(handle(), CURLINFO_PRETRANSFER_TIME_T) > 0;
    Next next = Next::Done;
    try {
        hop_->tlsEnd.stop();
        next = conclude(code);
    } catch (...) {
        error_ = std::current_exception();
    }
    if (next == Next::Done) {
        settleResponse();
        report();
        hop_->easy.reset();
    }
    return next;
}

Exchange::Next Exchange::conclude(CURLcode code) {
    if (cancelled_ || aborted_) {
        giveUp();
    }
    if (callbackError_ == nullptr && hop_->form != nullptr) {
        callbackError_ = hop_->form->takeError();
    }
    if (callbackError_ != nullptr) {
        isLasting_ = !isRefused_;
        std::rethrow_exception(std::exchange(callbackError_, nullptr));
    }
    if (timedOut_) {
        throw core::HttpRequestTimeoutException();
    }
    if (!hop_->redirects && hop_->undecided && code == CURLE_OK) {
        commit(hop_->block);
    }
    if (hop_->isSoiled) {
        restartOnFreshConnection();
        return Next::Again;
    }
    if (startsOver_) {
        restart();
        return Next::Again;
    }
    if (hop_->compares && !isCommitted()) {
        // Broken off before anything could be appended.
        deliver(hop_->block, AnswerTerms(hop_->block), ResumeGuard::Verdict::Accept);
    }
    adoptUpgrade();
    if (hop_->pass != nullptr && hop_->pass->repeats()) {
        repeatForProxy();
        return Next::Again;
    }
    // However its body ended, the redirect itself was complete.
    if (hop_->redirects) {
        isLasting_ = true;
        followRedirect();
        isLasting_ = false;
        return Next::Again;
    }
    if (code != CURLE_OK) {
        describeFailure(code);
        return Next::Done;
    }
    succeed();
    return Next::Done;
}

void Exchange::succeed() {
    if (!isCommitted()) {
        throw HttpRequestFailedException("The server sent no answer");
    }
    if (hop_->isChunked && !hop_->chunks.isComplete()) {
        guard_->distrust();
        throw HttpRequestFailedException("The chunked body ended before its last line");
    }
    if (hop_->tlsEnd.isMissing()) {
        error_ = transferFailure("The connection ended without a word of the server", context());
        return;
    }
    guard_->requireWhole();
    delivery_->finish();
    reportProgress(Clock::now(), true);
    if (aborted_) {
        giveUp();
    }
    if (tooManyRedirects_) {
        isLasting_ = true;
        error_ = transferFailure(
            "Maximum number of redirects (" + std::to_string(settings_.maxRedirects) + ") reached",
            context());
    }
}

bool Exchange::isRefusedTunnel() const {
    const auto code = info<long>(handle(), CURLINFO_HTTP_CONNECTCODE);
    return !isCommitted() && code >= 300;
}

void Exchange::describeFailure(CURLcode code) {
    if (isRefusedTunnel()) {
        HeaderBlock& refusal = hop_->connectBlock;
        if (refusal.code() == HttpResponseCode::ProxyAuthenticationRequired) {
            // Delivered as an answer: with an error in hand no strategy would ask for credentials.
            commit(refusal);
            return;
        }
        // The code stays "not made": a proxy does not speak for the server.
        sent_ = false;
        isLasting_ = !isServerError(refusal.code());
        error_ = transferFailure(
            "Proxy refused the tunnel: " + to_string(refusal.code()) + " " + refusal.reason(),
            context());
        return;
    }
    if (code == CURLE_OUT_OF_MEMORY && !isCommitted()) {
        isLasting_ = true;
        error_ = transferFailure("response header too long (libcurl 27)", context());
        return;
    }
    isLasting_ = isLasting(code);
    const auto osError = info<long>(handle(), CURLINFO_OS_ERRNO);
    error_ = transferError(code, osError != 0 ? osError : hop_->opening.error,
                           hop_->errorText.data(), context());
}

// Nothing was sent, so this repeats no request.
void Exchange::restartOnFreshConnection() {
    needsFreshConnection_ = true;
    configureHop();
    needsFreshConnection_ = false;
}

void Exchange::restart() {
    startsOver_ = false;
    guard_->startOver();
    rewindBody();
    configureHop();
}

void Exchange::repeatForProxy() {
    ++proxyRepeats_;
    rewindBody();
    configureHop();
}

void Exchange::adoptUpgrade() {
    if (!settings_.hstsEnabled || url_->origin().scheme != "http") {
        return;
    }
    const auto* effective = info<const char*>(handle(), CURLINFO_EFFECTIVE_URL);
    if (effective == nullptr || !std::string_view(effective).starts_with("https:")) {
        return;
    }
    const bool isFirst = url_->origin() == firstOrigin_;
    *url_ = url_->resolve(effective);
    upgraded_ = true;
    if (isFirst) {
        firstOrigin_ = url_->origin();
    }
}

void Exchange::followRedirect() {
    const HttpResponseCode code = hop_->block.code();
    WireUrl next = url_->resolve(hop_->block.header("Location"));
    const HttpMethod method = methodAfter(code, method_);
    if (method != method_) {
        upload_.reset();
        sendsForm_ = false;
        headers_->dropBodyFields();
    }
    method_ = method;
    if (next.origin() != firstOrigin_) {
        headers_->dropSensitive(shared_.options.sensitiveHeaders);
    }
    *url_ = std::move(next);
    ++redirects_;
    proxyRepeats_ = 0;
    rewindBody();
    configureHop();
}

void Exchange::rewindBody() {
    if (upload_.has_value() && upload_->taken() > 0 && !upload_->rewind()) {
        throw HttpRequestFailedException("The request body cannot be sent a second time");
    }
}

// ---- the end

void Exchange::giveUp() {
    isGivenUp_ = true;
    throw HttpRequestCancelledException();
}

TransferContext Exchange::context() const {
    return {.method = method_, .url = url_->display()};
}

void Exchange::settleResponse() noexcept {
    try {
        if (isCommitted()) {
            // Without a redirect exactly the URL of the request: an added "/" would look like one.
            const bool isElsewhere = redirects_ > 0 || upgraded_;
            response_.setTransactionReport(core::TransactionReport(
                redirects_, isElsewhere ? url_->toUrl() : request_.getURL()));
        }
        if (isGivenUp_) {
            // Whatever was received, the attempt counts as not made: strategies look at the code.
            response_.setResponseCodeAndReason(HttpResponseCode::RequestNotMade,
                                               "Request Not Made");
            response_.setHeaders({});
        } else if (!isCommitted() && sent_) {
            response_.setResponseCodeAndReason(HttpResponseCode::ResponseNotReceived,
                                               "Response Not Received");
        }
        // Neither is there where memory ran out before.
        if (guard_ != nullptr && delivery_ != nullptr) {
            guard_->leaveMark(error_ != nullptr);
            delivery_->keepForRetry(request_, settings_.resumeOnRetry);
        }
    } catch (...) {
        // Only the caller's own callbacks throw here, and the first error says more.
        if (error_ == nullptr) {
            error_ = std::current_exception();
        }
    }
}

void Exchange::report() noexcept {
    history_.lastingFailure = isLasting_ ? error_ : nullptr;
    if (guard_ != nullptr) {
        history_.mostHeld = std::max(history_.mostHeld, guard_->held());
    }
    if (!shared_.options.attemptObserver) {
        return;
    }
    try {
        report_.requestId = record_.id;
        report_.method = method_;
        report_.url = url_ != nullptr ? url_->display() : std::string();
        report_.code = response_.getResponseCode();
        report_.error = error_;
        report_.redirects = redirects_;
        report_.bytesReceived = received_;
        if (guard_ != nullptr) {
            report_.bytesKept = guard_->account().kept;
            report_.bytesDiscarded = guard_->account().discarded;
            report_.resumed = guard_->isResumed();
            report_.validator = guard_->validator();
        }
        if (hop_ != nullptr && hop_->easy != nullptr) {
            describeTransfer(handle(), report_);
        }
        shared_.options.attemptObserver(report_);
    } catch (...) {  // NOLINT(bugprone-empty-catch): what an observer throws is nobody's business
    }
    report_.error = nullptr;
}

std::exception_ptr Exchange::takeError() noexcept {
    ownHistory_.lastingFailure = nullptr;
    return std::exchange(error_, nullptr);
}

}  // namespace foundation::httpclient_curl
