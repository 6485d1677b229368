#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <list>
#include <map>
#include <memory>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>
namespace foundation::httpclient_core {
class FOUNDATION_HTTPCLIENT_CORE_API NameValueCollection {
public:
    struct FOUNDATION_HTTPCLIENT_CORE_API CaseInsensitiveCompare {
        CaseInsensitiveCompare();
        CaseInsensitiveCompare(const CaseInsensitiveCompare&) noexcept = default;
        CaseInsensitiveCompare& operator=(const CaseInsensitiveCompare&) noexcept = default;
        ~CaseInsensitiveCompare() = default;
        bool operator()(const std::string& a, const std::string& b) const noexcept;

    private:
        struct Impl;
        std::shared_ptr<Impl> impl_;
    };

    using value_type = std::pair<std::string, std::string>;
    using Encoder = std::function<std::string(std::string)>;

private:
    using EntryList = std::list<value_type>;

    template <class Value>
    class EntryIterator {
        using Position = std::
            conditional_t<std::is_const_v<Value>, EntryList::const_iterator, EntryList::iterator>;

    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = std::remove_const_t<Value>;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        EntryIterator() = default;
        /// Converts a mutable iterator into a constant one; never the other way round.
        template <class Other>
            requires(std::is_const_v<Value> && std::is_same_v<Other, value_type>)
        EntryIterator(const EntryIterator<Other>& other) noexcept : position_(other.position_) {}

        reference operator*() const noexcept { return *position_; }
        pointer operator->() const noexcept { return std::addressof(*position_); }
        EntryIterator& operator++() noexcept {
            ++position_;
            return *this;
        }
        EntryIterator operator++(int) noexcept {
            EntryIterator before = *this;
            ++position_;
            return before;
        }
        EntryIterator& operator--() noexcept {
            --position_;
            return *this;
        }
        EntryIterator operator--(int) noexcept {
            EntryIterator before = *this;
            --position_;
            return before;
        }
        friend bool operator==(const EntryIterator& a, const EntryIterator& b) noexcept {
            return a.position_ == b.position_;
        }

    private:
        friend class NameValueCollection;
        template <class>
        friend class EntryIterator;
        explicit EntryIterator(Position position) noexcept : position_(position) {}
        Position position_{};
    };

public:
    using iterator = EntryIterator<value_type>;
    using const_iterator = EntryIterator<const value_type>;

    NameValueCollection();
    NameValueCollection(std::initializer_list<value_type> entries);
    NameValueCollection(const NameValueCollection& other);
    NameValueCollection(NameValueCollection&& other) noexcept;
    NameValueCollection& operator=(const NameValueCollection& other);
    NameValueCollection& operator=(NameValueCollection&& other) noexcept;
    ~NameValueCollection();

    void add(std::string name, std::string value);
    void add(value_type entry);
    void set(const std::string& name, std::string value);
    void erase(const std::string& name);
    std::string get(const std::string& name) const;
    std::vector<std::string> getAll(const std::string& name) const;
    bool has(const std::string& name) const;
    const_iterator find(const std::string& name) const;
    std::uint64_t size() const noexcept;
    bool empty() const noexcept;
    iterator begin() noexcept;
    iterator end() noexcept;
    const_iterator begin() const noexcept;
    const_iterator end() const noexcept;
    const_iterator cbegin() const noexcept;
    const_iterator cend() const noexcept;
    bool operator==(const NameValueCollection& other) const;
    std::ostream& toStream(std::ostream& os,
                           const std::string& entrySeparator,
                           const std::string& keyValueSeparator,
                           const Encoder& encoder) const;
    std::string toString(const std::string& entrySeparator,
                         const std::string& keyValueSeparator,
                         const Encoder& encoder) const;

private:
    using Index = std::multimap<std::string, EntryList::iterator, CaseInsensitiveCompare>;

    void init();

    EntryList entries_;
    Index index_;
};
}  // namespace foundation::httpclient_core
