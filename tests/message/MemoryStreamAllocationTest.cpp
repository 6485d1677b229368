#include "message/MemoryStream.h"
#include "support/Streams.h"

#include <foundation/httpclient_core/ResponseStreamFactory.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <ios>
#include <limits>
#include <new>
#include <string>

// This executable replaces the allocation functions of the program: they count, and they fail on demand.
namespace {

constexpr std::size_t never = std::numeric_limits<std::size_t>::max();
std::size_t allocations = 0;
std::size_t failingAllocation = never;

void* allocate(std::size_t size) {
    ++allocations;
    if (allocations == failingAllocation) {
        throw std::bad_alloc();
    }
    if (void* memory = std::malloc(size == 0 ? 1 : size)) {
        return memory;
    }
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocate(size);
}
void* operator new[](std::size_t size) {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete[](void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace foundation::httpclient_core {
namespace {

// Calls `action` while its allocation of this number, from 1 on, fails. Returns how many it asked for.
template <class Action>
std::size_t withFailureAt(std::size_t number, const Action& action) {
    allocations = 0;
    failingAllocation = number;
    action();
    failingAllocation = never;
    return allocations;
}

std::size_t allocationsOfBody(std::size_t size) {
    const ResponseStreamFactory factory = defaultResponseStreamFactory();
    const std::string body(size, 'x');
    const HttpHeaders headers;
    const std::string reason;
    return withFailureAt(never, [&] {
        const auto stream = factory(HttpResponseCode::OK, reason, headers);
        stream->write(body.data(), static_cast<std::streamsize>(size));
    });
}

TEST(MemoryStreamAllocationTest, ShortBodiesNeedTheStreamOnly) {
    EXPECT_EQ(allocationsOfBody(0), 1U);
    EXPECT_EQ(allocationsOfBody(100), 1U);
    EXPECT_EQ(allocationsOfBody(512), 1U);
}

TEST(MemoryStreamAllocationTest, LongBodiesNeedOneAllocationForEachChunkAndOneForTheirPlaces) {
    EXPECT_EQ(allocationsOfBody(513), 1U + 1U + 1U);
    EXPECT_EQ(allocationsOfBody(4096), 1U + 1U + 2U);
    EXPECT_EQ(allocationsOfBody(1'000'000), 1U + 1U + 6U);
}

TEST(MemoryStreamAllocationTest, ReadingAndSeekingAllocateNothing) {
    MemoryStream stream;
    stream << std::string(100'000, 'x');
    std::string read(100'000, '\0');
    EXPECT_EQ(withFailureAt(never,
                            [&] {
                                stream.seekg(50'000);
                                stream.seekp(10);
                                stream.put('y');
                                stream.seekg(0);
                                stream.read(read.data(), 100'000);
                                stream.unget();
                            }),
              0U);
    EXPECT_EQ(stream.gcount(), 0);
    EXPECT_EQ(read[10], 'y');
}

TEST(MemoryStreamAllocationTest, TakingTheWholeTextAllocatesItOnce) {
    MemoryStream stream;
    stream << std::string(100'000, 'x');
    EXPECT_EQ(withFailureAt(never, [&] { EXPECT_EQ(support::readWhole(stream).size(), 100'000U); }),
              1U);
    EXPECT_EQ(withFailureAt(never, [&] { EXPECT_EQ(support::readRest(stream).size(), 100'000U); }),
              1U);
}

TEST(MemoryStreamAllocationTest, FailureSetsBadbitAndKeepsWhatWasThere) {
    const std::string head(500, 'h');
    const std::string more(100'000, 'm');
    // In turn: the places of the chunks, and each of the four chunks.
    for (std::size_t number = 1; number <= 5; ++number) {
        SCOPED_TRACE(::testing::Message() << "allocation " << number);
        MemoryStream stream;
        stream << head;
        withFailureAt(number, [&] { stream << more; });
        EXPECT_EQ(stream.rdstate(), std::ios::badbit);
        stream.clear();
        // What found its place stays, as with a string stream.
        const std::string text = support::readWhole(stream);
        EXPECT_EQ(text, (head + more).substr(0, text.size()));
        EXPECT_GE(text.size(), 512U);
        EXPECT_EQ(stream.tellp(), std::streampos(static_cast<std::streamoff>(text.size())));

        stream << more;
        EXPECT_TRUE(stream.good());
        EXPECT_EQ(support::readWhole(stream), text + more);
    }
}

TEST(MemoryStreamAllocationTest, FailureLeavesTheBufferAsTheExceptionItIs) {
    MemoryStream stream;
    stream << std::string(512, 'x');
    withFailureAt(1, [&] { EXPECT_THROW(stream.rdbuf()->sputc('y'), std::bad_alloc); });
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.tellp(), std::streampos(512));
    EXPECT_EQ(stream.rdbuf()->sputc('y'), 'y');
    EXPECT_EQ(stream.tellp(), std::streampos(513));
}

}  // namespace
}  // namespace foundation::httpclient_core
