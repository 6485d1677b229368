#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = "Hello";

std::string fields(int count, const std::string& name, std::size_t valueLength) {
    std::string text;
    for (int i = 0; i < count; ++i) {
        text += name + ": " + std::string(valueLength, 'v') + "\r\n";
    }
    return text;
}

FaultCase made(const std::string& label, Wanted wanted, const std::string& bytes) {
    FaultCase fault{.label = label,
                    .wanted = wanted,
                    .answer = [bytes](const auto&, auto& peer, int) { peer.send(bytes); }};
    if (wanted != Wanted::Failure) {
        fault.right = {{200, body}};
    }
    return fault;
}

FaultCase endless(const std::string& label, const std::string& begin, const std::string& again) {
    return {.label = label,
            .wanted = Wanted::Failure,
            .answer = [begin, again](const auto&, auto& peer, int) {
                peer.send(begin);
                while (peer.send(again)) {
                }
            }};
}

}  // namespace

// The limits are 1000 fields and 256 KiB; those of libcurl are 100 kB for a line and 300 kB.
Family headerFloods() {
    Family family{"header floods"};
    for (const std::string name : {"X-Flood", "Set-Cookie", "Link", "Via", "Connection", "ETag",
                                   "Retry-After", "Location", "Content-Type", "Date"}) {
        for (const int count : {10, 900, 999, 1000, 1001, 2000, 5000}) {
            family.cases.push_back(
                made(name + " x " + std::to_string(count),
                     count < 1000 ? Wanted::Exact : Wanted::Failure,
                     headOf(200, fields(count, name, 1) + lengthField(5)) + body));
        }
        for (const std::size_t length :
             std::initializer_list<std::size_t>{1000, 50000, 99000, 110000, 270000, 400000}) {
            family.cases.push_back(
                made(name + " of " + std::to_string(length),
                     length < 100000 ? Wanted::Exact : Wanted::Failure,
                     headOf(200, fields(1, name, length) + lengthField(5)) + body));
        }
        for (const int count : {2, 5, 6, 20}) {
            family.cases.push_back(
                made(name + " of 50000 x " + std::to_string(count),
                     count < 6 ? Wanted::Exact : Wanted::Failure,
                     headOf(200, fields(count, name, 50000) + lengthField(5)) + body));
        }
        family.cases.push_back(
            endless(name + " without an end", "HTTP/1.1 200 OK\r\n", name + ": v\r\n"));
        family.cases.push_back(endless(name + " as a line without an end",
                                       "HTTP/1.1 200 OK\r\n" + name + ": ",
                                       std::string(5000, 'v')));
        family.cases.push_back(endless(name + " folded without an end",
                                       "HTTP/1.1 200 OK\r\n" + name + ": v\r\n", " v\r\n"));
    }
    const std::string chunked = headOf(200, "Transfer-Encoding: chunked\r\n") + "5\r\n" + body;
    for (const int count : {1, 100, 900, 3000, 10000}) {
        family.cases.push_back(made("trailers x " + std::to_string(count), Wanted::Either,
                                    chunked + "\r\n0\r\n" + fields(count, "T", 50) + "\r\n"));
    }
    family.cases.push_back(endless("trailers without an end", chunked + "\r\n0\r\n",
                                   "T: " + std::string(50, 't') + "\r\n"));
    family.cases.push_back(endless("name without an end", "HTTP/1.1 200 OK\r\n", "name"));
    family.cases.push_back(endless("reason without an end", "HTTP/1.1 200 ", "reason"));
    family.cases.push_back(endless("empty lines first", "", "\r\n"));
    family.cases.push_back(endless("zeros", "", std::string(1000, '\0')));
    for (const std::size_t length : std::initializer_list<std::size_t>{1, 100, 1000, 50000}) {
        family.cases.push_back(
            made("name of " + std::to_string(length), Wanted::Exact,
                 headOf(200, fields(1, std::string(length, 'N'), 1) + lengthField(5)) + body));
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
