#include <foundation/httpclient_core/NameValueCollection.h>

#include "diagnostics/Log.h"
#include "headers/EntryAccess.h"
#include "headers/EntryStore.h"
#include "headers/FoldedName.h"
#include "headers/IdentityEncoder.h"
#include "headers/StoredEntry.h"

#include <foundation/httpclient_core/LoggingChannels.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <ostream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {

NameValueCollection::NameValueCollection() = default;

NameValueCollection::NameValueCollection(std::initializer_list<value_type> entries) {
    appendAll(entries.begin(), entries.end(), entries.size());
}

NameValueCollection::NameValueCollection(const NameValueCollection& other) {
    appendAll(other.begin(), other.end(), other.size());
}

NameValueCollection::NameValueCollection(NameValueCollection&& other) noexcept {
    takeFrom(other);
}

NameValueCollection& NameValueCollection::operator=(const NameValueCollection& other) {
    if (this != &other) {
        clear();
        appendAll(other.begin(), other.end(), other.size());
    }
    return *this;
}

NameValueCollection& NameValueCollection::operator=(NameValueCollection&& other) noexcept {
    if (this != &other) {
        clear();
        takeFrom(other);
    }
    return *this;
}

NameValueCollection::~NameValueCollection() {
    clear();
}

void NameValueCollection::clear() noexcept {
    EntryStore::destroyEntries(ring_);
    EntryStore::Release()(std::exchange(store_, nullptr));
}

// Entries stay where they are; the ends of their ring are tied to this collection, which is empty.
void NameValueCollection::takeFrom(NameValueCollection& other) noexcept {
    store_ = std::exchange(other.store_, nullptr);
    if (other.ring_.next != &other.ring_) {
        ring_ = std::exchange(other.ring_, {&other.ring_, &other.ring_});
        ring_.next->previous = &ring_;
        ring_.previous->next = &ring_;
    }
}

template <class Iterator>
void NameValueCollection::appendAll(Iterator first, Iterator last, std::size_t count) {
    if (count == 0) {
        return;
    }
    store_ = EntryStore::make(count).release();
    try {
        for (; first != last; ++first) {
            store_->append(ring_, SoughtName(first->first), first->first, first->second);
        }
    } catch (...) {
        clear();
        throw;
    }
}

EntryStore& NameValueCollection::store() {
    if (store_ == nullptr) {
        store_ = EntryStore::make(0).release();
    }
    return *store_;
}

void EntryAccess::add(NameValueCollection& collection,
                      std::string_view name,
                      std::string_view value) {
    collection.store().append(collection.ring_, SoughtName(name), name, value);
}

void EntryAccess::reserve(NameValueCollection& collection, std::size_t entries) {
    collection.store_ = EntryStore::make(entries).release();
}

// The first entry of the name, or null.
StoredEntry* NameValueCollection::lookUp(std::string_view name) const noexcept {
    return store_ != nullptr ? store_->find(SoughtName(name)) : nullptr;
}

void NameValueCollection::add(std::string name, std::string value) {
    const SoughtName sought(name);
    store().append(ring_, sought, std::move(name), std::move(value));
}

void NameValueCollection::add(value_type entry) {
    add(std::move(entry.first), std::move(entry.second));
}

void NameValueCollection::set(const std::string& name, std::string value) {
    if (StoredEntry* first = lookUp(name)) {
        first->entry.second = std::move(value);
    } else {
        store().append(ring_, SoughtName(name), name, std::move(value));
    }
}

void NameValueCollection::erase(const std::string& name) {
    if (store_ != nullptr) {
        store_->erase(SoughtName(name));
    }
}

std::string NameValueCollection::get(const std::string& name) const {
    const StoredEntry* first = lookUp(name);
    if (first == nullptr) {
        diagnostics::throwLogged<std::out_of_range>(SEVERITY_ERROR, name + " not found.");
    }
    return first->entry.second;
}

std::vector<std::string> NameValueCollection::getAll(const std::string& name) const {
    const StoredEntry* first = lookUp(name);
    std::size_t count = 0;
    for (const StoredEntry* entry = first; entry != nullptr; entry = entry->nextSame) {
        ++count;
    }
    std::vector<std::string> values;
    values.reserve(count);
    for (const StoredEntry* entry = first; entry != nullptr; entry = entry->nextSame) {
        values.push_back(entry->entry.second);
    }
    return values;
}

bool NameValueCollection::has(const std::string& name) const {
    return lookUp(name) != nullptr;
}

NameValueCollection::const_iterator NameValueCollection::find(const std::string& name) const {
    const StoredEntry* first = lookUp(name);
    return first != nullptr ? const_iterator(first) : end();
}

std::uint64_t NameValueCollection::size() const noexcept {
    return store_ != nullptr ? store_->size() : 0;
}

bool NameValueCollection::empty() const noexcept {
    return size() == 0;
}

bool NameValueCollection::operator==(const NameValueCollection& other) const {
    return size() == other.size() && std::equal(begin(), end(), other.begin());
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

/// Copies a text and returns where it ends. Most pieces of a printed collection are separators and names;
/// without a call for each, 14 headers are printed in two fifths of the time.
char* copyText(std::string_view text, char* out) noexcept {
    const std::size_t size = text.size();
    const auto copyEnds = [&](std::size_t end) {  // Two pieces that meet or overlap.
        std::memcpy(out, text.data(), end);
        std::memcpy(out + size - end, text.data() + size - end, end);
    };
    if (size > 32) {
        std::memcpy(out, text.data(), size);
    } else if (size >= 16) {
        copyEnds(16);
    } else if (size >= 8) {
        copyEnds(8);
    } else if (size >= 4) {
        copyEnds(4);
    } else if (size >= 2) {
        copyEnds(2);
    } else if (size == 1) {
        *out = text.front();
    }
    return out + size;
}

/// The text for the encoder that changes nothing, without a copy of each text.
std::string printedAsStored(const NameValueCollection& entries,
                            const std::string& entrySeparator,
                            const std::string& keyValueSeparator,
                            std::size_t size) {
    std::string result(size, '\0');
    char* out = result.data();
    const auto put = [&out](const std::string& text) { out = copyText(text, out); };
    bool first = true;
    for (const auto& [name, value] : entries) {
        if (!first) {
            put(entrySeparator);
        }
        first = false;
        put(name);
        put(keyValueSeparator);
        put(value);
    }
    return result;
}

}  // namespace

std::ostream& NameValueCollection::toStream(std::ostream& os,
                                            const std::string& entrySeparator,
                                            const std::string& keyValueSeparator,
                                            const Encoder& encoder) const {
    print(*this, entrySeparator, keyValueSeparator, encoder,
          [&os](const std::string& text) { os << text; });
    return os;
}

std::string NameValueCollection::toString(const std::string& entrySeparator,
                                          const std::string& keyValueSeparator,
                                          const Encoder& encoder) const {
    // What the entries need as they are stored; an encoder that lengthens them lets the text grow.
    std::size_t size = empty() ? 0 : (this->size() - 1) * entrySeparator.size();
    for (const auto& [name, value] : *this) {
        size += name.size() + keyValueSeparator.size() + value.size();
    }
    if (isIdentityEncoder(encoder)) {
        return printedAsStored(*this, entrySeparator, keyValueSeparator, size);
    }
    std::string result;
    result.reserve(size);
    print(*this, entrySeparator, keyValueSeparator, encoder,
          [&result](const std::string& text) { result += text; });
    return result;
}

}  // namespace foundation::httpclient_core
