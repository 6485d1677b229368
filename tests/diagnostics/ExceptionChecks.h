#pragma once
#include <gtest/gtest.h>

#include <exception>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace foundation::httpclient_core::testing {

/// Whether throwing `exception` reaches a handler for `Handler`.
template <class Handler, class Exception>
bool isCaughtAs(const Exception& exception) {
    try {
        throw exception;
    } catch (const Handler&) {
        return true;
    } catch (...) {
        return false;
    }
}

/// The text of an exception is all it has: every copy reports that of its source.
template <class Exception>
void expectCopiesKeepTheText(const Exception& source, Exception target) {
    static_assert(std::is_nothrow_copy_constructible_v<Exception>);
    static_assert(std::is_nothrow_copy_assignable_v<Exception>);
    static_assert(std::is_nothrow_move_constructible_v<Exception>);
    static_assert(std::is_nothrow_move_assignable_v<Exception>);
    static_assert(std::has_virtual_destructor_v<Exception>);
    const std::string text = source.what();

    Exception copy(source);
    EXPECT_EQ(copy.what(), text);
    const Exception moved(std::move(copy));
    EXPECT_EQ(moved.what(), text);
    target = moved;
    EXPECT_EQ(target.what(), text);
    Exception another(target);
    another = std::move(target);
    EXPECT_EQ(another.what(), text);
    EXPECT_EQ(source.what(), text);
}

/// A copy made by the exception machinery is of the same type and reports the same text.
template <class Exception>
void expectTravelsInAnExceptionPointer(const Exception& source) {
    const std::exception_ptr carried = std::make_exception_ptr(source);
    try {
        std::rethrow_exception(carried);
    } catch (const std::exception& caught) {
        EXPECT_EQ(typeid(caught), typeid(Exception));
        EXPECT_STREQ(caught.what(), source.what());
    }
}

}  // namespace foundation::httpclient_core::testing
