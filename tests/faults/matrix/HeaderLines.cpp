#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = "Hello";
const std::string framed = lengthField(5) + "\r\n" + body;

Answering sending(const std::string& bytes) {
    return [bytes](const auto&, auto& peer, int) { sendAndLeave(peer, bytes, Leaving::Close); };
}

FaultCase made(const std::string& label, Wanted wanted, const std::string& bytes, int code = 200) {
    FaultCase fault{.label = label, .wanted = wanted, .answer = sending(bytes)};
    if (wanted != Wanted::Failure) {
        fault.right = {{code, body}};
    }
    return fault;
}

}  // namespace

Family statusLines() {
    Family family{"status line"};
    for (const std::string line : {"HTTP/1.1 200 OK", "HTTP/1.1 200 ", "HTTP/1.1 200",
                                   "HTTP/1.0 200 OK", "HTTP/1.1 200 A b c", "HTTP/1.1 200 \xff"}) {
        family.cases.push_back(
            made("good " + printable(line), Wanted::Exact, line + "\r\n" + framed));
    }
    for (const std::string line : {"HTTP/1.1 2000 OK",
                                   "HTTP/1.1 20 OK",
                                   "HTTP/1.1 2 OK",
                                   "HTTP/1.1 abc OK",
                                   "HTTP/1.1 2xx",
                                   "HTTP/1.1 -20 OK",
                                   "HTTP/1.1  OK",
                                   "HTTP/1.1 ",
                                   "HTTP/1.1",
                                   "HTTP/1. 200 OK",
                                   "HTTP/ 200 OK",
                                   "HTTP 200 OK",
                                   "HTP/1.1 200 OK",
                                   "http/0.9 200 OK",
                                   "HTTP/0.9 200 OK",
                                   "HTTP/4.0 200 OK",
                                   "HTTP/7.1 200 OK",
                                   "HTTP/11 200 OK",
                                   "ICY 200 OK",
                                   "200 OK",
                                   "OK",
                                   "GET / HTTP/1.1",
                                   "<html>",
                                   "SSH-2.0-x",
                                   "220 ready",
                                   "HTTP/1.1 000 OK",
                                   "HTTP/1.1 099 OK",
                                   "HTTP/1.1\x01"
                                   "200 OK",
                                   "\x16\x03\x01\x02",
                                   "HTTP",
                                   "H",
                                   "RTSP/1.0 200 OK"}) {
        family.cases.push_back(
            made("bad " + printable(line), Wanted::Failure, line + "\r\n" + framed));
    }
    for (const std::string line :
         {"HTTP/1.1\t200 OK",  "HTTP/1.1  200 OK", "HTTP/1.1 200\tOK",    "HTTP/1.1 200OK",
          "HTTP/1.1 200 O\rK", "HTTP/1.1 +200 OK", "HTTP/1.2 200 OK",     "HTTP/1.9 200 OK",
          "HTTP/1.10 200 OK",  "HTTP/01.1 200 OK", "HTTP/2 200 OK",       "HTTP/2.0 200 OK",
          "HTTP/3 200 OK",     "HTTP/1 200 OK",    "Http/1.1 200 OK",     "http/1.1 200 OK",
          "HTTP/.1 200 OK",    "HTTP/-1.1 200 OK", "HTTP/1.-1 200 OK",    "HTTP/1.1 200.5 OK",
          "HTTP/1.1 200-OK",   " HTTP/1.1 200 OK", "\r\nHTTP/1.1 200 OK", "\nHTTP/1.1 200 OK"}) {
        family.cases.push_back(
            made("doubtful " + printable(line), Wanted::Either, line + "\r\n" + framed));
    }
    for (const int code :
         {201, 202, 203, 226, 299, 300, 305, 306, 399, 400, 401, 403, 404, 405, 407,
          410, 412, 417, 418, 421, 451, 499, 500, 501, 505, 599, 600, 700, 999}) {
        // A status of its own class is an answer like any other, unless libcurl knows none of it.
        const bool isKnown = code < 600 && code != 407;
        family.cases.push_back(
            made("code " + std::to_string(code), isKnown ? Wanted::Exact : Wanted::Either,
                 "HTTP/1.1 " + std::to_string(code) + " Code\r\n" + framed, code));
    }
    for (const int length : {1000, 10000, 90000, 110000, 400000}) {
        family.cases.push_back(made("reason of " + std::to_string(length), Wanted::Either,
                                    "HTTP/1.1 200 " +
                                        std::string(static_cast<std::size_t>(length), 'r') +
                                        "\r\n" + framed));
    }
    return family;
}

