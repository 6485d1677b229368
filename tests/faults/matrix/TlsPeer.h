#pragma once
#include "servers/CertificateAuthority.h"
#include "tests/faults/matrix/Wire.h"
#include "tests/support/RawPeer.h"

#include <limits>
#include <memory>
#include <string>

namespace foundation::httpclient_curl::testing {

/// What a server of https does and what happens to its bytes on their way. Places count the bytes that
/// the server puts on the wire, from the first one of the phase on.
struct TlsScript {
    static constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

    enum class Phase { Handshake, Answer };

    std::string answer;
    bool saysEnd = true;  ///< Sends a close_notify behind the answer.
    bool isVersion12 = false;
    bool wantsCertificate = false;   ///< Of the client.
    Phase phase = Phase::Handshake;  ///< In which something happens.
    std::size_t cutAt = never;       ///< The first byte that does not arrive.
    std::size_t flipAt = never;      ///< A byte of which one bit is another.
    std::size_t silentAt = never;    ///< Nothing arrives from here on, but nothing ends.
    Leaving leaving = Leaving::Close;
    std::size_t* handshakeSize = nullptr;  ///< Gets the bytes of the handshake.
    std::string* request = nullptr;        ///< Gets what the client sent first.
};

/// A handler that plays the script with each connection. Uses the certificate's files at once.
RawPeer::Handler tlsHandler(const Certificate& certificate, const TlsScript& script);

}  // namespace foundation::httpclient_curl::testing
