#include "tests/faults/matrix/Families.h"
#include "tests/faults/matrix/TlsPeer.h"

#include <fstream>

namespace foundation::httpclient_curl::testing {
namespace {

const std::string body = "Hello";
const std::string withLength = headOf(200, lengthField(5)) + body;
const std::string untilClose = headOf(200, "") + body;

/// Made once for all cases.
struct Certificates {
    CertificateAuthority authority;
    Certificate right = authority.issue("IP:127.0.0.1,DNS:localhost");
};

Certificates& certificates() {
    static Certificates instance;
    return instance;
}

FaultCase served(const std::string& label,
                 Wanted wanted,
                 RawPeer::Handler handler,
                 const std::string& host = "127.0.0.1") {
    FaultCase fault{.label = label, .wanted = wanted};
    if (wanted != Wanted::Failure) {
        fault.right = {{200, body}};
    }
    fault.serve = [handler = std::move(handler), host](
                      std::string& url,
                      ClientConfiguration& configuration) -> std::shared_ptr<void> {
        configuration.setCertificateFile(certificates().authority.file());
        Access::setConnectTimeoutMs(configuration, 400);
        Access::setResponseTimeoutMs(configuration, 400);
        Access::setIdleTimeoutMs(configuration, 400);
        auto peer = std::make_shared<RawPeer>(handler);
        url = peer->url("https", host);
        return peer;
    };
    return fault;
}

/// How many bytes the server sends before the answer.
std::size_t handshakeSize(bool isVersion12) {
    std::size_t size = 0;
    TlsScript script{.answer = withLength, .isVersion12 = isVersion12, .handshakeSize = &size};
    Family probe{"probe"};
    probe.roads = {Road::Synchronous};
    probe.cases = {served("probe", Wanted::Exact, tlsHandler(certificates().right, script))};
    runFamily(probe);
    // The signature is a few bytes longer or shorter each time.
    constexpr std::size_t doubtful = 8;
    return size - doubtful;
}

std::string labelOf(const char* what, bool isVersion12, std::size_t at) {
    return std::string(what) + (isVersion12 ? " 1.2 at " : " 1.3 at ") + std::to_string(at);
}

// The bytes of an answer in its records, those of the close_notify among them.
std::size_t answerSize(const std::string& answer, bool isVersion12) {
    constexpr std::size_t piece = 40;
    const std::size_t overhead = isVersion12 ? 29 : 22;
    return answer.size() + (answer.size() + piece - 1) / piece * overhead + overhead + 2;
}

}  // namespace

// In the handshake, and at every byte of the answer and of the word that it is at its end.
Family tlsCuts() {
    Family family{"TLS, cut"};
    for (const bool isVersion12 : {false, true}) {
        const std::size_t size = handshakeSize(isVersion12);
        for (std::size_t at = 0; at < size; at += 11) {
            TlsScript script{.answer = withLength, .isVersion12 = isVersion12, .cutAt = at};
            script.leaving = at % 2 == 0 ? Leaving::Close : Leaving::Reset;
            family.cases.push_back(served(labelOf("handshake", isVersion12, at), Wanted::Failure,
                                          tlsHandler(certificates().right, script)));
        }
        for (std::size_t at = 0; at < answerSize(untilClose, isVersion12); ++at) {
            TlsScript script{.answer = untilClose,
                             .isVersion12 = isVersion12,
                             .phase = TlsScript::Phase::Answer,
                             .cutAt = at};
            family.cases.push_back(served(labelOf("until close", isVersion12, at), Wanted::Failure,
                                          tlsHandler(certificates().right, script)));
        }
        for (std::size_t at = 0; at < answerSize(withLength, isVersion12); at += 2) {
            TlsScript script{.answer = withLength,
                             .isVersion12 = isVersion12,
                             .phase = TlsScript::Phase::Answer,
                             .cutAt = at};
            script.leaving = at % 4 == 0 ? Leaving::Close : Leaving::Reset;
            // Behind the body nothing is missing but the word of the end.
            family.cases.push_back(served(labelOf("length", isVersion12, at), Wanted::Either,
                                          tlsHandler(certificates().right, script)));
        }
    }
    return family;
}

Family tlsFlips() {
    Family family{"TLS, a bit flipped"};
    for (const bool isVersion12 : {false, true}) {
        const std::size_t size = handshakeSize(isVersion12);
        for (std::size_t at = 0; at < size; at += 23) {
            TlsScript script{.answer = untilClose, .isVersion12 = isVersion12, .flipAt = at};
            // What the frame of a record says of the version is heeded by nobody.
            family.cases.push_back(served(labelOf("handshake", isVersion12, at), Wanted::Either,
                                          tlsHandler(certificates().right, script)));
        }
        for (std::size_t at = 0; at < answerSize(untilClose, isVersion12); at += 3) {
            TlsScript script{.answer = untilClose,
                             .isVersion12 = isVersion12,
                             .phase = TlsScript::Phase::Answer,
                             .flipAt = at};
            family.cases.push_back(served(labelOf("answer", isVersion12, at), Wanted::Failure,
                                          tlsHandler(certificates().right, script)));
        }
    }
    return family;
}

Family tlsPeers() {
    Family family{"TLS, bad peers"};
    CertificateAuthority& authority = certificates().authority;
    const TlsScript well{.answer = untilClose};
    for (const bool isVersion12 : {false, true}) {
        TlsScript script = well;
        script.isVersion12 = isVersion12;
        family.cases.push_back(served(isVersion12 ? "right 1.2" : "right 1.3", Wanted::Exact,
                                      tlsHandler(certificates().right, script)));
        script.saysEnd = false;
        family.cases.push_back(served(isVersion12 ? "no end 1.2" : "no end 1.3", Wanted::Failure,
                                      tlsHandler(certificates().right, script)));
        script.answer = withLength;
        family.cases.push_back(served(isVersion12 ? "no end, length 1.2" : "no end, length 1.3",
                                      Wanted::Exact, tlsHandler(certificates().right, script)));
        script.wantsCertificate = true;
        family.cases.push_back(
            served(isVersion12 ? "wants a certificate 1.2" : "wants a certificate 1.3",
                   Wanted::Failure, tlsHandler(certificates().right, script)));
    }
    for (const std::string name :
         {"IP:127.0.0.2", "DNS:127.0.0.1", "DNS:localhost", "DNS:*", "DNS:*.0.0.1",
          "DNS:127.0.0.1.invalid", "IP:::1", "URI:https://127.0.0.1/", "email:a@127.0.0.1"}) {
        family.cases.push_back(served("127.0.0.1 as " + name, Wanted::Failure,
                                      tlsHandler(authority.issue(name), well)));
    }
    for (const std::string name :
         {"DNS:localhos", "DNS:localhostx", "DNS:xlocalhost", "DNS:localhost.invalid",
          "DNS:*.localhost", "IP:127.0.0.1", "DNS:*host", "DNS:l*t", "DNS:*"}) {
        family.cases.push_back(served("localhost as " + name, Wanted::Failure,
                                      tlsHandler(authority.issue(name), well), "localhost"));
    }
    family.cases.push_back(served("expired", Wanted::Failure,
                                  tlsHandler(authority.issue("IP:127.0.0.1", true), well)));
    static CertificateAuthority other("Another authority");
    family.cases.push_back(served("another authority", Wanted::Failure,
                                  tlsHandler(other.issue("IP:127.0.0.1"), well)));
    family.cases.push_back(served("signed by itself", Wanted::Failure,
                                  tlsHandler({other.file(), other.keyFile()}, well)));
    family.cases.push_back(served("the authority's own, which is for no host", Wanted::Failure,
                                  tlsHandler({authority.file(), authority.keyFile()}, well)));
    for (const std::string& bytes :
         {std::string("HTTP/1.1 200 OK\r\nContent-Length: 5\r\n\r\nHello"), std::string("x"),
          std::string(), std::string(1000, '\0'), std::string(100000, '\xff'),
          std::string("\x16\x03\x01\x00\x00", 5), std::string("\x16\x03\x01\xff\xff", 5),
          std::string("\x16\x03\x03\x00\x04\x02\x00\x00\x00", 9),
          std::string("\x17\x03\x03\x00\x05Hello", 10), std::string("SSH-2.0-x\r\n"),
          std::string("\x80\x2e\x01\x03\x01", 5), patterned(500, 5)}) {
        for (const bool isEarly : {true, false}) {
            family.cases.push_back(
                served((isEarly ? "at once " : "after the hello ") + printable(bytes),
                       Wanted::Failure, [bytes, isEarly](RawSocket& socket, int) {
                           if (!isEarly) {
                               socket.receive();
                           }
                           socket.send(bytes);
                       }));
        }
    }
    for (int alert = 0; alert <= 120; alert += 10) {
        for (const char level : {'\x01', '\x02'}) {
            const std::string bytes{
                '\x15', '\x03', '\x03', '\0', '\x02', level, static_cast<char>(alert)};
            family.cases.push_back(
                served("alert " + std::to_string(alert) + " of level " + std::to_string(int{level}),
                       Wanted::Failure, [bytes](RawSocket& socket, int) {
                           socket.receive();
                           socket.send(bytes);
                       }));
        }
    }
    for (const std::size_t at : std::initializer_list<std::size_t>{0, 1, 5, 100, 500}) {
        TlsScript script = well;
        script.silentAt = at;
        family.cases.push_back(served("silent in the handshake at " + std::to_string(at),
                                      Wanted::Failure, tlsHandler(certificates().right, script)));
        script.phase = TlsScript::Phase::Answer;
        script.silentAt = (at + 9) / 10;
        family.cases.push_back(served("silent in the answer after " + std::to_string(at),
                                      Wanted::Failure, tlsHandler(certificates().right, script)));
    }
    // The other way round: http to a port of TLS.
    FaultCase plain =
        served("http to TLS", Wanted::Failure, tlsHandler(certificates().right, well));
    plain.serve = [inner = plain.serve](std::string& url, ClientConfiguration& configuration) {
        auto peer = inner(url, configuration);
        url.erase(url.find('s'), 1);
        return peer;
    };
    family.cases.push_back(plain);
    for (const std::string file : {"/nowhere.pem", "/dev/null", "/", "/proc/self/mem"}) {
        FaultCase fault = served("authorities of " + file, Wanted::Failure,
                                 tlsHandler(certificates().right, well));
        fault.arrange = [file](HttpRequest&, ClientConfiguration& configuration) {
            configuration.setCertificateFile(file);
        };
        family.cases.push_back(std::move(fault));
    }
    return family;
}

}  // namespace foundation::httpclient_curl::testing
