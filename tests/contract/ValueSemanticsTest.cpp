#include "tests/contract/ValueSamples.h"
#include "tests/support/LogCapture.h"

#include <foundation/httpclient_core.h>

#include <gtest/gtest.h>

#include <concepts>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>

// What every value type of the library does when it is copied, moved and assigned.
namespace foundation::httpclient_core {
namespace {

using testing::values::CopyableTypes;
using testing::values::describe;
using testing::values::HasOneValue;
using testing::values::MovableTypes;
using testing::values::Sample;
using testing::values::survivesSelfMove;
using testing::values::TypeName;

template <class T>
class CopySemanticsTest : public ::testing::Test {
    // Reading what a value does not have may write records; none is to reach the terminal.
    testing::LogCapture log_;
};
TYPED_TEST_SUITE(CopySemanticsTest, CopyableTypes, TypeName);

template <class T>
class MoveSemanticsTest : public ::testing::Test {
    testing::LogCapture log_;
};
TYPED_TEST_SUITE(MoveSemanticsTest, MovableTypes, TypeName);

TYPED_TEST(CopySemanticsTest, CopyEqualsItsSource) {
    const TypeParam source = Sample<TypeParam>::first();
    const TypeParam copy(source);
    EXPECT_EQ(describe(copy), describe(source));
    EXPECT_EQ(describe(copy), describe(Sample<TypeParam>::first()));
    if constexpr (std::equality_comparable<TypeParam>) {
        EXPECT_TRUE(copy == source);
        EXPECT_FALSE(copy == Sample<TypeParam>::second());
    }
}

TYPED_TEST(CopySemanticsTest, CopyIsIndependentOfItsSource) {
    TypeParam source = Sample<TypeParam>::first();
    const std::string before = describe(source);
    TypeParam copy(source);
    Sample<TypeParam>::change(copy);
    EXPECT_EQ(describe(source), before);
    const std::string changed = describe(copy);
    if constexpr (!HasOneValue<TypeParam>) {
        EXPECT_NE(changed, before);
    }
    source = Sample<TypeParam>::second();
    EXPECT_EQ(describe(copy), changed);
}

TYPED_TEST(CopySemanticsTest, CopyOutlivesItsSource) {
    auto source = std::make_unique<TypeParam>(Sample<TypeParam>::first());
    const TypeParam copy(*source);
    source.reset();
    EXPECT_EQ(describe(copy), describe(Sample<TypeParam>::first()));
}

TYPED_TEST(CopySemanticsTest, CopyAssignmentReplacesTheWholeValue) {
    const TypeParam source = Sample<TypeParam>::first();
    TypeParam target = Sample<TypeParam>::second();
    EXPECT_EQ(&(target = source), &target);
    EXPECT_EQ(describe(target), describe(source));
    const TypeParam other = Sample<TypeParam>::second();
    target = other;
    EXPECT_EQ(describe(target), describe(other));
    EXPECT_EQ(describe(source), describe(Sample<TypeParam>::first()));
}

TYPED_TEST(CopySemanticsTest, SelfCopyAssignmentLeavesTheValue) {
    TypeParam value = Sample<TypeParam>::first();
    const TypeParam& self = value;
    value = self;
    EXPECT_EQ(describe(value), describe(Sample<TypeParam>::first()));
}

TYPED_TEST(MoveSemanticsTest, SamplesDiffer) {
    if constexpr (!HasOneValue<TypeParam>) {
        EXPECT_NE(describe(Sample<TypeParam>::first()), describe(Sample<TypeParam>::second()));
    }
}

TYPED_TEST(MoveSemanticsTest, MoveConstructionTakesTheWholeValue) {
    TypeParam source = Sample<TypeParam>::first();
    const TypeParam target(std::move(source));
    EXPECT_EQ(describe(target), describe(Sample<TypeParam>::first()));
}

TYPED_TEST(MoveSemanticsTest, MoveAssignmentTakesTheWholeValue) {
    TypeParam source = Sample<TypeParam>::first();
    TypeParam target = Sample<TypeParam>::second();
    EXPECT_EQ(&(target = std::move(source)), &target);
    EXPECT_EQ(describe(target), describe(Sample<TypeParam>::first()));
    target = Sample<TypeParam>::second();
    EXPECT_EQ(describe(target), describe(Sample<TypeParam>::second()));
}

TYPED_TEST(MoveSemanticsTest, MovedFromObjectCanBeReadAndAssigned) {
    for (const bool byConstruction : {true, false}) {
        TypeParam source = Sample<TypeParam>::first();
        TypeParam target = Sample<TypeParam>::second();
        if (byConstruction) {
            const TypeParam taken(std::move(source));
            EXPECT_EQ(describe(taken), describe(Sample<TypeParam>::first()));
        } else {
            target = std::move(source);
        }
        EXPECT_NO_THROW(static_cast<void>(describe(source)));
        source = Sample<TypeParam>::second();
        EXPECT_EQ(describe(source), describe(Sample<TypeParam>::second()));
        source = Sample<TypeParam>::first();
        EXPECT_EQ(describe(source), describe(Sample<TypeParam>::first()));
    }
}

TYPED_TEST(MoveSemanticsTest, MovedFromObjectCanBeCopiedMovedAndDestroyed) {
    TypeParam source = Sample<TypeParam>::first();
    TypeParam taken(std::move(source));
    if constexpr (std::copyable<TypeParam>) {
        const TypeParam copy(source);
        EXPECT_EQ(describe(copy), describe(source));
    }
    TypeParam moved(std::move(source));
    taken = std::move(moved);
    EXPECT_NO_THROW(static_cast<void>(describe(taken)));
}

TYPED_TEST(MoveSemanticsTest, SelfMoveAssignmentLeavesAUsableValue) {
    TypeParam value = Sample<TypeParam>::first();
    TypeParam& self = value;
    value = std::move(self);
    if constexpr (survivesSelfMove<TypeParam>) {
        EXPECT_EQ(describe(value), describe(Sample<TypeParam>::first()));
    } else {
        EXPECT_NO_THROW(static_cast<void>(describe(value)));
    }
    value = Sample<TypeParam>::second();
    EXPECT_EQ(describe(value), describe(Sample<TypeParam>::second()));
}

TYPED_TEST(MoveSemanticsTest, SwapExchangesTheValues) {
    TypeParam a = Sample<TypeParam>::first();
    TypeParam b = Sample<TypeParam>::second();
    std::swap(a, b);
    EXPECT_EQ(describe(a), describe(Sample<TypeParam>::second()));
    EXPECT_EQ(describe(b), describe(Sample<TypeParam>::first()));
}

static_assert(!std::is_copy_constructible_v<HttpRequest>);
static_assert(!std::is_copy_assignable_v<HttpRequest>);
static_assert(!std::is_copy_constructible_v<HttpResponse>);
static_assert(!std::is_copy_assignable_v<HttpResponse>);

}  // namespace
}  // namespace foundation::httpclient_core
