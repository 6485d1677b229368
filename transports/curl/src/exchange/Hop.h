#pragma once
#include "connection/ConnectionSockets.h"
#include "connection/CurlTypes.h"
#include "connection/TlsEnd.h"
#include "exchange/Deadlines.h"
#include "exchange/StreamWatch.h"
#include "exchange/TransferSettings.h"
#include "proxy/ProxyPass.h"
#include "request/MultipartForm.h"
#include "response/HeaderBlock.h"
#include "response/ResponseFraming.h"

#include <array>
#include <cstdint>
#include <memory>

namespace foundation::httpclient_curl {

/// What belongs to one transfer of an exchange: a hop of its redirects.
struct Hop {
    Hop(const TransferSettings& settings, int maxFields)
        : deadlines(settings), block(maxFields), connectBlock(maxFields) {}
    // What the handle reads must outlive it.
    HeaderLines lines;
    std::unique_ptr<MultipartForm> form;
    std::array<char, CURL_ERROR_SIZE> errorText{};
    ConnectionSockets::Opening opening;
    EasyHandle easy;
    std::unique_ptr<ProxyPass> pass;  ///< Null for a direct connection.
    Deadlines deadlines;
    StreamWatch stream;
    HeaderBlock block;
    HeaderBlock connectBlock;  ///< The proxy's last answer to CONNECT.
    std::int64_t headerBytes = 0;
    std::int64_t swallowedBytes = 0;
    int refusals = 0;  ///< By the proxy.
    TlsEnd tlsEnd;     ///< Of a body that ends with its connection.
    ChunkCheck chunks;
    Framing framing;         ///< Of the last block that was not dropped.
    bool isChunked = false;  ///< The body comes in chunks.
    bool isSoiled = false;   ///< Bytes waited on the connection before anything was asked on it.
    bool inBlock = false;
    bool answered = false;        ///< A byte of the answer has come.
    bool repeatsAllowed = false;  ///< Refused with 407 or 417, and not sent again yet.
    bool undecided = false;       ///< The block is delivered unless libcurl repeats the request.
    bool compares = false;        ///< The block is delivered once its body proved to continue ours.
    bool redirects = false;       ///< The answer sends the client elsewhere; its body is dropped.
    bool givesUpBody = false;     ///< Ended on purpose in a body that is dropped.

    /// The answer is for the transport, not for the caller.
    bool dropsBody() const { return redirects || (pass != nullptr && pass->repeats()); }
};

}  // namespace foundation::httpclient_curl
