#pragma once
#include <functional>
#include <iostream>
#include <sstream>
#include <streambuf>
#include <string>
#include <utility>

namespace foundation::httpclient_core::testing {

/// A buffer that reads from one text, appends to another, and has no position, as a pipe has none.
class UnseekableBuffer : public std::streambuf {
public:
    explicit UnseekableBuffer(std::string input) : input_(std::move(input)) {
        setg(input_.data(), input_.data(), input_.data() + input_.size());
    }

    const std::string& written() const { return written_; }

protected:
    int_type overflow(int_type c) override {
        if (!traits_type::eq_int_type(c, traits_type::eof())) {
            written_.push_back(traits_type::to_char_type(c));
        }
        return traits_type::not_eof(c);
    }

private:
    std::string input_;
    std::string written_;
};

/// A stream over a buffer of its own, which is destroyed with it.
template <class Buffer>
class StreamOver : private Buffer, public std::iostream {
public:
    template <class... Arguments>
    explicit StreamOver(Arguments&&... arguments)
        : Buffer(std::forward<Arguments>(arguments)...),
          std::iostream(static_cast<Buffer*>(this)) {}

    Buffer& buffer() { return *this; }
};

using UnseekableStream = StreamOver<UnseekableBuffer>;

/// A string stream that tells when it is flushed and when it is destroyed.
class ObservedStream : public std::iostream {
public:
    explicit ObservedStream(std::function<void(const char*)> observer)
        : std::iostream(nullptr), buffer_(std::move(observer)) {
        rdbuf(&buffer_);
    }

private:
    class Buffer : public std::stringbuf {
    public:
        explicit Buffer(std::function<void(const char*)> observer)
            : observer_(std::move(observer)) {}
        Buffer(const Buffer&) = delete;
        Buffer& operator=(const Buffer&) = delete;
        ~Buffer() override { observer_("destroyed"); }

    protected:
        int sync() override {
            observer_("flushed");
            return std::stringbuf::sync();
        }

    private:
        std::function<void(const char*)> observer_;
    };

    Buffer buffer_;
};

}  // namespace foundation::httpclient_core::testing
