#pragma once
/// @file
/// What every example of the documentation finds in scope: the library, its names without their
/// namespace, the usual standard headers, and ExampleTransport.
#include "examples/InMemoryTransport.h"

#include <foundation/httpclient_core.h>
#include <foundation/httpclient_core/detail/BackoffHook.h>
#include <foundation/httpclient_core/detail/TransportAccess.h>
#include <foundation/log/basic_diagnostic_logger.h>
#include <foundation/log/exception_chain.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <chrono>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <iostream>
#include <iterator>
#include <memory>
#include <mutex>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <variant>
#include <vector>

namespace foundation::httpclient_core::testing {

/// Answers every request with 200 "OK", Content-Type: text/plain and the body "Hello". Asynchronous
/// attempts end one after the other on a thread of its own. Not to be destroyed inside a handler.
class ExampleTransport final : public examples::InMemoryTransport {
public:
    ExampleTransport()
        : InMemoryTransport([](const HttpRequest& /*request*/) -> examples::Reply {
              return {HttpResponseCode::OK, "OK", {{"Content-Type", "text/plain"}}, "Hello"};
          }) {}
};

}  // namespace foundation::httpclient_core::testing

// Examples are written as inside a function of a program that uses the library's names directly.
using namespace foundation::
    httpclient_core;  // NOLINT(google-global-names-in-headers): examples only.
using foundation::httpclient_core::testing::ExampleTransport;
