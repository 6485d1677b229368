#pragma once
#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstddef>
#include <functional>
#include <iterator>
#include <list>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace foundation::httpclient_core::benchmarks {

/// A list of the entries with an ordered multimap over them, and header texts cut by copying.
class ReferenceHeaders {
public:
    using value_type = std::pair<std::string, std::string>;
    using Entries = std::list<value_type>;

    ReferenceHeaders() = default;
    ReferenceHeaders(const ReferenceHeaders& other) : entries_(other.entries_) {
        for (auto position = entries_.begin(); position != entries_.end(); ++position) {
            index_.emplace(position->first, position);
        }
    }
    ReferenceHeaders(ReferenceHeaders&&) = default;
    ReferenceHeaders& operator=(const ReferenceHeaders&) = delete;
    ReferenceHeaders& operator=(ReferenceHeaders&&) = default;
    ~ReferenceHeaders() = default;

    void add(std::string name, std::string value) {
        entries_.emplace_back(std::move(name), std::move(value));
        index_.emplace(entries_.back().first, std::prev(entries_.end()));
    }
    void erase(const std::string& name) {
        const auto [first, last] = index_.equal_range(name);
        for (auto position = first; position != last; ++position) {
            entries_.erase(position->second);
        }
        index_.erase(first, last);
    }
    std::string get(const std::string& name) const {
        const auto position = index_.find(name);
        if (position == index_.end()) {
            throw std::out_of_range(name + " not found.");
        }
        return position->second->second;
    }
    std::vector<std::string> getAll(const std::string& name) const {
        const auto [first, last] = index_.equal_range(name);
        std::vector<std::string> values;
        for (auto position = first; position != last; ++position) {
            values.push_back(position->second->second);
        }
        return values;
    }
    bool has(const std::string& name) const { return index_.find(name) != index_.end(); }
    std::size_t size() const { return entries_.size(); }
    Entries::const_iterator begin() const { return entries_.begin(); }
    Entries::const_iterator end() const { return entries_.end(); }

    std::string toString(const std::string& entrySeparator,
                         const std::string& keyValueSeparator,
                         const std::function<std::string(std::string)>& encoder) const {
        std::ostringstream text;
        std::string separator;
        for (const auto& [name, value] : entries_) {
            text << separator << encoder(name) << keyValueSeparator << encoder(value);
            separator = entrySeparator;
        }
        return text.str();
    }

private:
    Entries entries_;
    std::multimap<std::string, Entries::iterator, NameValueCollection::CaseInsensitiveCompare>
        index_;
};

}  // namespace foundation::httpclient_core::benchmarks
