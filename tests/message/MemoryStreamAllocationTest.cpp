#include "message/MemoryStream.h"
#include "support/Streams.h"
#include "tests/support/AllocationCounter.h"

#include <foundation/httpclient_core/ResponseStreamFactory.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <ios>
#include <new>
#include <string>

namespace foundation::httpclient_core {
namespace {

using testing::allocationsOf;

std::uint64_t allocationsOfBody(std::size_t size) {
    const ResponseStreamFactory factory = defaultResponseStreamFactory();
    const std::string body(size, 'x');
    const HttpHeaders headers;
    const std::string reason;
    return allocationsOf([&] {
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
    EXPECT_EQ(allocationsOf([&] {
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
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(support::readWhole(stream).size(), 100'000U); }), 1U);
    EXPECT_EQ(allocationsOf([&] { EXPECT_EQ(support::readRest(stream).size(), 100'000U); }), 1U);
}

TEST(MemoryStreamAllocationTest, FailureSetsBadbitAndKeepsWhatWasThere) {
    const std::string head(500, 'h');
    const std::string more(100'000, 'm');
    // In turn: the places of the chunks, and each of the four chunks.
    for (std::size_t number = 1; number <= 5; ++number) {
        SCOPED_TRACE(::testing::Message() << "allocation " << number);
        MemoryStream stream;
        stream << head;
        testing::failAllocationAfter(number - 1);
        stream << more;
        testing::failNoAllocation();
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
    testing::failAllocationAfter(0);
    EXPECT_THROW(stream.rdbuf()->sputc('y'), std::bad_alloc);
    testing::failNoAllocation();
    EXPECT_TRUE(stream.good());
    EXPECT_EQ(stream.tellp(), std::streampos(512));
    EXPECT_EQ(stream.rdbuf()->sputc('y'), 'y');
    EXPECT_EQ(stream.tellp(), std::streampos(513));
}

}  // namespace
}  // namespace foundation::httpclient_core
