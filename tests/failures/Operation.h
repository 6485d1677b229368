#pragma once
#include "tests/failures/Description.h"
#include "tests/support/AllocationCounter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

/// How memory runs out: for one allocation, or for that one and all after it.
enum class Shortage : std::uint8_t { Once, ForEver };

/// An operation of the library that is run with its first allocation failing, then with its second, and so on
/// until none fails.
struct Operation {
    std::string name;
    std::function<std::uint64_t(Shortage)> sweep;  ///< Returns how often it failed.
};

using Operations = std::vector<Operation>;

namespace sweeping {

template <class Act, class State>
auto run(const Act& act, State& state) {
    if constexpr (std::is_void_v<std::invoke_result_t<const Act&, State&>>) {
        act(state);
        return Nothing{};
    } else {
        return act(state);
    }
}

/// The strong guarantee: after a failure everything is as it was before the operation.
struct StaysUnchanged {
    template <class State>
    void operator()(const std::string& before, const State& state) const {
        EXPECT_EQ(describe(state), before);
    }
};

/// Operations with more allocations than this one are not swept, but are a mistake of the table.
constexpr std::uint64_t mostAllocations = 20'000;

template <class SetUp, class Act, class Check>
class Sweep {
public:
    Sweep(SetUp setUp, Act act, Check check)
        : setUp_(std::move(setUp)), act_(std::move(act)), check_(std::move(check)) {
        // Once without failures: what the process makes at first use is there then, and the outcome is known.
        SCOPED_TRACE("without a shortage");
        auto state = setUp_();
        result_ = describe(run(act_, state));
        changed_ = describe(state);
    }

    std::uint64_t operator()(Shortage shortage) const {
        std::uint64_t failures = 0;
        const int problems = problemsSoFar();
        for (std::uint64_t successes = 0; successes < mostAllocations; ++successes) {
            const std::int64_t before = liveAllocations();
            const Outcome outcome = turn(successes, shortage);
            if (problemsSoFar() > problems) {
                return failures;
            }
            EXPECT_EQ(liveAllocations(), before) << "a leak after " << successes << " allocations";
            if (!outcome.wasShort || problemsSoFar() > problems) {
                return failures;
            }
            failures += outcome.failed ? 1U : 0U;
        }
        ADD_FAILURE() << "never done";
        return failures;
    }

private:
    struct Outcome {
        bool wasShort = false;
        bool failed = false;
    };

    static int problemsSoFar() {
        return ::testing::UnitTest::GetInstance()
            ->current_test_info()
            ->result()
            ->total_part_count();
    }

    // A new object, on which the operation is run with a shortage after so many allocations.
    Outcome turn(std::uint64_t successes, Shortage shortage) const {
        SCOPED_TRACE(::testing::Message() << "after " << successes << " allocations");
        auto state = setUp_();
        const std::string before = describe(state);
        using Result = decltype(run(act_, state));
        std::optional<Result> result;
        bool otherError = false;
        if (shortage == Shortage::Once) {
            failAllocationAfter(successes);
        } else {
            failAllocationsFrom(successes);
        }
        try {
            result.emplace(run(act_, state));
        } catch (const std::bad_alloc&) {
        } catch (...) {
            otherError = true;
        }
        const bool wasShort = failNoAllocation() > 0;
        EXPECT_FALSE(otherError) << "another error than that of the memory";
        if (result.has_value()) {
            // Nothing failed, or the operation could do without.
            expectOutcome(*result, state);
            return {wasShort, false};
        }
        EXPECT_TRUE(wasShort) << "failed without a shortage";
        check_(before, state);
        again(state);
        return {wasShort, true};
    }

    // The object is usable: the operation does on it what it does on a new one. Where something else was
    // left, the object takes a new value first.
    template <class State>
    void again(State& state) const {
        if constexpr (!std::is_same_v<Check, StaysUnchanged>) {
            state = setUp_();
        }
        const auto result = run(act_, state);
        expectOutcome(result, state);
    }

    template <class Result, class State>
    void expectOutcome(const Result& result, const State& state) const {
        EXPECT_EQ(describe(result), result_);
        EXPECT_EQ(describe(state), changed_);
    }

    SetUp setUp_;
    Act act_;
    Check check_;
    std::string result_;
    std::string changed_;
};

}  // namespace sweeping

/// An operation that fails without a trace. `setUp` makes the object that it works on, and whatever else it
/// needs; `act` gets that and returns what is to be compared, or nothing.
template <class SetUp, class Act>
Operation strong(std::string name, SetUp setUp, Act act) {
    return {std::move(name), [setUp, act](Shortage shortage) {
                return sweeping::Sweep(setUp, act, sweeping::StaysUnchanged{})(shortage);
            }};
}

/// The operation of copying.
struct Copied {
    template <class Value>
    Value operator()(const Value& value) const {
        return value;
    }
};

/// One that may leave something else, which `check` gets: what was there before, as text, and what is there.
template <class SetUp, class Act, class Check>
Operation leaving(std::string name, SetUp setUp, Act act, Check check) {
    return {std::move(name), [setUp, act, check](Shortage shortage) {
                return sweeping::Sweep(setUp, act, check)(shortage);
            }};
}

/// One of which nothing is known after a failure but that the object can be described, assigned and destroyed.
template <class SetUp, class Act>
Operation basic(std::string name, SetUp setUp, Act act) {
    return leaving(std::move(name), setUp, act,
                   [](const std::string& /*before*/, const auto& state) {
                       EXPECT_FALSE(describe(state).empty());
                   });
}
}  // namespace foundation::httpclient_core::testing
