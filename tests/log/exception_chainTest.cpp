#include <foundation/log/exception_chain.h>

#include <gtest/gtest.h>

#include <exception>
#include <new>
#include <stdexcept>
#include <string>
#include <thread>

namespace foundation::log {
namespace {

// The chain of whatever `action` throws.
template <class Action>
std::string chainOf(Action action) {
    try {
        action();
    } catch (...) {
        return current_exception_chain_as_string();
    }
    return "nothing was thrown";
}

// Runs `cause` and throws `effect` with what it threw as the cause.
template <class Cause, class Effect>
void wrap(Cause cause, Effect effect) {
    try {
        cause();
    } catch (...) {
        std::throw_with_nested(effect);
    }
}

struct NoStandardException {};

TEST(ExceptionChainTest, TellsAnExceptionAndItsCause) {
    EXPECT_EQ(chainOf([] {
                  wrap([] { throw std::runtime_error("no such host"); },
                       std::logic_error("cannot connect"));
              }),
              "cannot connect; caused by: no such host");
}

TEST(ExceptionChainTest, SingleExceptionIsItsText) {
    EXPECT_EQ(chainOf([] { throw std::runtime_error("text <1>\n"); }), "text <1>\n");
    EXPECT_EQ(chainOf([] { throw std::runtime_error(""); }), "");
    EXPECT_EQ(chainOf([] { throw std::bad_alloc(); }), std::bad_alloc().what());
}

TEST(ExceptionChainTest, ChainIsFollowedToItsEnd) {
    EXPECT_EQ(chainOf([] {
                  wrap([] { wrap([] { throw std::runtime_error("3"); }, std::runtime_error("2")); },
                       std::runtime_error("1"));
              }),
              "1; caused by: 2; caused by: 3");
}

TEST(ExceptionChainTest, OtherObjectsAreUnknownExceptions) {
    EXPECT_EQ(chainOf([] { throw 42; }), "unknown exception");
    EXPECT_EQ(chainOf([] { throw "text"; }), "unknown exception");
    EXPECT_EQ(chainOf([] { throw NoStandardException(); }), "unknown exception");
}

TEST(ExceptionChainTest, CauseMayBeAnUnknownException) {
    EXPECT_EQ(chainOf([] { wrap([] { throw 42; }, std::runtime_error("outer")); }),
              "outer; caused by: unknown exception");
}

TEST(ExceptionChainTest, CauseOfAnUnknownExceptionIsFollowed) {
    EXPECT_EQ(
        chainOf([] { wrap([] { throw std::runtime_error("inner"); }, NoStandardException()); }),
        "unknown exception; caused by: inner");
    EXPECT_EQ(chainOf([] { wrap([] { throw 42; }, NoStandardException()); }),
              "unknown exception; caused by: unknown exception");
}

TEST(ExceptionChainTest, EmptyTextsKeepTheirPlace) {
    EXPECT_EQ(chainOf([] { wrap([] { throw std::runtime_error(""); }, std::runtime_error("")); }),
              "; caused by: ");
}

TEST(ExceptionChainTest, NestedExceptionWithoutACauseEndsTheChain) {
    EXPECT_EQ(chainOf([] { std::throw_with_nested(std::runtime_error("alone")); }), "alone");
    EXPECT_EQ(chainOf([] { std::throw_with_nested(NoStandardException()); }), "unknown exception");
}

TEST(ExceptionChainTest, ExceptionWithTwoStandardBasesIsUnknown) {
    struct First : std::exception {};
    struct Second : std::exception {};
    struct Both : First, Second {};
    EXPECT_EQ(chainOf([] { throw Both(); }), "unknown exception");
}

TEST(ExceptionChainTest, IsEmptyWithoutAnException) {
    EXPECT_EQ(current_exception_chain_as_string(), "");
    try {
        throw std::runtime_error("over");
    } catch (const std::exception&) {
    }
    EXPECT_EQ(current_exception_chain_as_string(), "");
}

TEST(ExceptionChainTest, TellsTheInnermostOfTheExceptionsBeingHandled) {
    try {
        throw std::runtime_error("outer");
    } catch (...) {
        EXPECT_EQ(chainOf([] { throw std::runtime_error("inner"); }), "inner");
        EXPECT_EQ(current_exception_chain_as_string(), "outer");
    }
}

TEST(ExceptionChainTest, ExceptionStaysTheOneBeingHandled) {
    try {
        wrap([] { throw std::runtime_error("inner"); }, std::logic_error("outer"));
    } catch (...) {
        const std::exception_ptr before = std::current_exception();
        EXPECT_EQ(current_exception_chain_as_string(), current_exception_chain_as_string());
        EXPECT_EQ(std::current_exception(), before);
        EXPECT_THROW(throw, std::logic_error);
    }
}

TEST(ExceptionChainTest, OtherThreadsHaveTheirOwnException) {
    try {
        throw std::runtime_error("here");
    } catch (...) {
        std::string elsewhere = "not asked";
        std::thread([&] { elsewhere = current_exception_chain_as_string(); }).join();
        EXPECT_EQ(elsewhere, "");
        EXPECT_EQ(current_exception_chain_as_string(), "here");
    }
}

TEST(ExceptionChainTest, HasOneFunctionUnderTwoNames) {
    EXPECT_EQ(&current_exception_chain_as_string, &detail::current_exception_chain_as_string);
}

}  // namespace
}  // namespace foundation::log
