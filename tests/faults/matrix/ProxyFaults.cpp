#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/Wire.h"
#include "tests/support/RawPeer.h"

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = "Hello";
const std::string well = headOf(200, lengthField(5)) + body;
const std::string nowhere = "somewhere.invalid/";

/// A proxy that does what the handler does, asked for a URL of the scheme. `login` is its own part of the
/// URL, such as "ann:secret@".
FaultCase through(const std::string& label,
                  Wanted wanted,
                  const std::string& proxyScheme,
                  const std::string& scheme,
                  const RawPeer::Handler& handler,
                  const std::string& login = "") {
    FaultCase fault{.label = label, .wanted = wanted};
    if (wanted != Wanted::Failure) {
        fault.right = {{200, body}};
    }
    fault.serve = [=](std::string& url,
                      ClientConfiguration& configuration) -> std::shared_ptr<void> {
        Access::setConnectTimeoutMs(configuration, 300);
        Access::setResponseTimeoutMs(configuration, 300);
        Access::setIdleTimeoutMs(configuration, 300);
        auto peer = std::make_shared<RawPeer>(handler);
        std::string proxy = peer->url(proxyScheme);
        proxy.insert(proxy.find("//") + 2, login);
        Access::setProxyUrl(configuration, proxy);
        url = scheme + "://" + nowhere;
        return peer;
    };
    return fault;
}

/// Answers each request of a connection in turn; the last answer is repeated.
RawPeer::Handler answering(std::vector<std::string> answers) {
    return [answers = std::move(answers)](RawSocket& socket, int number) {
        std::size_t at = static_cast<std::size_t>(number);
        while (!socket.receiveUntil("\r\n\r\n").empty()) {
            if (!socket.send(answers[std::min(at++, answers.size() - 1)])) {
                return;
            }
        }
    };
}

std::string refusal(const std::string& fields) {
    return headOf(407, fields + lengthField(4)) + "page";
}

}  // namespace

