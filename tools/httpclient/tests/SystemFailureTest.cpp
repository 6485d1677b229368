#include "report/SystemFailure.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <set>
#include <string>

namespace foundation::httpclient_tool {
namespace {

TEST(SystemFailureTest, SaysWhatWhereAndWhatToTry) {
    const Failure failure = systemFailure("cannot write f", ENOSPC);
    EXPECT_EQ(failure.code(), ExitCode::Failed);
    EXPECT_STREQ(
        failure.what(),
        "cannot write f: No space left on device; free some space, or choose another place");
}

TEST(SystemFailureTest, HasAnAdviceForEachError) {
    std::set<std::string> advices;
    for (const int error :
         {ENOSPC, EFBIG, EACCES, ENOENT, EISDIR, ENAMETOOLONG, ELOOP, EEXIST, EPIPE, EBADF, EIO}) {
        const std::string text = systemFailure("x", error).what();
        const std::size_t advice = text.find("; ");
        ASSERT_NE(advice, std::string::npos) << text;
        EXPECT_GT(text.size(), advice + 2) << text;
        advices.insert(text.substr(advice));
    }
    EXPECT_EQ(advices.size(), 11U);
}

}  // namespace
}  // namespace foundation::httpclient_tool
