#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

#include <array>

namespace foundation::httpclient_curl::testing {
namespace {

const std::string date = "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n";

constexpr std::size_t size = 100000;

/// The fields of the versions before and after a change.
struct Validator {
    const char* label;
    std::string before;
    std::string after;
};

const std::array<Validator, 6> validators{{
    {"strong", "ETag: \"v1\"\r\n", "ETag: \"v2\"\r\n"},
    {"weak", "ETag: W/\"v1\"\r\n", "ETag: W/\"v2\"\r\n"},
    {"constant weak", "ETag: W/\"v\"\r\n", "ETag: W/\"v\"\r\n"},
    {"old date", date + "Last-Modified: Fri, 04 Nov 1994 08:49:37 GMT\r\n",
     date + "Last-Modified: Sat, 05 Nov 1994 08:49:37 GMT\r\n"},
    {"young date", date + "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n",
     date + "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\n"},
    {"none", "", ""},
}};

/// What the second answer is, to a request for the rest.
struct Reply {
    const char* label;
    Wanted wanted;
    bool isChanged;  ///< The resource has changed meanwhile, and stays so.
    std::function<std::string(const ReceivedRequest&, const Entity&)> bytes;
    RightAnswer page = {-1, ""};  ///< Right besides the versions.
};

std::string part(const Entity& entity,
                 std::size_t first,
                 std::size_t end,
                 const std::string& range,
                 const std::string& more = "") {
    const std::string body = entity.data.substr(first, end - first);
    return headOf(206, "Accept-Ranges: bytes\r\n" + entity.validators + range + more +
                           lengthField(body.size())) +
           body;
}

std::string rangeField(std::size_t first, std::size_t end, const std::string& total) {
    return "Content-Range: bytes " + std::to_string(first) + "-" + std::to_string(end - 1) + "/" +
           total + "\r\n";
}

const std::string total = std::to_string(size);

/// 206 with another line in the place of its Content-Range; "FIRST" and "LAST" are numbers.
Reply withRange(const char* label, Wanted wanted, const std::string& line) {
    return {label, wanted, false, [line](const auto& request, const Entity& entity) {
                const std::size_t first = rangeStart(request);
                std::string range = line;
                for (const auto& [name, number] :
                     {std::pair<std::string, std::size_t>{"FIRST", first},
                      std::pair<std::string, std::size_t>{"LAST", size - 1}}) {
                    for (std::size_t at = 0; (at = range.find(name)) != std::string::npos;) {
                        range.replace(at, name.size(), std::to_string(number));
                    }
                }
                return part(entity, first, size, range);
            }};
}

/// 206 from another place, truly named.
Reply shifted(const char* label, long by) {
    return {label, Wanted::Either, false, [by](const auto& request, const Entity& entity) {
                const long moved = static_cast<long>(rangeStart(request)) + by;
                const auto first =
                    static_cast<std::size_t>(std::min(std::max(moved, 0L), long{size} - 1));
                return part(entity, first, size, rangeField(first, size, total));
            }};
}

/// 206 of the right place that is shorter or longer than it says.
Reply misstated(const char* label, long by) {
    return {label, Wanted::Either, false, [by](const auto& request, const Entity& entity) {
                const std::size_t first = rangeStart(request);
                std::string body = entity.data.substr(first);
                body.resize(
                    static_cast<std::size_t>(std::max(static_cast<long>(body.size()) + by, 0L)),
                    'x');
                return headOf(206, entity.validators + rangeField(first, size, total) +
                                       lengthField(body.size())) +
                       body;
            }};
}

Reply page(const char* label, int code, const std::string& fields, bool isFinal) {
    const std::string text = code == 204 || code == 304 ? "" : "page";
    Reply reply{label, Wanted::Exact, false, [=](const auto&, const Entity&) {
                    return headOf(code, fields + (text.empty() ? "" : lengthField(text.size()))) +
                           text;
                }};
    if (isFinal) {
        reply.page = {code, text};
    }
    return reply;
}

std::vector<Reply> replies() {
    const auto honest = [](const auto& request, const Entity& entity) {
        const WireAnswer answer = honestAnswer(request, entity);
        return answer.head + answer.body;
    };
    const auto whole = [](const auto&, const Entity& entity) {
        return headOf(200, entity.validators + lengthField(entity.data.size())) + entity.data;
    };
    const auto blind = [](const auto& request, const Entity& entity) {
        const std::size_t first = std::min(rangeStart(request), entity.data.size() - 1);
        return part(entity, first, entity.data.size(),
                    rangeField(first, entity.data.size(), std::to_string(entity.data.size())));
    };
    const auto withMore = [](const std::string& more) {
        return [more](const auto& request, const Entity& entity) {
            const std::size_t first = rangeStart(request);
            return part(entity, first, size, rangeField(first, size, total), more);
        };
    };
    return {
        {"honest", Wanted::Exact, false, honest},
        {"whole", Wanted::Exact, false, whole},
        {"changed, honest", Wanted::Exact, true, honest},
        {"changed, whole", Wanted::Exact, true, whole},
        {"changed, If-Range ignored", Wanted::Either, true, blind},
        {"whole in chunks", Wanted::Exact, false,
         [](const auto&, const Entity& entity) {
             return headOf(200, entity.validators + "Transfer-Encoding: chunked\r\n") +
                    inChunks(entity.data, 9000);
         }},
        {"rest in chunks", Wanted::Exact, false,
         [](const auto& request, const Entity& entity) {
             const std::size_t first = rangeStart(request);
             return headOf(206, entity.validators + rangeField(first, size, total) +
                                    "Transfer-Encoding: chunked\r\n") +
                    inChunks(entity.data.substr(first), 9000);
         }},
        {"rest without validators", Wanted::Either, false,
         [](const auto& request, const Entity& entity) {
             const std::size_t first = rangeStart(request);
             return part({entity.data, ""}, first, size, rangeField(first, size, total));
         }},
        {"rest of half", Wanted::Exact, false,
         [honest](const auto& request, const Entity& entity) {
             if (!request.hasHeader("Range")) {
                 return honest(request, entity);
             }
             const std::size_t first = rangeStart(request);
             const std::size_t end = first + (size - first + 1) / 2;
             return part(entity, first, end, rangeField(first, end, total));
         }},
        shifted("from one byte before", -1),
        shifted("from one byte behind", 1),
        shifted("from the beginning", -long{size}),
        shifted("from the last byte", size),
        misstated("a byte less", -1),
        misstated("a byte more", 1),
        misstated("nothing", -long{size}),
        misstated("a lot more", size),
        withRange("total one more", Wanted::Either, "Content-Range: bytes FIRST-LAST/100001\r\n"),
        withRange("total one less", Wanted::Either, "Content-Range: bytes FIRST-LAST/99999\r\n"),
        withRange("total unknown", Wanted::Either, "Content-Range: bytes FIRST-LAST/*\r\n"),
        withRange("no Content-Range", Wanted::Either, ""),
        withRange("empty Content-Range", Wanted::Either, "Content-Range: \r\n"),
        withRange("no total", Wanted::Either, "Content-Range: bytes FIRST-LAST\r\n"),
        withRange("no end", Wanted::Either, "Content-Range: bytes FIRST-/100000\r\n"),
        withRange("no unit", Wanted::Either, "Content-Range: FIRST-LAST/100000\r\n"),
        withRange("other unit", Wanted::Either, "Content-Range: items FIRST-LAST/100000\r\n"),
        withRange("range unknown", Wanted::Either, "Content-Range: bytes */100000\r\n"),
        withRange("reversed", Wanted::Either, "Content-Range: bytes LAST-FIRST/100000\r\n"),
        withRange("negative", Wanted::Either, "Content-Range: bytes -FIRST-LAST/100000\r\n"),
        withRange("with blanks", Wanted::Either, "Content-Range: bytes FIRST - LAST / 100000\r\n"),
        withRange("end too far", Wanted::Either, "Content-Range: bytes FIRST-100000/100000\r\n"),
        withRange("huge", Wanted::Either,
                  "Content-Range: bytes FIRST-99999999999999999999/100000\r\n"),
        withRange("wraps around", Wanted::Either,
                  "Content-Range: bytes 18446744073709551615-LAST/100000\r\n"),
        withRange("garbage", Wanted::Either, "Content-Range: what?\r\n"),
        withRange("twice, the same", Wanted::Either,
                  "Content-Range: bytes FIRST-LAST/100000\r\n"
                  "Content-Range: bytes FIRST-LAST/100000\r\n"),
        withRange("twice, not the same", Wanted::Either,
                  "Content-Range: bytes FIRST-LAST/100000\r\n"
                  "Content-Range: bytes 0-LAST/100000\r\n"),
        {"several parts", Wanted::Either, false,
         [](const auto& request, const Entity& entity) {
             const std::size_t first = rangeStart(request);
             const std::string body = "--edge\r\n" + rangeField(first, size, total) + "\r\n" +
                                      entity.data.substr(first) + "\r\n--edge--\r\n";
             return headOf(206, entity.validators +
                                    "Content-Type: multipart/byteranges; boundary=edge\r\n" +
                                    lengthField(body.size())) +
                    body;
         }},
        {"shorter resource", Wanted::Either, true,
         [](const auto&, const Entity&) {
             return headOf(416, "Content-Range: bytes */10\r\n" + lengthField(0));
         }},
        {"in gzip", Wanted::Either, false, withMore("Content-Encoding: gzip\r\n")},
        {"with another tag", Wanted::Either, false,
         [](const auto& request, const Entity& entity) {
             const std::size_t first = rangeStart(request);
             return part({entity.data, "ETag: \"other\"\r\n"}, first, size,
                         rangeField(first, size, total));
         }},
        {"with two tags", Wanted::Either, false, withMore("ETag: \"other\"\r\n")},
        {"with a later date", Wanted::Either, false,
         withMore("Last-Modified: Mon, 07 Nov 1994 08:49:37 GMT\r\n")},
        {"not acceptable range", Wanted::Exact, false,
         [](const auto&, const Entity&) {
             return headOf(416, "Content-Range: bytes */100000\r\n" + lengthField(4)) + "page";
         }},
        page("503", 503, "", false),
        page("500 with Accept-Ranges", 500, "Accept-Ranges: bytes\r\nETag: \"v1\"\r\n", false),
        page("429", 429, "Retry-After: 0\r\n", false),
        page("408", 408, "Connection: close\r\n", false),
        page("404", 404, "", true),
        page("412", 412, "", true),
        page("403", 403, "Content-Range: bytes 0-3/4\r\n", true),
        page("204", 204, "", true),
        page("304", 304, "", true),
        page("501", 501, "", true),
        {"moved", Wanted::Exact, false,
         [](const auto& request, const Entity& entity) {
             if (!request.target.ends_with("/moved")) {
                 return headOf(302, "Location: " + request.target + "/moved\r\n" + lengthField(0));
             }
             const WireAnswer answer = honestAnswer(request, entity);
             return answer.head + answer.body;
         }},
    };
}

}  // namespace

// A download that broke off goes on with each kind of answer, behind each kind of validator. Requests
// after the second answer are served well.
Family resumeAnswers() {
    Family family{"answers to a resume", {}, {Sink::Memory, Sink::File}};
    for (const Validator& validator : validators) {
        const Entity before{patterned(size, 3), validator.before};
        const Entity after{patterned(size - 777, 4), validator.after};
        for (const Reply& reply : replies()) {
            for (const std::size_t cut : std::initializer_list<std::size_t>{1, 70000}) {
                FaultCase fault{.label = std::string(validator.label) + ", " + reply.label +
                                         ", cut at " + std::to_string(cut),
                                .wanted = reply.wanted,
                                .right = {{0, before.data}},
                                .arrange = resumes};
                if (reply.isChanged) {
                    fault.right.push_back({0, after.data});
                }
                if (reply.page.code > 0) {
                    fault.right.push_back(reply.page);
                }
                fault.answer = [before, after, reply, cut](const auto& request, auto& peer,
                                                           int number) {
                    const Entity& entity = number > 0 && reply.isChanged ? after : before;
                    if (number == 1) {
                        peer.send(reply.bytes(request, entity));
                        peer.close();
                        return;
                    }
                    WireAnswer answer = honestAnswer(request, entity);
                    if (number == 0) {
                        answer.body.resize(cut);
                        sendAndLeave(peer, answer.head + answer.body, Leaving::Close);
                    } else {
                        peer.send(answer.head + answer.body);
                    }
                };
                family.cases.push_back(std::move(fault));
            }
        }
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