// Proxies that refuse in odd ways, with credentials in hand and without.
Family proxyFaults() {
    Family family{"proxies"};
    const std::string nonce = "nonce=\"n\"";
    const std::vector<std::string> challenges{
        "",
        "Basic",
        "Basic realm=\"x\"",
        "basic realm=x",
        "Basic realm=\"",
        "Basic realm=\"\\",
        "Digest",
        "Digest realm=\"x\"",
        "Digest realm=\"x\", " + nonce,
        "Digest realm=\"x\", " + nonce + ", qop=\"auth\"",
        "Digest realm=\"x\", " + nonce + ", qop=\"auth-int\"",
        "Digest realm=\"x\", " + nonce + ", qop=\"other\"",
        "Digest realm=\"x\", " + nonce + ", algorithm=SHA-256",
        "Digest realm=\"x\", " + nonce + ", algorithm=SHA-512-256",
        "Digest realm=\"x\", " + nonce + ", algorithm=MD5-sess, qop=auth",
        "Digest realm=\"x\", " + nonce + ", algorithm=none",
        "Digest realm=\"x\", " + nonce + ", stale=true",
        "Digest realm=\"x\", " + nonce + ", qop=\"auth\", stale=true",
        "Digest realm=\"x\", nonce=\"\"",
        "Digest nonce",
        "Digest =",
        "Digest ,,,,",
        "Digest realm=\"x\", nonce=\"" + std::string(5000, 'n') + "\"",
        "Negotiate",
        "NTLM",
        "Negotiate garbage",
        "NTLM garbage",
        "Bearer",
        "Unknown x=y",
        "Basic, Digest",
        ",",
        "Digest realm=\"x\", " + nonce + ", Basic realm=\"y\"",
        std::string(3000, 'x'),
    };
    for (const std::string& challenge : challenges) {
        const std::string field = "Proxy-Authenticate: " + challenge + "\r\n";
        for (const std::string login : {"", "ann:secret@"}) {
            const std::string who = login.empty() ? ", nobody" : ", ann";
            FaultCase forEver =
                through("407 for ever \"" + printable(challenge) + "\"" + who, Wanted::Either,
                        "http", "http", answering({refusal(field)}), login);
            forEver.right = {{407, "page"}};
            family.cases.push_back(forEver);
            FaultCase tunnel =
                through("407 to CONNECT \"" + printable(challenge) + "\"" + who, Wanted::Either,
                        "http", "https", answering({refusal(field)}), login);
            tunnel.right = {{407, ""}};
            family.cases.push_back(tunnel);
            FaultCase once =
                through("407 once \"" + printable(challenge) + "\"" + who, Wanted::Either, "http",
                        "http", answering({refusal(field), well}), login);
            once.right.push_back({407, "page"});
            family.cases.push_back(once);
        }
    }
    for (const std::string login : {"", "ann:secret@"}) {
        const std::string who = login.empty() ? ", nobody" : ", ann";
        std::string flood;
        for (int i = 0; i < 900; ++i) {
            flood += "Proxy-Authenticate: Basic realm=\"" + std::to_string(i) + "\"\r\n";
        }
        FaultCase many = through("900 challenges" + who, Wanted::Either, "http", "http",
                                 answering({refusal(flood)}), login);
        many.right = {{407, "page"}};
        family.cases.push_back(many);
        const std::string head =
            headOf(407, "Proxy-Authenticate: Basic realm=\"x\"\r\n" + lengthField(4));
        for (std::size_t at = 0; at < head.size(); at += 5) {
            family.cases.push_back(through(
                "407 cut at " + std::to_string(at) + who, Wanted::Failure, "http", "http",
                [bytes = head.substr(0, at)](RawSocket& socket, int) {
                    socket.receiveUntil("\r\n\r\n");
                    socket.send(bytes);
                },
                login));
        }
    }
    // What a SOCKS proxy says, cut and changed at each byte: the greeting and the reply of version 5.
    const std::string greeting("\x05\x00", 2);
    const std::string reply("\x05\x00\x00\x01\x7f\x00\x00\x01\x00\x50", 10);
    const auto socks = [](const std::string& first, const std::string& second) {
        return [first, second](RawSocket& socket, int) {
            socket.receive();
            socket.send(first);
            if (first.size() < 2) {
                return;
            }
            socket.receive();
            socket.send(second);
            if (second.size() == 10 && !socket.receiveUntil("\r\n\r\n").empty()) {
                socket.send(well);
            }
        };
    };
    family.cases.push_back(
        through("socks5, well", Wanted::Exact, "socks5h", "http", socks(greeting, reply)));
    for (std::size_t at = 0; at < greeting.size(); ++at) {
        family.cases.push_back(through("socks5, greeting cut at " + std::to_string(at),
                                       Wanted::Failure, "socks5h", "http",
                                       socks(greeting.substr(0, at), "")));
    }
    for (std::size_t at = 0; at < reply.size(); ++at) {
        family.cases.push_back(through("socks5, reply cut at " + std::to_string(at),
                                       Wanted::Failure, "socks5h", "http",
                                       socks(greeting, reply.substr(0, at))));
        std::string changed = reply;
        changed[at] = '\x09';
        // Nobody heeds the address and port that the proxy names, nor the reserved byte.
        family.cases.push_back(through("socks5, reply changed at " + std::to_string(at),
                                       at < 2 ? Wanted::Failure : Wanted::Either, "socks5h", "http",
                                       socks(greeting, changed)));
    }
    for (int code = 1; code <= 9; ++code) {
        std::string refused = reply;
        refused[1] = static_cast<char>(code);
        family.cases.push_back(through("socks5 says " + std::to_string(code), Wanted::Failure,
                                       "socks5h", "http", socks(greeting, refused)));
        std::string method = greeting;
        method[1] = static_cast<char>(code == 9 ? 0xFF : code);
        family.cases.push_back(through("socks5 wants method " + std::to_string(code),
                                       Wanted::Failure, "socks5h", "http", socks(method, reply)));
    }
    for (const std::string scheme : {"socks4", "socks4a", "socks5", "socks5h", "http", "https"}) {
        family.cases.push_back(
            through("silent " + scheme, Wanted::Failure, scheme, "http",
                    [](RawSocket& socket, int) { socket.waitForPeerToClose(); }));
        family.cases.push_back(through("closing " + scheme, Wanted::Failure, scheme, "http",
                                       [](RawSocket& socket, int) { socket.close(); }));
        family.cases.push_back(through("resetting " + scheme, Wanted::Failure, scheme, "https",
                                       [](RawSocket& socket, int) { socket.reset(); }));
        family.cases.push_back(
            through("babbling " + scheme, Wanted::Failure, scheme, "https",
                    [](RawSocket& socket, int) { socket.send(patterned(3000, 8)); }));
    }
    for (const std::string scheme : {"ftp", "file", "socks9", "x"}) {
        family.cases.push_back(
            through("scheme " + scheme, Wanted::Failure, scheme, "http", answering({well})));
    }
    return family;
}

