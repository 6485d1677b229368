#pragma once

/// Fields of a response that the transport itself writes, for the core and for its own prompt. A server
/// cannot send them: isInternalName() fields are dropped as they come in.
namespace foundation::httpclient_curl {

/// "host:port" of the proxy that refused a request.
inline constexpr const char* proxyInfoHeader = "QZ-Internal-Proxy-Info";
/// The generation of the credentials that it refused, 0 for none.
inline constexpr const char* proxyGenerationHeader = "QZ-Internal-Proxy-Generation";

}  // namespace foundation::httpclient_curl
