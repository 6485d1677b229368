#include "tests/faults/matrix/TlsPeer.h"

#include <algorithm>
#include <array>
#include <openssl/ssl.h>
#include <stdexcept>

namespace foundation::httpclient_curl::testing {
namespace {

template <auto function>
struct Free {
    template <class T>
    void operator()(T* pointer) const {
        function(pointer);
    }
};

using Context = std::unique_ptr<SSL_CTX, Free<SSL_CTX_free>>;
using Session = std::unique_ptr<SSL, Free<SSL_free>>;

Context makeContext(const Certificate& certificate, const TlsScript& script) {
    Context context(SSL_CTX_new(TLS_server_method()));
    if (context == nullptr ||
        SSL_CTX_use_certificate_chain_file(context.get(), certificate.file.c_str()) != 1 ||
        SSL_CTX_use_PrivateKey_file(context.get(), certificate.keyFile.c_str(), SSL_FILETYPE_PEM) !=
            1) {
        throw std::runtime_error("no TLS context");
    }
    // So that every session puts the same number of bytes on the wire, but for the signature.
    SSL_CTX_set_num_tickets(context.get(), 0);
    SSL_CTX_set_session_cache_mode(context.get(), SSL_SESS_CACHE_OFF);
    SSL_CTX_set_options(context.get(), SSL_OP_NO_TICKET);
    if (script.isVersion12) {
        SSL_CTX_set_max_proto_version(context.get(), TLS1_2_VERSION);
    }
    if (script.wantsCertificate) {
        SSL_CTX_set_verify(context.get(), SSL_VERIFY_PEER | SSL_VERIFY_FAIL_IF_NO_PEER_CERT,
                           nullptr);
    }
    return context;
}

/// One connection. The bytes of TLS go through memory, so that each can be counted and changed.
class Play {
public:
    Play(SSL_CTX* context, const TlsScript& script, RawSocket& socket)
        : session_(SSL_new(context)),
          in_(BIO_new(BIO_s_mem())),
          out_(BIO_new(BIO_s_mem())),
          script_(script),
          socket_(socket) {
        SSL_set_bio(session_.get(), in_, out_);
        SSL_set_accept_state(session_.get());
    }

    void run() {
        if (!shakeHands()) {
            return;
        }
        if (script_.handshakeSize != nullptr) {
            *script_.handshakeSize = count_;
        }
        phase_ = TlsScript::Phase::Answer;
        count_ = 0;
        std::array<char, 4096> request{};
        int got = 0;
        while ((got = SSL_read(session_.get(), request.data(), static_cast<int>(request.size()))) <=
               0) {
            if (!flush() || !feed()) {
                return;
            }
        }
        if (script_.request != nullptr) {
            script_.request->assign(request.data(), static_cast<std::size_t>(got));
        }
        // In pieces, as a server that makes its answer bit by bit.
        constexpr std::size_t piece = 40;
        for (std::size_t at = 0; at < script_.answer.size(); at += piece) {
            const std::string text = script_.answer.substr(at, piece);
            SSL_write(session_.get(), text.data(), static_cast<int>(text.size()));
        }
        if (script_.saysEnd) {
            SSL_shutdown(session_.get());
        }
        flush();
    }

private:
    bool shakeHands() {
        while (!SSL_is_init_finished(session_.get())) {
            const int result = SSL_do_handshake(session_.get());
            if (!flush()) {
                return false;
            }
            if (result == 1) {
                break;
            }
            if (SSL_get_error(session_.get(), result) != SSL_ERROR_WANT_READ || !feed()) {
                return false;
            }
        }
        return flush();
    }

    bool feed() {
        const std::string bytes = socket_.receive();
        return !bytes.empty() && BIO_write(in_, bytes.data(), static_cast<int>(bytes.size())) > 0;
    }

    // False when the connection is at its end.
    bool flush() {
        std::string bytes(BIO_ctrl_pending(out_), '\0');
        if (bytes.empty()) {
            return true;
        }
        BIO_read(out_, bytes.data(), static_cast<int>(bytes.size()));
        const std::size_t first = count_;
        count_ += bytes.size();
        if (phase_ == script_.phase) {
            if (script_.flipAt >= first && script_.flipAt < count_) {
                char& flipped = bytes[script_.flipAt - first];
                flipped = static_cast<char>(flipped ^ 1);
            }
            if (script_.silentAt < count_) {
                socket_.send(bytes.substr(0, script_.silentAt - first));
                socket_.waitForPeerToClose();
                return false;
            }
            if (script_.cutAt < count_) {
                socket_.send(bytes.substr(0, script_.cutAt - first));
                script_.leaving == Leaving::Close ? socket_.close() : socket_.reset();
                return false;
            }
        }
        return socket_.send(bytes);
    }

    Session session_;
    BIO* in_;   // Of the session.
    BIO* out_;  // Of the session.
    const TlsScript& script_;
    RawSocket& socket_;
    TlsScript::Phase phase_ = TlsScript::Phase::Handshake;
    std::size_t count_ = 0;
};

}  // namespace

RawPeer::Handler tlsHandler(const Certificate& certificate, const TlsScript& script) {
    const std::shared_ptr<SSL_CTX> context = makeContext(certificate, script);
    return [context, script](RawSocket& socket, int) { Play(context.get(), script, socket).run(); };
}

}  // namespace foundation::httpclient_curl::testing