// The answer to CONNECT, cut at each byte, and with each status.
Family tunnelCuts() {
    Family family{"tunnels"};
    const std::string head = "HTTP/1.1 200 Connection established\r\nVia: 1.1 proxy\r\n\r\n";
    for (std::size_t at = 0; at <= head.size(); ++at) {
        for (const Leaving leaving : {Leaving::Close, Leaving::Reset}) {
            family.cases.push_back(
                through((leaving == Leaving::Close ? "fin " : "reset ") + std::to_string(at),
                        Wanted::Failure, "http", "https",
                        [bytes = head.substr(0, at), leaving](RawSocket& socket, int) {
                            socket.receiveUntil("\r\n\r\n");
                            socket.send(bytes);
                            leaving == Leaving::Close ? socket.close() : socket.reset();
                        }));
        }
    }
    for (const int code : {100, 101, 199, 201, 204, 299, 300, 301, 302, 304, 307, 400, 401, 403,
                           404, 405, 408, 413, 426, 429, 500, 501, 502, 503, 504, 599, 600, 999}) {
        for (const std::string& fields :
             {lengthField(5), std::string(), std::string("Transfer-Encoding: chunked\r\n"),
              std::string("Location: http://127.0.0.1/\r\n")}) {
            family.cases.push_back(through(
                "status " + std::to_string(code) + " with " + printable(fields), Wanted::Failure,
                "http", "https", [bytes = headOf(code, fields) + body](RawSocket& socket, int) {
                    socket.receiveUntil("\r\n\r\n");
                    socket.send(bytes);
                }));
        }
    }
    for (const std::string bytes :
         {"HTTP/1.1 200\r\n\r\nHello", "HTTP/1.0 200 OK\r\n\r\nHello", "200 OK\r\n\r\n",
          "HTTP/2 200\r\n\r\n", "\r\n\r\n", "HTTP/1.1 200 OK\n\n", "HTTP/1.1 abc\r\n\r\n",
          "HTTP/1.1 200 OK\r\n folded\r\n\r\n", "HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHello",
          "HTTP/1.1 200 OK\r\nnonsense\r\n\r\n"}) {
        family.cases.push_back(through("bytes " + printable(bytes), Wanted::Failure, "http",
                                       "https", [bytes](RawSocket& socket, int) {
                                           socket.receiveUntil("\r\n\r\n");
                                           socket.send(bytes);
                                       }));
    }
    family.cases.push_back(through("header without an end", Wanted::Failure, "http", "https",
                                   [](RawSocket& socket, int) {
                                       socket.receiveUntil("\r\n\r\n");
                                       socket.send("HTTP/1.1 200 OK\r\n");
                                       while (socket.send("X-Flood: flood\r\n")) {
                                       }
                                   }));
    family.cases.push_back(through("body of a refusal without an end", Wanted::Failure, "http",
                                   "https", [](RawSocket& socket, int) {
                                       socket.receiveUntil("\r\n\r\n");
                                       socket.send(headOf(403, ""));
                                       while (socket.send(std::string(10000, 'b'))) {
                                       }
                                   }));
    return family;
}

}  // namespace foundation::httpclient_curl::testing
