#pragma once
#include <cstddef>
#include <memory>
#include <string>
#include <utility>

namespace foundation::httpclient_core::benchmarks {

/// No collection, but what every one with entries of two strings and an `add` by value must do: the two
/// texts of each entry are made and moved into memory that is there. Nothing can be found in it. Not a
/// vector, so that room is made once, as by a collection that knows its size.
class BareTexts {
public:
    using Entry = std::pair<std::string, std::string>;
    static constexpr std::size_t room = 60;

    BareTexts() : entries_(allocate()) {}
    BareTexts(const BareTexts& other) : entries_(allocate()) {
        for (const Entry& entry : other) {
            std::construct_at(entries_ + size_, entry);
            ++size_;
        }
    }
    BareTexts& operator=(const BareTexts&) = delete;
    ~BareTexts() {
        std::destroy_n(entries_, size_);
        std::allocator<Entry>().deallocate(entries_, room);
    }

    /// A call, as one into a library is.
    [[gnu::noinline]] void add(std::string name, std::string value) {
        std::construct_at(entries_ + size_, std::move(name), std::move(value));
        ++size_;
    }
    const Entry* begin() const { return entries_; }
    const Entry* end() const { return entries_ + size_; }

private:
    static Entry* allocate() { return std::allocator<Entry>().allocate(room); }

    Entry* entries_;
    std::size_t size_ = 0;
};

struct BareHeaders {
    using Headers = BareTexts;

    static void add(Headers& headers, const std::string& name, const std::string& value) {
        headers.add(name, value);
    }
};

}  // namespace foundation::httpclient_core::benchmarks
