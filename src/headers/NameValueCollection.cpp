#include <foundation/httpclient_core/NameValueCollection.h>

#include "diagnostics/Log.h"
#include "headers/CapacityCheck.h"

#include <foundation/httpclient_core/LoggingChannels.h>

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {

NameValueCollection::NameValueCollection() = default;

NameValueCollection::NameValueCollection(std::initializer_list<value_type> entries)
    : entries_(entries) {
    init();
}

NameValueCollection::NameValueCollection(const NameValueCollection& other)
    : entries_(other.entries_) {
    init();
}

// The comparator has no move operations: it is copied, and `other` stays usable with its own.
NameValueCollection::NameValueCollection(NameValueCollection&& other) noexcept = default;

NameValueCollection& NameValueCollection::operator=(const NameValueCollection& other) {
    if (this == &other) {
        return *this;
    }
    // First, since it refers to the entries that go.
    index_.clear();
    try {
        entries_ = other.entries_;
        init();
    } catch (...) {
        // Some entries are old and some are new by then; empty is the one state a caller can count on.
        index_.clear();
        entries_.clear();
        throw;
    }
    return *this;
}

NameValueCollection& NameValueCollection::operator=(NameValueCollection&& other) noexcept {
    // The standard containers empty themselves when moved onto themselves.
    if (this != &other) {
        entries_ = std::move(other.entries_);
        index_ = std::move(other.index_);
        other.entries_.clear();
        other.index_.clear();
    }
    return *this;
}

NameValueCollection::~NameValueCollection() = default;

void NameValueCollection::init() {
    for (auto position = entries_.begin(); position != entries_.end(); ++position) {
        index_.emplace(position->first, position);
    }
}

void NameValueCollection::add(std::string name, std::string value) {
    add(value_type(std::move(name), std::move(value)));
}

void NameValueCollection::add(value_type entry) {
    requireRoomForOneMore(entries_.size(), entries_.max_size(), "list too long");
    requireRoomForOneMore(index_.size(), index_.max_size(), "map/set too long");
    entries_.push_back(std::move(entry));
    try {
        index_.emplace(entries_.back().first, std::prev(entries_.end()));
    } catch (...) {
        // An entry outside the index could be neither found nor erased.
        entries_.pop_back();
        throw;
    }
}

void NameValueCollection::set(const std::string& name, std::string value) {
    const auto [first, last] = index_.equal_range(name);
    if (first != last) {
        first->second->second = std::move(value);
    } else {
        add(name, std::move(value));
    }
}

void NameValueCollection::erase(const std::string& name) {
    const auto [first, last] = index_.equal_range(name);
    // Kept until the end: `name` may be the stored name of one of the entries.
    EntryList erased;
    for (auto position = first; position != last; ++position) {
        erased.splice(erased.end(), entries_, position->second);
    }
    index_.erase(first, last);
}

std::string NameValueCollection::get(const std::string& name) const {
    const const_iterator position = find(name);
    if (position == end()) {
        diagnostics::throwLogged<std::out_of_range>(SEVERITY_ERROR, name + " not found.");
    }
    return position->second;
}

std::vector<std::string> NameValueCollection::getAll(const std::string& name) const {
    const auto [first, last] = index_.equal_range(name);
    std::vector<std::string> values;
    values.reserve(static_cast<std::size_t>(std::distance(first, last)));
    for (auto position = first; position != last; ++position) {
        values.push_back(position->second->second);
    }
    return values;
}

bool NameValueCollection::has(const std::string& name) const {
    const auto bound = index_.lower_bound(name);
    return bound != index_.end() && !index_.key_comp()(name, bound->first);
}

NameValueCollection::const_iterator NameValueCollection::find(const std::string& name) const {
    const auto bound = index_.lower_bound(name);
    if (bound == index_.end() || index_.key_comp()(name, bound->first)) {
        return end();
    }
    return const_iterator(bound->second);
}

std::uint64_t NameValueCollection::size() const noexcept {
    return entries_.size();
}

bool NameValueCollection::empty() const noexcept {
    return entries_.empty();
}

NameValueCollection::iterator NameValueCollection::begin() noexcept {
    return iterator(entries_.begin());
}

NameValueCollection::iterator NameValueCollection::end() noexcept {
    return iterator(entries_.end());
}

NameValueCollection::const_iterator NameValueCollection::begin() const noexcept {
    return const_iterator(entries_.begin());
}

NameValueCollection::const_iterator NameValueCollection::end() const noexcept {
    return const_iterator(entries_.end());
}

NameValueCollection::const_iterator NameValueCollection::cbegin() const noexcept {
    return begin();
}

NameValueCollection::const_iterator NameValueCollection::cend() const noexcept {
    return end();
}

bool NameValueCollection::operator==(const NameValueCollection& other) const {
    return entries_ == other.entries_;
}

namespace {

/// Hands the texts of a printed collection to `put` in order, each entry only after its value and then
/// its name were encoded.
template <class Entries, class Put>
void print(const Entries& entries,
           const std::string& entrySeparator,
           const std::string& keyValueSeparator,
           const NameValueCollection::Encoder& encoder,
           const Put& put) {
    bool first = true;
    for (const auto& [name, value] : entries) {
        const std::string encodedValue = encoder(value);
        const std::string encodedName = encoder(name);
        if (!first) {
            put(entrySeparator);
        }
        first = false;
        put(encodedName);
        put(keyValueSeparator);
        put(encodedValue);
    }
}

}  // namespace

std::ostream& NameValueCollection::toStream(std::ostream& os,
                                            const std::string& entrySeparator,
                                            const std::string& keyValueSeparator,
                                            const Encoder& encoder) const {
    print(entries_, entrySeparator, keyValueSeparator, encoder,
          [&os](const std::string& text) { os << text; });
    return os;
}

std::string NameValueCollection::toString(const std::string& entrySeparator,
                                          const std::string& keyValueSeparator,
                                          const Encoder& encoder) const {
    // What the entries need as they are stored; an encoder that lengthens them lets the text grow.
    std::size_t size = 0;
    for (const auto& [name, value] : entries_) {
        size += entrySeparator.size() + name.size() + keyValueSeparator.size() + value.size();
    }
    std::string result;
    result.reserve(size);
    print(entries_, entrySeparator, keyValueSeparator, encoder,
          [&result](const std::string& text) { result += text; });
    return result;
}

}  // namespace foundation::httpclient_core
