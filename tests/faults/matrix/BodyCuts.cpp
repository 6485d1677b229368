#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

#include <array>

namespace foundation::httpclient_curl::testing {
namespace {

/// A body as it is on the wire.
struct Framed {
    const char* label;
    std::string head;
    std::string body;
};

const std::string small = patterned(61);
const std::string etag = "ETag: \"v1\"\r\n";

std::vector<Framed> framedBodies() {
    const std::string chunked = headOf(200, etag + "Transfer-Encoding: chunked\r\n");
    return {
        {"length", headOf(200, etag + lengthField(small.size())), small},
        {"chunks", chunked, inChunks(small, 20)},
        {"extended", chunked,
         "3d;name=\"value\"\r\n" + small + "\r\n0;last\r\nTrailer: one\r\n\r\n"},
        {"page", headOf(503, lengthField(small.size())), small},
    };
}

/// What tells the client that it is the same resource.
struct Validator {
    const char* label;
    std::string fields;
};

const std::array<Validator, 4> validators{{
    {"strong", etag},
    {"weak", "ETag: W/\"v1\"\r\n"},
    {"date",
     "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\nLast-Modified: Sat, 05 Nov 1994 08:49:37 GMT\r\n"},
    {"none", ""},
}};

/// The first answer ends after so many bytes of its body.
Answering cutOnce(const Entity& entity, std::size_t at, Leaving leaving) {
    return [entity, at, leaving](const auto& request, auto& peer, int number) {
        if (number > 0) {
            answerHonestly(request, peer, entity);
            return;
        }
        const WireAnswer answer = honestAnswer(request, entity);
        sendAndLeave(peer, answer.head + answer.body.substr(0, at), leaving);
    };
}

}  // namespace

// Each byte of the body, the bytes of its framing among them, is the last one.
Family bodyCuts() {
    Family family{"cut in the body", {}, {Sink::Memory, Sink::File}};
    for (const Framed& framed : framedBodies()) {
        for (std::size_t at = 0; at < framed.body.size(); ++at) {
            for (const Leaving leaving : {Leaving::Close, Leaving::Reset}) {
                family.cases.push_back({.label = std::string(framed.label) +
                                                 (leaving == Leaving::Close ? " fin " : " reset ") +
                                                 std::to_string(at),
                                        .wanted = Wanted::Failure,
                                        .answer = [bytes = framed.head + framed.body.substr(0, at),
                                                   leaving](const auto&, auto& peer, int) {
                                            sendAndLeave(peer, bytes, leaving);
                                        }});
            }
        }
    }
    return family;
}

Family bodyCutsThenResume() {
    Family family{"cut in the body, resumed", {}, {Sink::Memory, Sink::File}};
    for (const Validator& validator : validators) {
        for (std::size_t at = 0; at < small.size(); ++at) {
            family.cases.push_back(
                {.label = std::string(validator.label) + " " + std::to_string(at),
                 .wanted = Wanted::Exact,
                 .right = {{0, small}},
                 .answer = cutOnce({small, validator.fields}, at,
                                   at % 2 == 0 ? Leaving::Close : Leaving::Reset),
                 .arrange = resumes});
        }
    }
    return family;
}

// Around the sizes of buffers, and of what is compared where no strong validator exists.
Family largeBodyCutsThenResume() {
    Family family{"cut in a large body, resumed", {}, {Sink::Memory, Sink::File}};
    const std::string data = patterned(200000, 1);
    for (const Validator& validator : validators) {
        for (const int cut :
             {1, 4095, 4096, 16384, 65535, 65536, 65537, 100000, 131071, 131072, 131073, 199999}) {
            const auto at = static_cast<std::size_t>(cut);
            family.cases.push_back(
                {.label = std::string(validator.label) + " " + std::to_string(at),
                 .wanted = Wanted::Exact,
                 .right = {{0, data}},
                 .answer = cutOnce({data, validator.fields}, at, Leaving::Close),
                 .arrange = resumes});
        }
    }
    return family;
}

// Ten retries, each bringing a few bytes more; with more cuts than retries nothing is left but to fail.
Family repeatedCuts() {
    Family family{"cut again and again", {}, {Sink::Memory, Sink::File}};
    const std::string data = patterned(3000, 2);
    for (const Validator& validator : validators) {
        for (const int cuts : {2, 5, 9, 10, 11, 12}) {
            for (const std::size_t piece : {std::size_t(1), std::size_t(100), std::size_t(299)}) {
                family.cases.push_back(
                    {.label = std::string(validator.label) + " " + std::to_string(cuts) + " x " +
                              std::to_string(piece),
                     .wanted = cuts > 10 ? Wanted::Failure : Wanted::Exact,
                     .right = {{0, data}},
                     .answer =
                         [entity = Entity{data, validator.fields}, cuts, piece](
                             const auto& request, auto& peer, int number) {
                             WireAnswer answer = honestAnswer(request, entity);
                             if (number >= cuts) {
                                 peer.send(answer.head + answer.body);
                                 return;
                             }
                             // What is fetched again to be compared comes on top.
                             const std::size_t held = piece * static_cast<std::size_t>(number);
                             const std::size_t first = rangeStart(request);
                             answer.body.resize(
                                 std::min(answer.body.size() - 1, held - first + piece));
                             sendAndLeave(peer, answer.head + answer.body, Leaving::Close);
                         },
                     .arrange = resumes});
            }
        }
    }
    return family;
}

// Byte by byte: patience is rewarded, and a drip that is too slow or ends in silence is given up.
Family bodyDrips() {
    Family family{"slow drip", {}, {Sink::Memory, Sink::File}};
    family.threads = 24;
    const auto drip = [](const std::string& bytes, std::size_t count, int milliseconds) {
        return [bytes, count, milliseconds](const auto&, auto& peer, int) {
            for (std::size_t at = 0; at < count; ++at) {
                if (!peer.send(bytes.substr(at, 1)) ||
                    !peer.pause(std::chrono::milliseconds(milliseconds))) {
                    return;
                }
            }
            peer.send(bytes.substr(count));
        };
    };
    for (const Framed& framed : framedBodies()) {
        if (std::string(framed.label) == "page") {
            continue;
        }
        const std::string bytes = framed.head + framed.body;
        family.cases.push_back({.label = std::string(framed.label) + " whole",
                                .wanted = Wanted::Exact,
                                .right = {{200, small}},
                                .answer = drip(bytes, bytes.size(), 1)});
        // 20 bytes in a second where 1000 are wanted within a tenth.
        for (const std::size_t from : {std::size_t(0), framed.head.size()}) {
            family.cases.push_back(
                {.label = std::string(framed.label) + " too slow from " + std::to_string(from),
                 .wanted = Wanted::Failure,
                 .answer =
                     [bytes, from](const auto&, auto& peer, int) {
                         peer.send(bytes.substr(0, from));
                         for (std::size_t at = from; at < bytes.size(); ++at) {
                             if (!peer.send(bytes.substr(at, 1)) ||
                                 !peer.pause(std::chrono::milliseconds(50))) {
                                 return;
                             }
                         }
                     },
                 .arrange =
                     [](HttpRequest&, ClientConfiguration& configuration) {
                         Access::setResponseTimeoutMs(configuration, 100);
                         Access::setIdleTimeoutMs(configuration, 100);
                         configuration.setIdleSpeed(1000);
                     }});
        }
        for (std::size_t at = 0; at < framed.body.size(); at += 3) {
            family.cases.push_back(
                {.label = std::string(framed.label) + " silent after " + std::to_string(at),
                 .wanted = Wanted::Failure,
                 .answer =
                     [silent = framed.head + framed.body.substr(0, at)](const auto&, auto& peer,
                                                                        int) {
                         peer.send(silent);
                         peer.waitForPeerToClose();
                     },
                 .arrange = hurries});
        }
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
