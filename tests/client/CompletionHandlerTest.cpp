#include <foundation/httpclient_core/CompletionHandler.h>

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <pthread.h>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {
namespace {

HttpRequest anyRequest() {
    return {HttpMethod::GET, URL("http://host/"), HttpHeaders()};
}

void invoke(CompletionHandler& handler) {
    handler(anyRequest(), HttpResponse(), nullptr);
}

/// Invokes the handler, which must refuse with this code and exactly this text.
::testing::AssertionResult refuses(CompletionHandler& handler,
                                   std::future_errc code,
                                   const std::string& text) {
    try {
        invoke(handler);
    } catch (const std::future_error& error) {
        if (error.code() == code && error.what() == text) {
            return ::testing::AssertionSuccess();
        }
        return ::testing::AssertionFailure() << error.code() << " \"" << error.what() << "\"";
    }
    return ::testing::AssertionFailure() << "threw nothing";
}

TEST(CompletionHandlerTest, HandsTheOutcomeToTheCallable) {
    std::string text;
    CompletionHandler handler = [&text](HttpRequest request, HttpResponse response,
                                        std::exception_ptr error) {
        text = request.getURL().toAsciiString() + " " + response.getResponseBodyString() +
               (error == nullptr ? "" : " failed");
    };
    HttpResponse response;
    response.setResponseBody("Hello");
    handler(anyRequest(), std::move(response), nullptr);
    EXPECT_EQ(text, "http://host/ Hello");
}

// The end of a thread unwinds its stack as an exception does, but must not be caught for good.
TEST(CompletionHandlerTest, LetsTheCallableEndItsThread) {
    static int mark = 0;
    static bool returned = false;
    pthread_t thread{};
    ASSERT_EQ(pthread_create(
                  &thread, nullptr,
                  [](void*) -> void* {
                      CompletionHandler handler = [](HttpRequest, HttpResponse,
                                                     std::exception_ptr) { pthread_exit(&mark); };
                      invoke(handler);
                      returned = true;
                      return nullptr;
                  },
                  nullptr),
              0);
    void* result = nullptr;
    ASSERT_EQ(pthread_join(thread, &result), 0);
    EXPECT_EQ(result, &mark);
    EXPECT_FALSE(returned);
}

TEST(CompletionHandlerTest, HandsOverTheSameExceptionObject) {
    const std::exception_ptr sent = std::make_exception_ptr(std::runtime_error("lost"));
    std::exception_ptr received;
    CompletionHandler handler = [&received](HttpRequest, HttpResponse, std::exception_ptr error) {
        received = std::move(error);
    };
    handler(anyRequest(), HttpResponse(), sent);
    EXPECT_EQ(received, sent);
}

TEST(CompletionHandlerTest, IsMoveOnly) {
    EXPECT_FALSE(std::is_copy_constructible_v<CompletionHandler>);
    EXPECT_FALSE(std::is_copy_assignable_v<CompletionHandler>);
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<CompletionHandler>);
    EXPECT_TRUE(std::is_nothrow_move_assignable_v<CompletionHandler>);
    EXPECT_FALSE(std::is_default_constructible_v<CompletionHandler>);
}

TEST(CompletionHandlerTest, AcceptsOnlyCallablesWithTheThreeParameters) {
    using Right = void (*)(HttpRequest, HttpResponse, std::exception_ptr);
    using Wrong = void (*)(HttpRequest, HttpResponse);
    EXPECT_TRUE((std::is_convertible_v<Right, CompletionHandler>));
    EXPECT_FALSE((std::is_constructible_v<CompletionHandler, Wrong>));
    EXPECT_FALSE((std::is_constructible_v<CompletionHandler, int>));
}

TEST(CompletionHandlerTest, AcceptsAMoveOnlyCallable) {
    int result = 0;
    CompletionHandler handler = [owned = std::make_unique<int>(7), &result](
                                    HttpRequest, HttpResponse, std::exception_ptr) {
        result = *owned;
    };
    invoke(handler);
    EXPECT_EQ(result, 7);
}

TEST(CompletionHandlerTest, DropsWhatTheCallableReturns) {
    int calls = 0;
    CompletionHandler handler = [&calls](HttpRequest, HttpResponse, std::exception_ptr) {
        return ++calls;
    };
    invoke(handler);
    EXPECT_EQ(calls, 1);
}

TEST(CompletionHandlerTest, RefusesASecondInvocation) {
    int calls = 0;
    CompletionHandler handler = [&calls](HttpRequest, HttpResponse, std::exception_ptr) {
        ++calls;
    };
    invoke(handler);
    for (int i = 0; i < 2; ++i) {
        EXPECT_TRUE(refuses(handler, std::future_errc::promise_already_satisfied,
                            "promise already satisfied"));
    }
    EXPECT_EQ(calls, 1);
}

TEST(CompletionHandlerTest, RefusesASecondInvocationAfterAnException) {
    CompletionHandler handler = [](HttpRequest, HttpResponse, std::exception_ptr) {
        throw std::runtime_error("from the callable");
    };
    invoke(handler);
    EXPECT_TRUE(
        refuses(handler, std::future_errc::promise_already_satisfied, "promise already satisfied"));
}

TEST(CompletionHandlerTest, MovedFromRefuses) {
    int calls = 0;
    CompletionHandler first = [&calls](HttpRequest, HttpResponse, std::exception_ptr) { ++calls; };
    CompletionHandler second = std::move(first);
    // NOLINTNEXTLINE(bugprone-use-after-move): the state after the move is what is tested.
    EXPECT_TRUE(refuses(first, std::future_errc::no_state, "no state"));
    invoke(second);
    EXPECT_EQ(calls, 1);
}

TEST(CompletionHandlerTest, RefusesWithAnErrorOfTheFutureCategory) {
    CompletionHandler handler = [](HttpRequest, HttpResponse, std::exception_ptr) {};
    const CompletionHandler taken = std::move(handler);
    try {
        invoke(handler);  // NOLINT(bugprone-use-after-move): as above.
        FAIL() << "threw nothing";
    } catch (const std::logic_error& error) {
        EXPECT_NE(dynamic_cast<const std::future_error*>(&error), nullptr);
        EXPECT_STREQ(error.what(), "no state");
    }
}

TEST(CompletionHandlerTest, MoveAssignmentDestroysTheFormerCallableUncalled) {
    auto token = std::make_shared<int>(0);
    int calls = 0;
    CompletionHandler handler = [token](HttpRequest, HttpResponse, std::exception_ptr) {
        ++*token;
    };
    EXPECT_EQ(token.use_count(), 2);
    handler =
        CompletionHandler([&calls](HttpRequest, HttpResponse, std::exception_ptr) { ++calls; });
    EXPECT_EQ(token.use_count(), 1);
    EXPECT_EQ(*token, 0);
    invoke(handler);
    EXPECT_EQ(calls, 1);
}

TEST(CompletionHandlerTest, SelfMoveAssignmentKeepsTheCallable) {
    int calls = 0;
    CompletionHandler handler = [&calls](HttpRequest, HttpResponse, std::exception_ptr) {
        ++calls;
    };
    CompletionHandler& same = handler;
    handler = std::move(same);
    invoke(handler);
    EXPECT_EQ(calls, 1);
}

TEST(CompletionHandlerTest, KeepsExceptionsOfTheCallable) {
    CompletionHandler standard = [](HttpRequest, HttpResponse, std::exception_ptr) {
        throw std::runtime_error("from the callable");
    };
    EXPECT_NO_THROW(invoke(standard));
    CompletionHandler other = [](HttpRequest, HttpResponse, std::exception_ptr) { throw 42; };
    EXPECT_NO_THROW(invoke(other));
}

TEST(CompletionHandlerTest, KeepsAFutureErrorOfTheCallable) {
    CompletionHandler handler = [](HttpRequest, HttpResponse, std::exception_ptr) {
        throw std::future_error(std::future_errc::no_state);
    };
    EXPECT_NO_THROW(invoke(handler));
    CompletionHandler nested = [](HttpRequest, HttpResponse, std::exception_ptr) {
        CompletionHandler spent = [](HttpRequest, HttpResponse, std::exception_ptr) {};
        invoke(spent);
        invoke(spent);
    };
    EXPECT_NO_THROW(invoke(nested));
}

TEST(CompletionHandlerTest, KeepsTheErrorOfAnEmptyFunction) {
    CompletionHandler handler =
        std::function<void(HttpRequest, HttpResponse, std::exception_ptr)>();
    EXPECT_NO_THROW(invoke(handler));
    EXPECT_TRUE(
        refuses(handler, std::future_errc::promise_already_satisfied, "promise already satisfied"));
}

TEST(CompletionHandlerTest, RefusesAnInvocationByItsCallable) {
    CompletionHandler* self = nullptr;
    bool refused = false;
    CompletionHandler handler = [&](HttpRequest, HttpResponse, std::exception_ptr) {
        refused = static_cast<bool>(refuses(*self, std::future_errc::promise_already_satisfied,
                                            "promise already satisfied"));
    };
    self = &handler;
    invoke(handler);
    EXPECT_TRUE(refused);
}

TEST(CompletionHandlerTest, RunsOnceWhenThreadsInvokeItTogether) {
    for (int round = 0; round < 200; ++round) {
        std::atomic<int> calls = 0;
        std::atomic<int> refusals = 0;
        CompletionHandler handler = [&calls](HttpRequest, HttpResponse, std::exception_ptr) {
            ++calls;
        };
        {
            std::vector<std::jthread> threads;
            for (int i = 0; i < 3; ++i) {
                threads.emplace_back([&] {
                    try {
                        invoke(handler);
                    } catch (const std::future_error&) {
                        ++refusals;
                    }
                });
            }
        }
        ASSERT_EQ(calls, 1);
        ASSERT_EQ(refusals, 2);
    }
}

TEST(CompletionHandlerTest, HoldsTheCallableUntilItIsDestroyed) {
    auto token = std::make_shared<int>(0);
    {
        CompletionHandler handler = [token](HttpRequest, HttpResponse, std::exception_ptr) {};
        invoke(handler);
        EXPECT_EQ(token.use_count(), 2);
    }
    EXPECT_EQ(token.use_count(), 1);
}

}  // namespace
}  // namespace foundation::httpclient_core