Family headerLines() {
    Family family{"header lines"};
    const std::string status = "HTTP/1.1 200 OK\r\n";
    for (const std::string line : {"X: y",
                                   "X:y",
                                   "X:",
                                   "X: ",
                                   "X:\ty",
                                   "X: y ",
                                   "X-: y",
                                   "!#$%&'*+-.^_`|~: y",
                                   "X: \x80\xff",
                                   "X: a:b",
                                   "X: \"q\"",
                                   "a: 1\r\nA: 2",
                                   "X: y\r\n z",
                                   "X: y\r\n\tz",
                                   "X: y\r\n \r\n z",
                                   "X:\r\n y",
                                   "X: y\r\n z\r\n w",
                                   "Connection: close",
                                   "Connection: keep-alive, close",
                                   "Keep-Alive: timeout=-5",
                                   "Keep-Alive: x",
                                   "Set-Cookie: a=b",
                                   "Set-Cookie: ",
                                   "Set-Cookie: =",
                                   "Strict-Transport-Security: max-age=x",
                                   "Content-Type: ",
                                   "Content-Type: /",
                                   "Date: never",
                                   "Last-Modified: x",
                                   "ETag: x",
                                   "ETag: \"",
                                   "ETag: W/",
                                   "Accept-Ranges: none",
                                   "Accept-Ranges: bytes, x",
                                   "Location: http://elsewhere.invalid/",
                                   "Refresh: 0",
                                   "Alt-Svc: h3=\":1\"",
                                   "Alt-Svc: clear",
                                   "Trailer: Content-Length",
                                   "Upgrade: h2c",
                                   "Via: x",
                                   "Content-Range: bytes 0-4/5",
                                   "Content-Range: nonsense",
                                   "Proxy-Authenticate: Basic",
                                   "WWW-Authenticate: Digest",
                                   "QZ-Internal-Resume: 1",
                                   "QZ-Internal-Proxy-Info: x",
                                   "Retry-After: 10",
                                   "Content-Disposition: attachment; filename=/etc/passwd"}) {
        family.cases.push_back(
            made("good " + printable(line), Wanted::Exact, status + line + "\r\n" + framed));
    }
    for (const std::string line :
         {"nonsense", "X", "X\ty", ": y", "X\r", "<p>", "X : y", "X\t: y", "X y: z",
          "Content-Length : 3", "Transfer-Encoding : chunked", "X: a\rContent-Length: 3", "X: a\rb",
          "X: a\r\r", "(X): y", "X@: y", "\x80: y", "Content-Length: 5\r\n 5",
          "Content-Length: 5\r\n x"}) {
        // Libcurl and others pass some of these on; what must not happen is that they change the body.
        family.cases.push_back(
            made("bad " + printable(line), Wanted::Either, status + line + "\r\n" + framed));
    }
    for (const std::size_t at : {std::size_t(0), std::size_t(1), std::size_t(3), std::size_t(9),
                                 status.size(), status.size() + 1, status.size() + 3,
                                 status.size() + 6, status.size() + 8, status.size() + 20}) {
        for (const char byte : {'\0', '\r', '\x01', '\x7f'}) {
            std::string bytes = status + "X-Y: z\r\n" + framed;
            bytes.insert(at, 1, byte);
            family.cases.push_back(
                made("byte " + printable(std::string(1, byte)) + " at " + std::to_string(at),
                     byte == '\0' ? Wanted::Failure : Wanted::Either, bytes));
        }
    }
    // A folded line in the first place belongs to no field.
    for (const std::string line : {" folded: x", " Content-Length: 3", "\tX: y", " ", "\t",
                                   "nonsense\r\n Content-Length: 3", "nonsense\r\n "}) {
        family.cases.push_back(made("fold of nothing " + printable(line), Wanted::Failure,
                                    status + line + "\r\n" + framed));
    }
    family.cases.push_back(made("line feeds alone", Wanted::Exact,
                                "HTTP/1.1 200 OK\nX: y\nContent-Length: 5\n\n" + body));
    family.cases.push_back(made("line feeds and both", Wanted::Exact,
                                "HTTP/1.1 200 OK\r\nX: y\nContent-Length: 5\r\n\n" + body));
    return family;
}

Family interimAnswers() {
    Family family{"interim answers"};
    const std::string last = "HTTP/1.1 200 OK\r\n" + framed;
    for (int code = 100; code < 200; ++code) {
        const std::string name = "code " + std::to_string(code);
        const std::string head = "HTTP/1.1 " + std::to_string(code) + " Interim\r\n\r\n";
        // 101 is the last answer in HTTP: what follows is in another protocol, and no body.
        family.cases.push_back(
            made(name, code == 101 ? Wanted::Failure : Wanted::Exact, head + last));
        family.cases.push_back(made(name + " and nothing more", Wanted::Failure, head));
    }
    const auto flood = [&last](int count, const std::string& fields) {
        std::string bytes;
        for (int i = 0; i < count; ++i) {
            bytes += "HTTP/1.1 103 Early Hints\r\n" + fields + "\r\n";
        }
        return bytes + last;
    };
    for (const int count : {2, 10, 100, 1000}) {
        family.cases.push_back(made("flood of " + std::to_string(count), Wanted::Exact,
                                    flood(count, "Link: <x>\r\n")));
    }
    for (const int count : {10000, 50000}) {
        family.cases.push_back(made("flood of " + std::to_string(count), Wanted::Failure,
                                    flood(count, "Link: <x>\r\n")));
    }
    for (const std::string fields :
         {"Content-Length: 3\r\n", "Content-Length: x\r\n", "Transfer-Encoding: chunked\r\n",
          "Location: /nowhere/at-all\r\n", "Connection: close\r\n",
          "Content-Range: bytes 1-2/3\r\n", "ETag: \"other\"\r\n", "Set-Cookie: a=b\r\n",
          "Content-Encoding: gzip\r\n"}) {
        // An interim answer has no body, whatever its fields say.
        family.cases.push_back(made("with " + printable(fields), Wanted::Either,
                                    "HTTP/1.1 103 Early Hints\r\n" + fields + "\r\n" + last));
    }
    family.cases.push_back({.label = "without an end",
                            .wanted = Wanted::Failure,
                            .answer = [](const auto&, auto& peer, int) {
                                while (peer.send("HTTP/1.1 100 Continue\r\n\r\n")) {
                                }
                            }});
    return family;
}

}  // namespace foundation::httpclient_curl::testing
