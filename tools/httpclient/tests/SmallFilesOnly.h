#pragma once
#include <gtest/gtest.h>

#include <csignal>
#include <sys/resource.h>

namespace foundation::httpclient_tool::testing {

/// While it lives no file of this process can grow beyond `bytes`: writes fail as on a full disk, though
/// with EFBIG, "File too large".
class SmallFilesOnly {
public:
    explicit SmallFilesOnly(rlim_t bytes) : formerHandler_(std::signal(SIGXFSZ, SIG_IGN)) {
        EXPECT_EQ(::getrlimit(RLIMIT_FSIZE, &former_), 0);
        const rlimit limit{bytes, former_.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_FSIZE, &limit), 0);
    }
    SmallFilesOnly(const SmallFilesOnly&) = delete;
    SmallFilesOnly& operator=(const SmallFilesOnly&) = delete;
    ~SmallFilesOnly() {
        ::setrlimit(RLIMIT_FSIZE, &former_);
        std::signal(SIGXFSZ, formerHandler_);
    }

private:
    rlimit former_{};
    void (*formerHandler_)(int);
};

}  // namespace foundation::httpclient_tool::testing
