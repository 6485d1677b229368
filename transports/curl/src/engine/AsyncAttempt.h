#pragma once
#include "engine/RequestRecord.h"
#include "exchange/Exchange.h"

#include <foundation/httpclient_core/CompletionHandler.h>

#include <memory>
#include <utility>

namespace foundation::httpclient_curl {

/// One asynchronous attempt with all it owns. It stays where it is: the exchange refers to its fields.
struct AsyncAttempt {
    AsyncAttempt(core::HttpRequest attemptRequest,
                 core::HttpResponse attemptResponse,
                 core::CompletionHandler completion,
                 std::shared_ptr<RequestRecord> owner,
                 TransferSettings settings,
                 Exchange::Shared shared)
        : record(std::move(owner)),
          request(std::move(attemptRequest)),
          response(std::move(attemptResponse)),
          handler(std::move(completion)),
          exchange(request,
                   response,
                   std::move(settings),
                   *record,
                   record->history.isAttended ? &record->history : nullptr,
                   shared) {}

    std::shared_ptr<RequestRecord> record;
    core::HttpRequest request;
    core::HttpResponse response;
    core::CompletionHandler handler;
    Exchange exchange;
};

using AttemptPointer = std::unique_ptr<AsyncAttempt>;

}  // namespace foundation::httpclient_curl
