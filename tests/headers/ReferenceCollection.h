#pragma once
#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <list>
#include <locale.h>
#include <map>
#include <memory>
#include <new>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <strings.h>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::testing {

/// The collection of names and values in its plainest form: a list of entries that is the authority,
/// and an ordered multimap from the name of each to its place in the list.
///
/// It has the operations of NameValueCollection and shares no code with it, so that tests compare the
/// two and benchmarks have a yardstick. It writes no log.
class ReferenceCollection {
public:
    /// Less-than by the ASCII letters folded, up to the first NUL.
    class CaseInsensitiveCompare {
    public:
        CaseInsensitiveCompare() : handle_(std::make_shared<Handle>()) {}
        CaseInsensitiveCompare(const CaseInsensitiveCompare&) noexcept = default;
        CaseInsensitiveCompare& operator=(const CaseInsensitiveCompare&) noexcept = default;
        ~CaseInsensitiveCompare() = default;

        bool operator()(const std::string& a, const std::string& b) const noexcept {
            return ::strcasecmp_l(a.c_str(), b.c_str(), handle_->locale) < 0;
        }

    private:
        struct Handle {
            Handle() : locale(::newlocale(LC_CTYPE_MASK, "C", locale_t{})) {
                if (locale == locale_t{}) {
                    throw std::bad_alloc();
                }
            }
            Handle(const Handle&) = delete;
            Handle& operator=(const Handle&) = delete;
            ~Handle() { ::freelocale(locale); }
            locale_t locale;
        };
        std::shared_ptr<Handle> handle_;
    };

    using value_type = std::pair<std::string, std::string>;
    using iterator = std::list<value_type>::iterator;
    using const_iterator = std::list<value_type>::const_iterator;
    using Encoder = std::function<std::string(std::string)>;

    ReferenceCollection() = default;
    ReferenceCollection(std::initializer_list<value_type> entries) : list_(entries) { init(); }
    ReferenceCollection(const ReferenceCollection& other) : list_(other.list_) { init(); }
    ReferenceCollection(ReferenceCollection&& other) noexcept
        : list_(std::move(other.list_)), index_(std::move(other.index_)) {
        other.list_.clear();
        other.index_.clear();
    }
    ReferenceCollection& operator=(const ReferenceCollection& other) {
        if (this != &other) {
            index_.clear();
            list_ = other.list_;
            init();
        }
        return *this;
    }
    ReferenceCollection& operator=(ReferenceCollection&& other) noexcept {
        if (this != &other) {
            index_.clear();
            list_.clear();
            list_.swap(other.list_);
            index_.swap(other.index_);
        }
        return *this;
    }
    ~ReferenceCollection() = default;

    std::uint64_t size() const noexcept { return list_.size(); }
    bool empty() const noexcept { return list_.empty(); }
    bool has(const std::string& name) const {
        const auto bound = index_.lower_bound(name);
        return bound != index_.end() && !index_.key_comp()(name, bound->first);
    }
    const_iterator find(const std::string& name) const {
        const auto range = index_.equal_range(name);
        return range.first == range.second ? list_.end() : const_iterator(range.first->second);
    }
    std::string get(const std::string& name) const {
        const auto range = index_.equal_range(name);
        if (range.first == range.second) {
            throw std::out_of_range(name + " not found.");
        }
        return range.first->second->second;
    }
    std::vector<std::string> getAll(const std::string& name) const {
        const auto range = index_.equal_range(name);
        std::vector<std::string> values;
        values.reserve(static_cast<std::size_t>(std::distance(range.first, range.second)));
        std::for_each(range.first, range.second,
                      [&values](const auto& node) { values.push_back(node.second->second); });
        return values;
    }
    iterator begin() noexcept { return list_.begin(); }
    iterator end() noexcept { return list_.end(); }
    const_iterator begin() const noexcept { return list_.begin(); }
    const_iterator end() const noexcept { return list_.end(); }
    const_iterator cbegin() const noexcept { return list_.begin(); }
    const_iterator cend() const noexcept { return list_.end(); }

    void add(std::string name, std::string value) {
        add(value_type(std::move(name), std::move(value)));
    }
    void add(value_type entry) {
        list_.push_back(std::move(entry));
        index_.insert({list_.back().first, std::prev(list_.end())});
    }
    void set(const std::string& name, std::string value) {
        const auto range = index_.equal_range(name);
        if (range.first == range.second) {
            add(name, std::move(value));
        } else {
            range.first->second->second = std::move(value);
        }
    }
    /// `name` must not be a name that is stored in this collection.
    void erase(const std::string& name) {
        const auto range = index_.equal_range(name);
        std::for_each(range.first, range.second,
                      [this](const auto& node) { list_.erase(node.second); });
        index_.erase(range.first, range.second);
    }

    std::ostream& toStream(std::ostream& os,
                           const std::string& entrySeparator,
                           const std::string& keyValueSeparator,
                           const Encoder& encoder) const {
        for (auto entry = list_.begin(); entry != list_.end(); ++entry) {
            const std::string value = encoder(entry->second);
            const std::string name = encoder(entry->first);
            os << (entry == list_.begin() ? std::string() : entrySeparator) << name
               << keyValueSeparator << value;
        }
        return os;
    }
    std::string toString(const std::string& entrySeparator,
                         const std::string& keyValueSeparator,
                         const Encoder& encoder) const {
        std::ostringstream text;
        toStream(text, entrySeparator, keyValueSeparator, encoder);
        return text.str();
    }

    bool operator==(const ReferenceCollection& other) const { return list_ == other.list_; }

private:
    void init() {
        for (auto entry = list_.begin(); entry != list_.end(); ++entry) {
            index_.insert({entry->first, entry});
        }
    }

    std::list<value_type> list_;
    std::multimap<std::string, iterator, CaseInsensitiveCompare> index_;
};

}  // namespace foundation::httpclient_core::testing
