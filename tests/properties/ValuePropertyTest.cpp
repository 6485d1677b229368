#include "tests/properties/AnyValue.h"
#include "tests/properties/Property.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <concepts>
#include <string>
#include <utility>

// What copying, moving and assigning keep of any value whatever, where the tests of the contract look at
// chosen ones.
namespace foundation::httpclient_core {
namespace {

using testing::CaseRandom;
using testing::forAllCases;
using testing::values::Any;
using testing::values::CopyableTypes;
using testing::values::describe;
using testing::values::MovableTypes;
using testing::values::Sample;
using testing::values::survivesSelfMove;
using testing::values::TypeName;

template <class T>
class CopyPropertyTest : public ::testing::Test {
    testing::LogCapture log_;
};
TYPED_TEST_SUITE(CopyPropertyTest, CopyableTypes, TypeName);

template <class T>
class MovePropertyTest : public ::testing::Test {
    testing::LogCapture log_;
};
TYPED_TEST_SUITE(MovePropertyTest, MovableTypes, TypeName);

TYPED_TEST(CopyPropertyTest, CopiesEqualTheirSourceAndAreIndependentOfIt) {
    forAllCases([](CaseRandom& random) {
        const TypeParam source = Any<TypeParam>::make(random);
        TypeParam target = Any<TypeParam>::make(random);
        const std::string text = describe(source);
        const TypeParam copy(source);
        target = copy;
        if constexpr (std::equality_comparable<TypeParam>) {
            ASSERT_TRUE(copy == source && target == copy);
        }
        const TypeParam& self = target;
        target = self;
        ASSERT_EQ(describe(target), text);
        Sample<TypeParam>::change(target);
        ASSERT_EQ(describe(copy), text);
    });
}

TYPED_TEST(MovePropertyTest, MovesTakeTheWholeValueAndLeaveAUsableOne) {
    forAllCases([](CaseRandom& random) {
        CaseRandom again = random;
        TypeParam source = Any<TypeParam>::make(random);
        const std::string text = describe(source);
        if (random.oneIn(2)) {
            const TypeParam target(std::move(source));
            ASSERT_EQ(describe(target), text);
        } else {
            TypeParam target = Any<TypeParam>::make(random);
            target = std::move(source);
            ASSERT_EQ(describe(target), text);
        }
        // What was moved from can be read and takes a value again.
        static_cast<void>(describe(source));
        source = Any<TypeParam>::make(again);
        if constexpr (survivesSelfMove<TypeParam>) {
            TypeParam& self = source;
            source = std::move(self);
        }
        ASSERT_EQ(describe(source), text);
    });
}

}  // namespace
}  // namespace foundation::httpclient_core
