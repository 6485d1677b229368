#include "fuzz/support/Target.h"

#include "fuzz/support/Oracle.h"

#include <boost/log/core/core.hpp>
#include <gtest/gtest.h>

#include <string>

namespace foundation::fuzz {
namespace {

class EndAtFailure : public ::testing::EmptyTestEventListener {
    void OnTestPartResult(const ::testing::TestPartResult& result) override {
        if (result.failed()) {
            violated("an expectation of the model", result.message());
        }
    }
};

}  // namespace

void prepare(int* argc, char** argv) {
    ::testing::InitGoogleTest(argc, argv);
    ::testing::UnitTest::GetInstance()->listeners().Append(new EndAtFailure);
    boost::log::core::get()->set_logging_enabled(false);
}

}  // namespace foundation::fuzz

int LLVMFuzzerInitialize(int* argc, char*** argv) {
    foundation::fuzz::prepare(argc, *argv);
    return 0;
}
