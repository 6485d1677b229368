#include "headers/EntryStore.h"

#include "headers/CapacityCheck.h"
#include "headers/FoldedName.h"
#include "headers/StoredEntry.h"
#include "headers/TagScan.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <utility>

namespace foundation::httpclient_core {
namespace {

constexpr std::size_t smallestSlab = 4;
constexpr std::size_t largestSlab = 256;
constexpr std::size_t slabGrowth = 4;

constexpr std::size_t tagAlignment = 16;
constexpr std::size_t maxBytes = std::numeric_limits<std::ptrdiff_t>::max();
constexpr std::size_t maxEntries = maxBytes / (2 * sizeof(StoredEntry));
constexpr std::size_t maxNames = maxBytes / (4 * sizeof(StoredEntry*));

constexpr std::size_t roundedUp(std::size_t size, std::size_t step) noexcept {
    return (size + step - 1) / step * step;
}

void unlink(EntryStore::Links& entry) noexcept {
    entry.previous->next = entry.next;
    entry.next->previous = entry.previous;
}

}  // namespace

// One block of memory: what stands at its head, the tags, the places. The places are left raw.
EntryStore::Block EntryStore::allocate(std::size_t headSize, std::size_t capacity) {
    static_assert(alignof(StoredEntry) <= tagAlignment);
    static_assert(__STDCPP_DEFAULT_NEW_ALIGNMENT__ >= tagAlignment);
    const std::size_t tags = roundedUp(headSize, tagAlignment);
    const std::size_t tagBytes = roundedUp(capacity * sizeof(std::uint32_t), tagAlignment);
    const std::size_t places = tags + tagBytes;
    auto* memory =
        static_cast<std::byte*>(::operator new(places + (capacity * sizeof(StoredEntry))));
    std::memset(memory + tags, 0, tagBytes);
    Slab slab;
    slab.tags = reinterpret_cast<std::uint32_t*>(memory + tags);
    slab.places = reinterpret_cast<StoredEntry*>(memory + places);
    slab.capacity = capacity;
    return {memory, slab};
}

EntryStore::Pointer EntryStore::make(std::size_t capacity) {
    requireRoomForOneMore(capacity, maxEntries, "list too long");
    const auto [memory, slab] = allocate(sizeof(EntryStore), std::max(capacity, smallestSlab));
    return Pointer(new (memory) EntryStore(slab));
}

void EntryStore::Release::operator()(EntryStore* store) const noexcept {
    if (store != nullptr) {
        store->~EntryStore();
        ::operator delete(store);
    }
}

EntryStore::~EntryStore() {
    for (Slab* slab = first_.next; slab != nullptr;) {
        ::operator delete(std::exchange(slab, slab->next));
    }
}

StoredEntry* EntryStore::findTag(const FoldedName& name, std::uint32_t tag) const noexcept {
    if (table_.isInUse()) {
        return table_.find(name);
    }
    for (const Slab* slab = &first_; slab != nullptr; slab = slab->next) {
        for (std::size_t i = 0; i < slab->used; i += 4) {
            unsigned int equal = equalAmongFour(slab->tags + i, tag);
            for (; equal != 0; equal &= equal - 1) {
                StoredEntry& entry =
                    slab->places[i + static_cast<std::size_t>(std::countr_zero(equal))];
                if (entry.isNamed(name)) {
                    return &entry;
                }
            }
        }
    }
    return nullptr;
}

void EntryStore::grow() {
    requireRoomForOneMore(size_, maxEntries, "list too long");
    if (size_ >= largestScanned) {
        requireRoomForOneMore(size_, maxNames, "map/set too long");
        reserveInTable();
    }
    if (free_ == nullptr && last_->used == last_->capacity) {
        const auto [memory, slab] =
            allocate(sizeof(Slab), std::min(largestSlab, last_->capacity * slabGrowth));
        last_->next = new (memory) Slab(slab);
        last_ = last_->next;
    }
}

void EntryStore::reserveInTable() {
    const bool isFirstTime = !table_.isInUse();
    table_.reserve(size_ + 1);
    if (!isFirstTime) {
        return;
    }
    for (const Slab* slab = &first_; slab != nullptr; slab = slab->next) {
        for (std::size_t i = 0; i < slab->used; ++i) {
            if (slab->tags[i] != 0) {
                table_.insert(slab->places[i]);
            }
        }
    }
}

void EntryStore::erase(const SoughtName& name) noexcept {
    StoredEntry* entry = find(name);
    if (entry == nullptr) {
        return;
    }
    *entry->tagPlace = 0;
    if (table_.isInUse()) {
        table_.erase(*entry);
    }
    // The name is not read from here on: it may have been that of an entry.
    while (entry != nullptr) {
        remove(*std::exchange(entry, entry->nextSame));
    }
}

void EntryStore::remove(StoredEntry& entry) noexcept {
    unlink(entry);
    std::uint32_t* tag = entry.tagPlace;
    std::destroy_at(&entry);
    giveBack({&entry, tag});
    --size_;
}

void EntryStore::destroyEntries(Links& ring) noexcept {
    for (Links* entry = ring.next; entry != &ring;) {
        std::destroy_at(static_cast<StoredEntry*>(std::exchange(entry, entry->next)));
    }
    ring.next = ring.previous = &ring;
}

}  // namespace foundation::httpclient_core
