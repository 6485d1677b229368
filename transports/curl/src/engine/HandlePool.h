#pragma once
#include "connection/CurlTypes.h"

#include <vector>

namespace foundation::httpclient_curl {

/// Transfer handles that have done a transfer and can do another, which costs less than to make and
/// free one for each. Used by one thread at a time.
class HandlePool {
public:
    /// A handle without any option set.
    /// Throws std::bad_alloc.
    EasyHandle take();
    /// Keeps the handle if what it did cannot show in its next transfer: plain HTTP/1 that ended well.
    /// After an HTTP/2 transfer a handle refuses options even when it was reset.
    void giveBack(EasyHandle handle, CURLcode result) noexcept;

private:
    std::vector<EasyHandle> idle_;
};

}  // namespace foundation::httpclient_curl
