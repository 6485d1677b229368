#include "headers/NameTable.h"

#include "headers/FoldedName.h"
#include "headers/StoredEntry.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace foundation::httpclient_core {

void NameTable::reserve(std::size_t names) {
    const std::size_t wanted = std::bit_ceil(names * 2);
    if (isInUse() && wanted <= mask_ + 1) {
        return;
    }
    const std::vector<StoredEntry*> former =
        std::exchange(slots_, std::vector<StoredEntry*>(wanted));
    mask_ = wanted - 1;
    for (StoredEntry* entry : former) {
        if (entry != nullptr) {
            place(*entry);
        }
    }
}

StoredEntry* NameTable::find(const FoldedName& name) const noexcept {
    const std::uint64_t hash = name.hash();
    std::size_t slot = hash & mask_;
    while (slots_[slot] != nullptr &&
           (slots_[slot]->hash != hash || !slots_[slot]->isNamed(name))) {
        slot = next(slot);
    }
    return slots_[slot];
}

void NameTable::insert(StoredEntry& entry) noexcept {
    entry.hash = entry.makeHash();
    place(entry);
}

void NameTable::place(StoredEntry& entry) noexcept {
    std::size_t slot = home(entry);
    while (slots_[slot] != nullptr) {
        slot = next(slot);
    }
    slots_[slot] = &entry;
}

void NameTable::erase(const StoredEntry& entry) noexcept {
    std::size_t gap = home(entry);
    while (slots_[gap] != &entry) {
        gap = next(gap);
    }
    // No search may end at the gap too early: what stands behind it and may stand in it moves up.
    for (std::size_t slot = next(gap); slots_[slot] != nullptr; slot = next(slot)) {
        const std::size_t distanceFromHome = (slot - home(*slots_[slot])) & mask_;
        const std::size_t distanceFromGap = (slot - gap) & mask_;
        if (distanceFromHome >= distanceFromGap) {
            slots_[gap] = slots_[slot];
            gap = slot;
        }
    }
    slots_[gap] = nullptr;
}

}  // namespace foundation::httpclient_core
