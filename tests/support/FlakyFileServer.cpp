#include "tests/support/FlakyFileServer.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <random>

namespace foundation::httpclient_core::testing {
namespace {

std::string pseudoRandomBytes(std::size_t size, std::uint32_t seed) {
    std::mt19937 engine(seed);
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(),
                  [&engine] { return static_cast<char>(engine() & 0xFFU); });
    return bytes;
}

struct Range {
    std::size_t first = 0;
    std::size_t last = 0;
};

// One range "bytes=F-" or "bytes=F-L"; nothing for any other text, which is then ignored.
std::optional<Range> parseRange(const std::string& text, std::size_t size) {
    const std::string_view unit = "bytes=";
    if (text.rfind(unit, 0) != 0) {
        return std::nullopt;
    }
    Range range{0, size == 0 ? 0 : size - 1};
    const char* end = text.data() + text.size();
    const auto [dash, error] = std::from_chars(text.data() + unit.size(), end, range.first);
    if (error != std::errc() || dash == end || *dash != '-') {
        return std::nullopt;
    }
    if (dash + 1 != end) {
        std::size_t last = 0;
        if (std::from_chars(dash + 1, end, last).ptr != end) {
            return std::nullopt;
        }
        range.last = std::min(range.last, last);
    }
    return range;
}

}  // namespace

FlakyFileServer::FlakyFileServer(const Options& options)
    : options_(options),
      content_(pseudoRandomBytes(options.size, options.seed)),
      etag_("\"v" + std::to_string(options.seed) + "-" + std::to_string(options.size) + "\""),
      server_([this](const ReceivedRequest& request, Connection& connection) {
          answer(request, connection);
      }) {}

void FlakyFileServer::answer(const ReceivedRequest& request, Connection& connection) {
    const std::string size = std::to_string(content_.size());
    std::optional<Range> range;
    if (!request.hasHeader("If-Range") || request.header("If-Range") == etag_) {
        range = parseRange(request.header("Range"), content_.size());
    }
    if (range.has_value() && (range->first >= content_.size() || range->last < range->first)) {
        connection.sendResponse(416, "Range Not Satisfiable",
                                {{"Content-Range", "bytes */" + size}});
        return;
    }
    std::string_view body = content_;
    std::string head = "HTTP/1.1 200 OK\r\n";
    if (range.has_value()) {
        body = body.substr(range->first, range->last - range->first + 1);
        head = "HTTP/1.1 206 Partial Content\r\nContent-Range: bytes " +
               std::to_string(range->first) + "-" + std::to_string(range->last) + "/" + size +
               "\r\n";
    }
    head += "Content-Type: application/octet-stream\r\nAccept-Ranges: bytes\r\nETag: " + etag_ +
            "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n\r\n";
    connection.send(head);
    if (request.method == "HEAD") {
        return;
    }
    const bool breaks = request.number < options_.drops && options_.dropAfter < body.size();
    sendBody(breaks ? body.substr(0, options_.dropAfter) : body, connection, breaks);
}

void FlakyFileServer::sendBody(std::string_view body, Connection& connection, bool breaks) const {
    // 20 slices a second, for a smooth display.
    const std::size_t slice = options_.bytesPerSecond == 0
                                  ? 65536
                                  : std::max<std::size_t>(1, options_.bytesPerSecond / 20);
    while (!body.empty()) {
        const std::size_t count = std::min(slice, body.size());
        if (!connection.send(body.substr(0, count))) {
            return;
        }
        body.remove_prefix(count);
        if (options_.bytesPerSecond != 0 && !body.empty() &&
            !connection.pause(std::chrono::milliseconds(50))) {
            return;
        }
    }
    if (breaks) {
        connection.close();
    }
}

}  // namespace foundation::httpclient_core::testing
