#pragma once
#include "headers/FoldedName.h"
#include "headers/StoredEntry.h"

#include <cstddef>
#include <vector>

namespace foundation::httpclient_core {

/// A hash table of the first entries of their names, for collections that are too large to be searched from
/// end to end: a look-up among 10,000 costs what one among 60 does. Open addressing with linear probing;
/// at most half of the slots are taken. Refers to the entries and does not own them.
class NameTable {
public:
    bool isInUse() const noexcept { return !slots_.empty(); }
    /// Makes room for so many names. Throws std::bad_alloc and is then unchanged.
    void reserve(std::size_t names);
    /// The entry of this name, or null.
    StoredEntry* find(const FoldedName& name) const noexcept;
    /// Adds the first entry of a name that is not in the table. There must be room for it.
    void insert(StoredEntry& entry) noexcept;
    /// Takes out an entry that is in the table.
    void erase(const StoredEntry& entry) noexcept;

private:
    void place(StoredEntry& entry) noexcept;
    std::size_t next(std::size_t slot) const noexcept { return (slot + 1) & mask_; }
    std::size_t home(const StoredEntry& entry) const noexcept { return entry.hash & mask_; }

    std::vector<StoredEntry*> slots_;
    std::size_t mask_ = 0;  ///< Number of slots, a power of two, less one.
};

}  // namespace foundation::httpclient_core
