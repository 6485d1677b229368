#pragma once
#include <foundation/httpclient_core/Fwd.h>

namespace foundation::httpclient_core {

/// Makes the request and the response of the attempt that ended ready for the next one: a fresh request
/// after a 426 that followed a redirect (once; `freshRequestMade` remembers it), else the request body
/// rewound and the response body either kept for a byte range that continues it or reset.
void prepareForRetry(HttpRequest& request,
                     HttpResponse& response,
                     bool resumeOnRetry,
                     const URL& initialURL,
                     bool& freshRequestMade);

}  // namespace foundation::httpclient_core
