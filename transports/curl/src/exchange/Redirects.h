#pragma once
#include <foundation/httpclient_core/HttpMethod.h>
#include <foundation/httpclient_core/HttpResponseCode.h>

namespace foundation::httpclient_curl {

/// Whether an answer of this code with a Location field sends the client elsewhere.
bool isRedirect(httpclient_core::HttpResponseCode code);
/// The method of the request that follows it.
httpclient_core::HttpMethod methodAfter(httpclient_core::HttpResponseCode code,
                                        httpclient_core::HttpMethod method);

}  // namespace foundation::httpclient_curl
