#include "headers/NameTable.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

namespace foundation::httpclient_core {

void NameTable::reserve(std::size_t names) {
    const std::size_t wanted = std::bit_ceil(names * 2);
    if (isInUse() && wanted <= mask_ + 1) {
        return;
    }
    const std::unique_ptr<StoredEntry*[]> former =
        std::exchange(slots_, std::make_unique<StoredEntry*[]>(wanted));
    const std::size_t formerSize = former != nullptr ? mask_ + 1 : 0;
    mask_ = wanted - 1;
    for (std::size_t slot = 0; slot < formerSize; ++slot) {
        if (former[slot] != nullptr) {
            insert(*former[slot]);
        }
    }
}

StoredEntry* NameTable::find(const FoldedName& name, std::uint32_t hash) const noexcept {
    std::size_t slot = hash & mask_;
    while (slots_[slot] != nullptr &&
           !(slots_[slot]->hash == hash && slots_[slot]->isNamed(name))) {
        slot = next(slot);
    }
    return slots_[slot];
}

void NameTable::insert(StoredEntry& entry) noexcept {
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
