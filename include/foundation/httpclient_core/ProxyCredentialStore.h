#pragma once
#include <foundation/httpclient_core/Export.h>

#include <optional>
#include <string>

namespace foundation::httpclient_core {

/// Keeps the credentials of proxies for a transport, by the text that names the proxy.
///
/// That text is the value of the response header "QZ-Internal-Proxy-Info", which the transport
/// itself sets on a 407; the client passes it on unchanged. Credentials are one text: user name,
/// ":" and password. There is no escaping, so the user name ends at the first colon. A transport
/// hands the store out through HttpClient::proxyCredentialStore(), null if it keeps none.
///
/// The client calls storeCredentials() and promptDeclined(); the other two are for the transport.
///
/// @par Thread safety
/// An implementation must be thread-safe: the client takes no lock and calls from every thread
/// that serves a proxy.
///
/// @par Example
/// Keeps the credentials of one proxy:
/// @code{.cpp}
/// class OneProxy : public ProxyCredentialStore {
/// public:
///     std::optional<std::string> credentialsFor(const std::string&) const override {
///         return text;
///     }
///     void forgetCredentials(const std::string&) override { text.reset(); }
///     void storeCredentials(std::string, std::string credentials) override { text = credentials; }
///     void promptDeclined() override {}
///     std::optional<std::string> text;
/// } store;
/// store.storeCredentials("proxy.test:3128", "ann:secret");
/// assert(store.credentialsFor("proxy.test:3128") == "ann:secret");
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API ProxyCredentialStore {
public:
    /// Returns "user:password" for this proxy, or nothing if none are kept. The client never
    /// calls it.
    virtual std::optional<std::string> credentialsFor(const std::string& proxyInfo) const = 0;

    /// Drops the credentials for this proxy; nothing happens if there are none. The client never
    /// calls it.
    virtual void forgetCredentials(const std::string& proxyInfo) = 0;

    /// Keeps the user's answer, before the request is sent again with it. Replaces earlier
    /// credentials of the proxy. They are untried: the proxy may refuse them. An exception
    /// becomes the error of the attempt, which then is not sent again.
    /// @param proxyInfo the "QZ-Internal-Proxy-Info" value of the refusing response
    /// @param credentials user name, ":" and password, neither part escaped
    virtual void storeCredentials(std::string proxyInfo, std::string credentials) = 0;

    /// Told once when the prompt gave no answer; nothing is sent after that. An exception becomes
    /// the error of the attempt.
    virtual void promptDeclined() = 0;

    /// Destroys the store. The client holds a handle only while it serves one attempt.
    virtual ~ProxyCredentialStore();
};

}  // namespace foundation::httpclient_core
