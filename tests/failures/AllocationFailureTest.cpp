#include "tests/failures/Tables.h"
#include "tests/support/AllocationCounter.h"

#include <boost/log/core/core.hpp>
#include <boost/log/sinks/basic_sink_backend.hpp>
#include <boost/log/sinks/sync_frontend.hpp>
#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <iostream>
#include <new>
#include <ostream>
#include <set>
#include <string>
#include <vector>

namespace foundation::httpclient_core::testing {
namespace {

using ::testing::HasSubstr;

struct Table {
    const char* label;
    Operations (*operations)();
    friend std::ostream& operator<<(std::ostream& os, const Table& table) {
        return os << table.label;
    }
};

const std::vector<Table> tables{{"Collections", collectionOperations},
                                {"Headers", headerOperations},
                                {"URLs", urlOperations},
                                {"Queries", queryOperations},
                                {"Messages", messageOperations},
                                {"Requests", requestOperations},
                                {"Responses", responseOperations},
                                {"Bodies", bodyOperations},
                                {"Configurations", configurationOperations},
                                {"Strategies", strategyOperations},
                                {"Diagnostics", diagnosticsOperations},
                                {"Client", clientOperations}};

class AllocationFailureTest : public ::testing::TestWithParam<Table> {
protected:
    // Records are written, and go nowhere.
    AllocationFailureTest() : sink_(boost::make_shared<Sink>(boost::make_shared<Backend>())) {
        boost::log::core::get()->add_sink(sink_);
    }
    ~AllocationFailureTest() override { boost::log::core::get()->remove_sink(sink_); }
    AllocationFailureTest(const AllocationFailureTest&) = delete;
    AllocationFailureTest& operator=(const AllocationFailureTest&) = delete;

    static void sweepAll(Shortage shortage) {
        std::uint64_t failures = 0;
        const Operations operations = GetParam().operations();
        for (const Operation& operation : operations) {
            SCOPED_TRACE(operation.name);
            failures += operation.sweep(shortage);
        }
        EXPECT_GT(failures, operations.size());
        std::cout << operations.size() << " operations, " << failures << " failures\n";
    }

private:
    struct Backend
        : boost::log::sinks::basic_sink_backend<boost::log::sinks::synchronized_feeding> {
        void consume(const boost::log::record_view& /*record*/) {}
    };
    using Sink = boost::log::sinks::synchronous_sink<Backend>;

    boost::shared_ptr<Sink> sink_;
};

TEST_P(AllocationFailureTest, OfOneAllocationKeepsTheGuarantee) {
    sweepAll(Shortage::Once);
}

TEST_P(AllocationFailureTest, OfAllFromOneOnKeepsTheGuarantee) {
    sweepAll(Shortage::ForEver);
}

INSTANTIATE_TEST_SUITE_P(Table,
                         AllocationFailureTest,
                         ::testing::ValuesIn(tables),
                         [](const auto& table) { return table.param.label; });

TEST(AllocationFailureTablesTest, NameEveryOperationOnce) {
    std::set<std::string> names;
    std::size_t count = 0;
    for (const Table& table : tables) {
        for (const Operation& operation : table.operations()) {
            names.insert(operation.name);
            ++count;
        }
    }
    EXPECT_EQ(names.size(), count);
    EXPECT_GE(count, 150U);
}

std::string problemsOf(const Operation& operation) {
    ::testing::TestPartResultArray problems;
    {
        const ::testing::ScopedFakeTestPartResultReporter reporter(
            ::testing::ScopedFakeTestPartResultReporter::INTERCEPT_ONLY_CURRENT_THREAD, &problems);
        operation.sweep(Shortage::Once);
    }
    std::string text;
    for (int i = 0; i < problems.size(); ++i) {
        text += problems.GetTestPartResult(i).message();
    }
    return text;
}

TEST(AllocationFailureSweepTest, SeesALeakAndABrokenGuarantee) {
    const auto text = [] { return std::string(100, 'x'); };
    const Operation sound =
        strong("sound", text, [](std::string& s) { s += std::string(100, 'y'); });
    EXPECT_EQ(sound.sweep(Shortage::Once), 2U);
    EXPECT_EQ(sound.sweep(Shortage::ForEver), 2U);
    static std::vector<void*> leaked;
    leaked.reserve(10);
    const Operation leaking = strong("leaking", text, [](std::string& s) {
        leaked.push_back(::operator new(1));
        s += std::string(100, 'y');
        ::operator delete(leaked.back());
        leaked.pop_back();
    });
    EXPECT_THAT(problemsOf(leaking), HasSubstr("a leak"));
    for (void* block : leaked) {
        ::operator delete(block);
    }
    const Operation weak = strong("weak", text, [](std::string& s) {
        s += '!';
        s += std::string(100, 'y');
    });
    EXPECT_THAT(problemsOf(weak), HasSubstr("x!"));
}

}  // namespace
}  // namespace foundation::httpclient_core::testing
