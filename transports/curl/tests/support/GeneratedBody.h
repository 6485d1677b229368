#pragma once
#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iostream>
#include <streambuf>

namespace foundation::httpclient_curl::testing {

/// Blocks of one byte each, so that sanitizers need no look at every byte.
constexpr std::int64_t generatedBlock = 4096;

inline char generatedByte(std::int64_t position) {
    return static_cast<char>((position / generatedBlock) * 37 + 1);
}

/// How many of `wanted` bytes from there on are of the same block.
inline std::int64_t restOfBlock(std::int64_t position, std::int64_t wanted) {
    return std::min(wanted, generatedBlock - position % generatedBlock);
}

/// Reads as a body of that many bytes that are made on the way; holds none of them.
class GeneratedBuffer : public std::streambuf {
public:
    explicit GeneratedBuffer(std::int64_t size) : size_(size) {}

protected:
    std::streamsize xsgetn(char* data, std::streamsize wanted) override {
        const std::streamsize taken = std::min<std::streamsize>(wanted, size_ - position_);
        for (std::streamsize done = 0; done < taken;) {
            const std::int64_t count = restOfBlock(position_, taken - done);
            std::memset(data + done, generatedByte(position_), static_cast<std::size_t>(count));
            done += count;
            position_ += count;
        }
        return taken;
    }
    int_type underflow() override {
        return position_ < size_ ? traits_type::to_int_type(generatedByte(position_))
                                 : traits_type::eof();
    }
    int_type uflow() override {
        const int_type c = underflow();
        position_ += position_ < size_ ? 1 : 0;
        return c;
    }
    pos_type seekoff(off_type offset, std::ios::seekdir from, std::ios::openmode) override {
        position_ = offset + (from == std::ios::beg   ? 0
                              : from == std::ios::cur ? position_
                                                      : size_);
        return position_;
    }
    pos_type seekpos(pos_type position, std::ios::openmode) override {
        position_ = position;
        return position_;
    }

private:
    std::int64_t size_;
    std::int64_t position_ = 0;
};

/// What a checking sink has seen; outlives the sink.
struct Checked {
    std::int64_t bytes = 0;
    std::int64_t wrong = 0;  ///< Parts of blocks.
};

/// Takes a generated body, checks its bytes and keeps none.
class CheckingBuffer : public std::streambuf {
public:
    explicit CheckingBuffer(Checked& checked) : checked_(checked) {}

protected:
    std::streamsize xsputn(const char* data, std::streamsize size) override {
        for (std::streamsize done = 0; done < size;) {
            const std::int64_t count = restOfBlock(checked_.bytes, size - done);
            const char* block = data + done;
            const bool isRight =
                *block == generatedByte(checked_.bytes) &&
                std::memcmp(block, block + 1, static_cast<std::size_t>(count - 1)) == 0;
            checked_.wrong += isRight ? 0 : 1;
            checked_.bytes += count;
            done += count;
        }
        return size;
    }
    int_type overflow(int_type c) override {
        const char byte = traits_type::to_char_type(c);
        xsputn(&byte, 1);
        return traits_type::not_eof(c);
    }

private:
    Checked& checked_;
};

/// A stream that owns its buffer.
template <class Buffer>
class StreamOver : public std::iostream {
public:
    template <class Argument>
    explicit StreamOver(Argument&& argument)
        : std::iostream(nullptr), buffer_(std::forward<Argument>(argument)) {
        rdbuf(&buffer_);
    }

private:
    Buffer buffer_;
};

}  // namespace foundation::httpclient_curl::testing
