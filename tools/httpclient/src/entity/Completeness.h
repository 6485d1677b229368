#pragma once
#include <foundation/httpclient_core/HttpResponse.h>

#include <cstdint>
#include <optional>
#include <string>

namespace foundation::httpclient_tool {

/// Compares the number of bytes held with what the final answer announced: its Content-Length, or, when
/// it was the rest of a resumed download, its Content-Range. A second look, independent of the
/// transport's own: nothing that is known to be cut short may pass for a file.
/// @return what is wrong; nothing where all is well or nothing was announced.
std::optional<std::string> whyIncomplete(const httpclient_core::HttpResponse& response,
                                         std::int64_t size);
/// The same for a request with a Range header of the caller's, where the part asked for is the whole.
/// After a resume the final Content-Range covers the rest of that part only, so more may be held.
std::optional<std::string> whyIncompletePart(const httpclient_core::HttpResponse& response,
                                             std::int64_t size);

}  // namespace foundation::httpclient_tool
