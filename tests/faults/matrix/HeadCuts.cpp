#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

namespace foundation::httpclient_curl::testing {
namespace {

const std::string text = "Hello";

/// An answer and what a caller gets from it as a whole.
struct Answer {
    const char* label;
    std::string head;
    std::string body;
    RightAnswer right;
    std::string range = {};  ///< Of the caller.
};

std::vector<Answer> answers() {
    const std::string fields = "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\nETag: \"v1\"\r\n";
    return {
        {"length", headOf(200, fields + lengthField(5)), text, {200, text}},
        {"chunked",
         headOf(200, fields + "Transfer-Encoding: chunked\r\n"),
         inChunks(text, 3),
         {200, text}},
        {"part",
         headOf(206, fields + "Content-Range: bytes 3-7/10\r\n" + lengthField(5)),
         text,
         {206, text},
         "bytes=3-7"},
        {"redirect",
         headOf(302, "Location: /nowhere/at-all\r\n" + fields + lengthField(0)),
         "",
         {500, ""}},
        {"page", headOf(404, fields + lengthField(5)), text, {404, text}},
        {"interim",
         "HTTP/1.1 100 Continue\r\n\r\nHTTP/1.1 103 Early Hints\r\nLink: <x>\r\n\r\n" +
             headOf(200, lengthField(5)),
         text,
         {200, text}},
        {"nocontent", headOf(204, fields), "", {204, ""}},
        {"empty", headOf(200, fields + lengthField(0)), "", {200, ""}},
        {"linefeeds",
         "HTTP/1.1 200 OK\nDate: Sun, 06 Nov 1994 08:49:37 GMT\nContent-Length: 5\n\n",
         text,
         {200, text}},
        {"folded",
         headOf(200, "X-Long: one\r\n two\r\n\tthree\r\n" + lengthField(5)),
         text,
         {200, text}},
        {"noreason", "HTTP/1.1 200\r\n" + fields + lengthField(5) + "\r\n", text, {200, text}},
    };
}

std::function<void(HttpRequest&, ClientConfiguration&)> asking(const std::string& range) {
    return [range](HttpRequest& request, ClientConfiguration&) {
        if (!range.empty()) {
            request.setHeaderValue("Range", range);
        }
    };
}

std::string labelOf(const Answer& answer, std::size_t at, const std::string& how) {
    return std::string(answer.label) + " " + how + " " + std::to_string(at);
}

}  // namespace

// Each byte of each head is the last one, by an end of stream and by a reset.
Family headCuts() {
    Family family{"cut in the head", {}};
    for (const Answer& answer : answers()) {
        for (std::size_t at = 0; at < answer.head.size(); ++at) {
            for (const Leaving leaving : {Leaving::Close, Leaving::Reset}) {
                family.cases.push_back(
                    {.label = labelOf(answer, at, leaving == Leaving::Close ? "fin" : "reset"),
                     .wanted = Wanted::Failure,
                     .answer = [bytes = answer.head.substr(0, at), leaving](
                                   const auto&, auto& peer,
                                   int) { sendAndLeave(peer, bytes, leaving); },
                     .arrange = asking(answer.range)});
            }
        }
    }
    return family;
}

Family headCutsThenRetry() {
    Family family{"cut in the head, retried", {}, {Sink::Memory, Sink::File}};
    const Answer answer = answers().front();
    for (std::size_t at = 0; at < answer.head.size(); ++at) {
        family.cases.push_back({.label = labelOf(answer, at, "fin"),
                                .wanted = Wanted::Exact,
                                .right = {answer.right},
                                .answer =
                                    [answer, at](const auto&, auto& peer, int number) {
                                        if (number == 0) {
                                            sendAndLeave(peer, answer.head.substr(0, at),
                                                         Leaving::Close);
                                        } else {
                                            peer.send(answer.head + answer.body);
                                        }
                                    },
                                .arrange = resumes});
    }
    return family;
}

// The network may cut a head anywhere into pieces.
Family headSplits() {
    Family family{"head in two pieces", {}};
    for (const Answer& answer : answers()) {
        for (std::size_t at = 1; at < answer.head.size(); at += 3) {
            family.cases.push_back(
                {.label = labelOf(answer, at, "split"),
                 .wanted = Wanted::Exact,
                 .right = {answer.right},
                 .answer =
                     [bytes = answer.head + answer.body, at](const auto& request, auto& peer, int) {
                         if (request.target == "/nowhere/at-all") {
                             peer.sendResponse(500, "No such case");
                             return;
                         }
                         peer.send(bytes.substr(0, at));
                         peer.pause(std::chrono::milliseconds(2));
                         peer.send(bytes.substr(at));
                     },
                 .arrange = asking(answer.range)});
        }
    }
    return family;
}

Family headStalls() {
    Family family{
        "silence in the head", {}, {Sink::Memory}, {Road::Synchronous, Road::Asynchronous}};
    family.threads = 24;
    for (const Answer& answer : answers()) {
        for (std::size_t at = 0; at < answer.head.size(); at += 17) {
            family.cases.push_back(
                {.label = labelOf(answer, at, "silent"),
                 .wanted = Wanted::Failure,
                 .answer =
                     [bytes = answer.head.substr(0, at)](const auto&, auto& peer, int) {
                         peer.send(bytes);
                         peer.waitForPeerToClose();
                     },
                 .arrange = hurries});
        }
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
