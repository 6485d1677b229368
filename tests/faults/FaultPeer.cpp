#include "tests/faults/FaultPeer.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <utility>

namespace foundation::httpclient_curl::testing {
namespace {

using httpclient_core::testing::Connection;
using httpclient_core::testing::HeaderList;
using httpclient_core::testing::LoopbackServer;
using httpclient_core::testing::ReceivedRequest;

/// An answer before it is framed.
struct Message {
    int status = 200;
    HeaderList fields;
    std::string body;
};

std::string hexadecimal(std::size_t value) {
    std::array<char, 32> text{};
    const int length = std::snprintf(text.data(), text.size(), "%zx", value);
    return {text.data(), static_cast<std::size_t>(length)};
}

std::string contentRange(std::size_t first, std::size_t end, const std::string& total) {
    return "bytes " + std::to_string(first) + "-" + std::to_string(end - 1) + "/" + total;
}

HeaderList fieldsOf(const Version& version, const Step& step) {
    HeaderList fields;
    if (!step.omitsDate) {
        fields.emplace_back("Date", httpDate(0));
    }
    if (!step.omitsAcceptRanges) {
        fields.emplace_back("Accept-Ranges", "bytes");
    }
    if (!step.omitsValidators && !version.etag.empty()) {
        fields.emplace_back("ETag", version.etag);
    }
    if (!step.omitsValidators && !version.modified.empty()) {
        fields.emplace_back("Last-Modified", version.modified);
    }
    if (version.isCoded) {
        fields.emplace_back("Content-Encoding", "gzip");
    }
    return fields;
}

// What a weak ETag says never suffices; a date is compared by its text, as most servers do.
bool allowsRange(const ReceivedRequest& request, const Version& version) {
    const std::string condition = request.header("If-Range");
    return condition.empty() || (condition.front() == '"' && condition == version.etag) ||
           (!version.modified.empty() && condition == version.modified);
}

std::optional<Slice> wantedSlice(const ReceivedRequest& request,
                                 const Version& version,
                                 const Step& step) {
    if (!step.ignoresIfRange && !allowsRange(request, version)) {
        return std::nullopt;
    }
    return sliceOf(request.header("Range"), version.data.size());
}

Message wholeMessage(const Version& version, const Step& step) {
    return {200, fieldsOf(version, step), version.data};
}

Message partMessage(const Version& version, const Step& step, Slice slice) {
    Message message{206, fieldsOf(version, step),
                    version.data.substr(slice.first, slice.end - slice.first)};
    message.fields.emplace_back(
        "Content-Range", contentRange(slice.first, slice.end, std::to_string(version.data.size())));
    return message;
}

void setContentRange(Message& message, const std::string& value) {
    std::erase_if(message.fields, [](const auto& field) { return field.first == "Content-Range"; });
    if (!value.empty()) {
        message.fields.emplace_back("Content-Range", value);
    }
}

Message goodMessage(const ReceivedRequest& request, const Version& version, const Step& step) {
    const std::optional<Slice> slice = wantedSlice(request, version, step);
    if (!slice.has_value()) {
        return wholeMessage(version, step);
    }
    if (slice->first >= slice->end) {
        return {416,
                {{"Content-Range", "bytes */" + std::to_string(version.data.size())}},
                "this range cannot be had"};
    }
    return partMessage(version, step, *slice);
}

Message pageMessage(const Step& step) {
    Message message{step.status, {{"Content-Type", "text/html"}}, ""};
    if (!step.retryAfter.empty()) {
        message.fields.emplace_back("Retry-After", step.retryAfter);
    }
    if (step.number % 3 == 0) {
        message.fields.emplace_back("Accept-Ranges", "bytes");
        message.fields.emplace_back("ETag", "\"v0\"");
    }
    const std::string text = "page " + std::to_string(step.number) + " ";
    while (step.status != 304 && message.body.size() < step.number % 4000) {
        message.body += text;
    }
    return message;
}

std::string badContentRange(const Step& step, Slice slice, std::size_t size) {
    const std::string first = std::to_string(slice.first);
    const std::string last = std::to_string(slice.end - 1);
    const std::string total = std::to_string(size);
    const std::array texts{
        "bytes " + first + "-/" + total,
        "bytes " + first + "-" + last,
        "bytes x" + first + "-" + last + "/" + total,
        "items " + first + "-" + last + "/" + total,
        "bytes " + last + "9-" + first + "/" + total,
        "bytes " + first + "-" + last + "/" + first,
        first + "-" + last + "/" + total,
        "bytes " + first + "-99999999999999999999/" + total,
        "bytes -" + first + "-" + last + "/" + total,
        "bytes */" + total,
    };
    return texts[step.number % texts.size()];
}

Message severalParts(const Message& part, const std::string& range) {
    Message message = part;
    message.body =
        "--edge\r\nContent-Range: " + range + "\r\n\r\n" + part.body + "\r\n--edge--\r\n";
    setContentRange(message, "");
    message.fields.emplace_back("Content-Type", "multipart/byteranges; boundary=edge");
    return message;
}

// The answers to a range that are not what was asked for.
Message spoiltPart(const Version& version, const Step& step, Slice slice) {
    const std::size_t size = version.data.size();
    const std::size_t length = slice.end - slice.first;
    Message message = partMessage(version, step, slice);
    switch (step.fault) {
        case Fault::WholeAgain:
            return wholeMessage(version, step);
        case Fault::OtherOffset:
            return partMessage(version, step, {step.number % slice.end, slice.end});
        case Fault::OtherTotal:
            setContentRange(message, contentRange(slice.first, slice.end,
                                                  std::to_string(size + 1 + step.number % 1000)));
            return message;
        case Fault::UnknownTotal:
            setContentRange(message, contentRange(slice.first, slice.end, "*"));
            return message;
        case Fault::NoContentRange:
            setContentRange(message, "");
            message.body = step.number % 2 == 0 ? version.data : message.body;
            return message;
        case Fault::BadContentRange:
            setContentRange(message, badContentRange(step, slice, size));
            message.body = step.number % 2 == 0 ? version.data : message.body;
            return message;
        case Fault::ShorterPart:
            return partMessage(version, step,
                               {slice.first, slice.first + 1 + step.number % length});
        case Fault::LongerPart:
            return partMessage(version, step, {slice.first, size});
        case Fault::SeveralParts:
            return severalParts(message,
                                contentRange(slice.first, slice.end, std::to_string(size)));
        case Fault::BodyBelowRange:
            message.body.resize(step.number % length);
            return message;
        case Fault::BodyAboveRange:
            message.body += version.data.substr(0, 1 + step.number % size);
            return message;
        case Fault::TwoRanges: {
            const Slice other{step.number % slice.end, slice.end};
            message.fields.emplace_back("Content-Range",
                                        contentRange(other.first, other.end, std::to_string(size)));
            // The bytes are those of either.
            message.body =
                step.number % 2 == 0 ? message.body : partMessage(version, step, other).body;
            return message;
        }
        default:
            return message;
    }
}

Message messageFor(const ReceivedRequest& request, const Version& version, const Step& step) {
    if (step.fault == Fault::ErrorPage) {
        return pageMessage(step);
    }
    if (step.fault == Fault::Redirect) {
        const bool isMirror = request.target.ends_with("/mirror");
        return {302,
                {{"Location", isMirror ? request.target.substr(0, request.target.rfind('/'))
                                       : request.target + "/mirror"}},
                "elsewhere"};
    }
    const std::optional<Slice> slice = wantedSlice(request, version, step);
    const std::size_t size = version.data.size();
    if (step.fault == Fault::UnaskedPart && !slice.has_value() && size > 1) {
        return partMessage(version, step, {1 + step.number % (size - 1), size});
    }
    if (slice.has_value() && slice->first < slice->end) {
        return spoiltPart(version, step, *slice);
    }
    return goodMessage(request, version, step);
}

/// A message in its framing: the bytes of the head and those of the body, with where the true body bytes
/// end up in the latter.
struct Wire {
    std::string head;
    std::string body;
    bool endsByClose = false;
};

std::string chunked(const std::string& body, const Step& step) {
    std::string bytes;
    const std::size_t most = 1 + step.number % 30000;
    std::size_t position = 0;
    while (position < body.size()) {
        const std::size_t count = std::min(most, body.size() - position);
        if (step.fault == Fault::BadChunk && position > 0) {
            return bytes + "zz\r\n" + body.substr(position);
        }
        bytes += hexadecimal(count) + "\r\n" + body.substr(position, count) + "\r\n";
        position += count;
    }
    return bytes + (step.fault == Fault::BadChunk ? "-1\r\n" : "0\r\n\r\n");
}

Wire framed(const Message& message, const Step& step) {
    Framing framing = step.framing;
    if (step.fault == Fault::BadChunk || step.fault == Fault::LengthAndChunked ||
        step.fault == Fault::OddCoding) {
        framing = Framing::Chunked;
    } else if (step.fault == Fault::TwoLengths || step.fault == Fault::LengthTooLong ||
               message.status == 304) {
        framing = Framing::Length;
    } else if (step.fault == Fault::BytesBehind && framing == Framing::UntilClose) {
        framing = Framing::Length;  // Otherwise nothing can be behind the end.
    }
    Wire wire;
    if (step.fault == Fault::Informational) {
        wire.head = "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: <x>\r\n\r\n";
    }
    wire.head += (step.isOldProtocol ? "HTTP/1.0 " : "HTTP/1.1 ") + std::to_string(message.status) +
                 " Answer\r\n";
    for (const auto& [name, value] : message.fields) {
        wire.head += name + ": " + value + "\r\n";
    }
    if (step.fault == Fault::HeaderFlood) {
        for (int i = 0; i < 1500; ++i) {
            wire.head += "X-Flood: " + std::to_string(i) + "\r\n";
        }
    }
    const std::size_t size = message.body.size();
    const auto addLength = [&wire](std::size_t length) {
        wire.head += "Content-Length: " + std::to_string(length) + "\r\n";
    };
    if (framing == Framing::Chunked) {
        wire.head += step.fault == Fault::OddCoding ? "Transfer-Encoding: gzip, chunked\r\n"
                                                    : "Transfer-Encoding: chunked\r\n";
        wire.body = chunked(message.body, step);
        wire.endsByClose = step.fault == Fault::BadChunk;
        if (step.fault == Fault::LengthAndChunked) {
            addLength(step.number % (size + 1));
        }
    } else {
        wire.body = message.body;
        wire.endsByClose = framing == Framing::UntilClose;
        if (step.fault == Fault::LengthTooLong) {
            addLength(size + 1 + step.number % 1000);
            wire.endsByClose = true;
        } else if (framing == Framing::Length) {
            addLength(size);
        }
        if (step.fault == Fault::TwoLengths) {
            addLength(step.number % (size + 10));
            wire.endsByClose = true;
        }
    }
    wire.head += "\r\n";
    if (step.fault == Fault::BytesBehind) {
        wire.body +=
            step.number % 2 == 0 ? "HTTP/1.1 200 OK\r\nContent-Length: 3\r\n\r\nabc" : "more";
        wire.endsByClose = true;
    }
    return wire;
}

void breakOff(Connection& connection, const Step& step, bool mustBeSeen) {
    if (step.stalls) {
        connection.waitForPeerToClose();
    }
    if (step.resets || mustBeSeen) {
        connection.reset();
    } else {
        connection.close();
    }
}

/// Sends the answer; returns the number of bytes.
std::size_t transmit(const Message& message, const Step& step, Connection& connection) {
    Wire wire = framed(message, step);
    if (step.fault == Fault::CutHead) {
        wire.head.resize(step.number % wire.head.size());
        connection.send(wire.head);
        breakOff(connection, step, false);
        return wire.head.size();
    }
    std::string bytes = wire.head;
    const bool isCut = step.cutAfter.has_value() && *step.cutAfter < wire.body.size();
    // Two writes, so that the body begins in another packet than the head ends.
    if (step.delayMs > 0 && connection.send(bytes)) {
        connection.pause(std::chrono::milliseconds(step.delayMs));
        bytes.clear();
    }
    bytes += isCut ? wire.body.substr(0, *step.cutAfter) : wire.body;
    connection.send(bytes);
    if (isCut) {
        // The end of the stream is the end of such a body, wherever it comes: nobody could tell.
        const bool isSilent = wire.endsByClose && message.status != 206;
        breakOff(connection, step, isSilent);
    } else if (wire.endsByClose || step.closes) {
        connection.close();
    }
    return wire.head.size() + (isCut ? *step.cutAfter : wire.body.size());
}

}  // namespace

FaultPeer::FaultPeer()
    : server_(std::make_unique<LoopbackServer>(
          [this](const ReceivedRequest& request, Connection& connection) {
              answer(request, connection);
          })) {}

FaultPeer::~FaultPeer() = default;

std::string FaultPeer::add(const Schedule& schedule) {
    const std::lock_guard lock(mutex_);
    plays_[schedule.seed] = {&schedule, 0, 0, false, {}};
    return server_->url("/" + std::to_string(schedule.seed));
}

void FaultPeer::forget(const Schedule& schedule) {
    const std::lock_guard lock(mutex_);
    plays_.erase(schedule.seed);
}

std::vector<std::string> FaultPeer::pages(const Schedule& schedule) const {
    const std::lock_guard lock(mutex_);
    return plays_.at(schedule.seed).pages;
}

bool FaultPeer::refusedARange(const Schedule& schedule) const {
    const std::lock_guard lock(mutex_);
    return plays_.at(schedule.seed).refusedARange;
}

int FaultPeer::requestCount(const Schedule& schedule) const {
    const std::lock_guard lock(mutex_);
    return static_cast<int>(plays_.at(schedule.seed).requests);
}

std::size_t FaultPeer::bytesSent(const Schedule& schedule) const {
    const std::lock_guard lock(mutex_);
    return plays_.at(schedule.seed).bytesSent;
}

void FaultPeer::answer(const ReceivedRequest& request, Connection& connection) {
    const std::uint64_t seed = std::stoull(request.target.substr(1));
    Step step;
    Version version;
    {
        const std::lock_guard lock(mutex_);
        const auto play = plays_.find(seed);
        if (play == plays_.end()) {
            connection.close();
            return;
        }
        const Schedule& schedule = *play->second.schedule;
        const std::size_t number = play->second.requests++;
        if (number < schedule.steps.size()) {
            step = schedule.steps[number];
        } else {
            step.version = schedule.steps.empty() ? 0 : schedule.steps.back().version;
        }
        version = schedule.versions[step.version];
    }
    if (step.fault == Fault::NoAnswer) {
        breakOff(connection, step, false);
        return;
    }
    const Message message = messageFor(request, version, step);
    if (message.status >= 300) {
        const std::lock_guard lock(mutex_);
        if (const auto play = plays_.find(seed); play != plays_.end()) {
            play->second.pages.push_back(message.body);
            play->second.refusedARange |= message.status == 416;
        }
    }
    const std::size_t sent = transmit(message, step, connection);
    const std::lock_guard lock(mutex_);
    if (const auto play = plays_.find(seed); play != plays_.end()) {
        play->second.bytesSent += sent;
    }
}

}  // namespace foundation::httpclient_curl::testing
