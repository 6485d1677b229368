#include <foundation/httpclient_core/QueryParameters.h>

#include "diagnostics/Log.h"
#include "headers/EntryAccess.h"
#include "support/CountByte.h"
#include "url/BuiltText.h"
#include "url/PercentAlphabet.h"
#include "url/PercentEncode.h"
#include "url/QueryEntries.h"

#include <foundation/httpclient_core/LoggingChannels.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {

namespace {

constexpr char entrySeparator = '&';
constexpr char keyValueSeparator = '=';

std::size_t encodedSize(const std::string& text) {
    return text.size() + (2 * countEscaped(spaceEscaped, text));
}

char* encode(const std::string& text, char* out) {
    return percentEncode(spaceEscaped, text, out);
}

[[noreturn]] void throwMissing(const std::string& key) {
    diagnostics::throwLogged<std::logic_error>(
        SEVERITY_ERROR, "Requested query parameter (" + key + ") doesn't exist");
}

}  // namespace

QueryParameters::QueryParameters() = default;

QueryParameters::QueryParameters(const std::string& query) {
    parse(query);
}

QueryParameters::QueryParameters(
    std::initializer_list<std::pair<std::string, std::string>> parameters) {
    for (const auto& parameter : parameters) {
        if (parameter.first.empty()) {
            diagnostics::throwLogged<std::logic_error>(
                SEVERITY_ERROR, "Cannot create QueryParameter with an empty key");
        }
    }
    parameters_ = NameValueCollection(parameters);
    for (const auto& [key, value] : parameters_) {
        appendRawQueryParameter(key, value);
    }
}

QueryParameters::QueryParameters(NameValueCollection parameters)
    : parameters_(std::move(parameters)) {
    for (const auto& [key, value] : parameters_) {
        appendRawQueryParameter(key, value);
    }
}

void QueryParameters::parse(std::string_view query) {
    if (query.starts_with('?')) {
        query.remove_prefix(1);
    }
    rawQuery_ = query;
    if (!query.empty()) {
        // One allocation for a usual query; a text of nothing but separators does not get more.
        constexpr std::size_t mostAtOnce = 64;
        const std::size_t entries = support::countByte(query, entrySeparator) + 1;
        EntryAccess::reserve(parameters_, std::min(entries, mostAtOnce));
    }
    for (QueryEntries entries(query); entries.next();) {
        // Deliberate: an entry without a key leaves no parameter, but stays in the raw text, so a
        // parsed query prints as it was written.
        if (!entries.key().empty()) {
            EntryAccess::add(parameters_, entries.key(), entries.value());
        }
    }
}

void QueryParameters::addQueryParameter(const std::string& key, std::string value) {
    if (key.empty()) {
        diagnostics::throwLogged<std::logic_error>(SEVERITY_ERROR,
                                                   "Cannot add QueryParameter with an empty key");
    }
    // The raw text first, because it alone can be taken back without failing.
    const std::size_t formerSize = rawQuery_.size();
    try {
        appendRawQueryParameter(key, value);
        parameters_.add(key, std::move(value));
    } catch (...) {
        rawQuery_.resize(formerSize);
        throw;
    }
}

std::string QueryParameters::getParameterValue(const std::string& key) const {
    const const_iterator position = parameters_.find(key);
    if (position == parameters_.end()) {
        throwMissing(key);
    }
    return position->second;
}

std::vector<std::string> QueryParameters::getAllParameterValues(const std::string& key) const {
    if (!hasParameterKey(key)) {
        throwMissing(key);
    }
    // Deliberate: the test above ignores letter case and the collection does not, so a key that is
    // present in another spelling only gives an empty list and no error.
    std::vector<std::string> values;
    for (const auto& [name, value] : parameters_) {
        if (name == key) {
            values.push_back(value);
        }
    }
    return values;
}

bool QueryParameters::hasParameterKey(const std::string& key) const {
    return parameters_.has(key);
}

std::uint64_t QueryParameters::size() const noexcept {
    return parameters_.size();
}

bool QueryParameters::empty() const noexcept {
    return parameters_.empty();
}

QueryParameters::iterator QueryParameters::begin() noexcept {
    return parameters_.begin();
}

QueryParameters::iterator QueryParameters::end() noexcept {
    return parameters_.end();
}

QueryParameters::const_iterator QueryParameters::begin() const noexcept {
    return parameters_.begin();
}

QueryParameters::const_iterator QueryParameters::end() const noexcept {
    return parameters_.end();
}

QueryParameters::const_iterator QueryParameters::cbegin() const noexcept {
    return parameters_.cbegin();
}

QueryParameters::const_iterator QueryParameters::cend() const noexcept {
    return parameters_.cend();
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): members in the interface.
std::string QueryParameters::getEntrySep() const {
    return {entrySeparator};
}

// NOLINTNEXTLINE(readability-convert-member-functions-to-static): members in the interface.
std::string QueryParameters::getKeyValueSep() const {
    return {keyValueSeparator};
}

std::ostream& QueryParameters::toStream(std::ostream& os) const {
    // Nothing at all for an empty object, not even the padding of a width set on the stream.
    return empty() ? os : os << toString();
}

std::string QueryParameters::toString() const {
    constexpr std::size_t longestOnStack = 2048;
    std::size_t bound = 0;
    for (const auto& [key, value] : parameters_) {
        bound += 2 + (3 * (key.size() + value.size()));
    }
    if (bound > longestOnStack) {
        bound = 0;
        for (const auto& [key, value] : parameters_) {
            bound += 2 + encodedSize(key) + encodedSize(value);
        }
    }
    return builtText<longestOnStack, percentEncodeSlack>(bound, [this](char* out) {
        char separator = '?';
        for (const auto& [key, value] : parameters_) {
            *out++ = std::exchange(separator, entrySeparator);
            out = encode(key, out);
            if (!value.empty()) {
                *out++ = keyValueSeparator;
                out = encode(value, out);
            }
        }
        return out;
    });
}

std::string QueryParameters::toUnencodedString() const {
    return rawQuery_.empty() ? std::string() : '?' + rawQuery_;
}

void QueryParameters::appendRawQueryParameter(const std::string& key, const std::string& value) {
    if (!rawQuery_.empty()) {
        rawQuery_ += entrySeparator;
    }
    rawQuery_ += key;
    if (!value.empty()) {
        rawQuery_ += keyValueSeparator;
        rawQuery_ += value;
    }
}

}  // namespace foundation::httpclient_core
