#include <foundation/httpclient_core/HttpHeaders.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

// Linked with the shared library, as programs are: its constants are there before the first static
// initialiser of the program and after its last static destructor.
namespace foundation::httpclient_core {
namespace {

std::vector<std::string> constants() {
    return {HttpHeaders::ACCEPT, HttpHeaders::CONTENT_TYPE, HttpHeaders::CONTENT_LENGTH,
            HttpHeaders::COOKIE, HttpHeaders::TRANSFER_ENCODING};
}

std::vector<std::string> expected() {
    return {"Accept", "Content-Type", "Content-Length", "Cookie", "Transfer-Encoding"};
}

// Ends the process with an error if the constants are gone too early.
struct ReadsConstantsAtExit {
    std::vector<std::string> atStart = constants();
    ReadsConstantsAtExit() = default;
    ReadsConstantsAtExit(const ReadsConstantsAtExit&) = delete;
    ReadsConstantsAtExit& operator=(const ReadsConstantsAtExit&) = delete;
    ~ReadsConstantsAtExit() {
        if (constants() != expected()) {
            std::abort();
        }
    }
};

// The priority of the constants themselves: nothing of a program is initialised before it.
__attribute__((init_priority(101))) ReadsConstantsAtExit first;
ReadsConstantsAtExit usual;

TEST(HttpHeadersConstantsTest, AreReadyForEveryStaticInitialiserOfAProgram) {
    EXPECT_EQ(first.atStart, expected());
    EXPECT_EQ(usual.atStart, expected());
    EXPECT_EQ(constants(), expected());
}

}  // namespace
}  // namespace foundation::httpclient_core
