#pragma once
#include "headers/FoldedName.h"
#include "headers/NameSketch.h"
#include "headers/NameTable.h"
#include "headers/StoredEntry.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <utility>

namespace foundation::httpclient_core {

/// Where a collection keeps its entries and finds them. Entries lie in slabs and never move; a slab has the
/// tags of its entries side by side, so that a look-up in a small collection reads a few lines of memory
/// and touches only the entry that it finds. Building a collection of 14 takes two allocations besides the
/// texts, instead of two per entry, and a copy takes one.
///
/// The ring through the entries, in the order of the collection, goes through the links that the collection
/// passes to each operation.
class EntryStore {
public:
    using Links = NameValueCollection::Links;
    struct Release {
        void operator()(EntryStore* store) const noexcept;
    };
    using Pointer = std::unique_ptr<EntryStore, Release>;

    /// Makes a store with room for so many entries before it needs more memory. Throws std::bad_alloc.
    static Pointer make(std::size_t capacity);
    EntryStore(const EntryStore&) = delete;
    EntryStore& operator=(const EntryStore&) = delete;

    std::size_t size() const noexcept { return size_; }
    /// The entry of this name that was added first, or null.
    StoredEntry* find(const SoughtName& name) const noexcept {
        const std::uint32_t tag = name.tag();
        return sketch_.mayHave(tag) ? findTag(FoldedName(name), tag) : nullptr;
    }
    /// Adds an entry at the end of the ring, its texts made of the arguments. `name` is the spelling,
    /// or the text that it is a copy of.
    /// Throws std::length_error, std::bad_alloc or what making a text throws; the store is then unchanged.
    template <class Spelling, class Value>
    void append(Links& ring, const SoughtName& name, Spelling&& spelling, Value&& value);
    /// Removes every entry of this name. What the name was made of may belong to one of them.
    void erase(const SoughtName& name) noexcept;
    /// Ends the life of all entries, before that of the store; the ring is then empty.
    static void destroyEntries(Links& ring) noexcept;

private:
    // Up to here a look-up reads all tags; beyond it uses the table.
    static constexpr std::size_t largestScanned = 64;

    // A part of the store that was allocated at once.
    struct Slab {
        Slab* next = nullptr;
        std::uint32_t* tags =
            nullptr;  // One for each place: 0, or that of a first entry of a name.
        StoredEntry* places = nullptr;  // Raw memory where no entry was made.
        std::size_t capacity = 0;
        std::size_t used = 0;  // Places that have ever held an entry; they are the first ones.
    };
    struct Block {
        void* memory;
        Slab slab;
    };
    // Stands where an entry was.
    struct FreePlace {
        FreePlace* next;
        std::uint32_t* tag;
    };
    struct Place {
        void* memory;
        std::uint32_t* tag;
    };

    explicit EntryStore(const Slab& first) noexcept : first_(first) {}
    ~EntryStore();

    static Block allocate(std::size_t headSize, std::size_t capacity);
    StoredEntry* findTag(const FoldedName& name, std::uint32_t tag) const noexcept;
    void grow();
    void reserveInTable();
    Place takePlace() noexcept;
    void giveBack(Place place) noexcept;
    void remove(StoredEntry& entry) noexcept;

    std::size_t size_ = 0;
    NameSketch sketch_;
    FreePlace* free_ = nullptr;
    NameTable table_;  // In use from the first entry on that makes the collection large.
    Slab* last_ = &first_;
    Slab first_;
};

inline EntryStore::Place EntryStore::takePlace() noexcept {
    if (free_ != nullptr) {
        FreePlace* place = std::exchange(free_, free_->next);
        return {place, place->tag};
    }
    const std::size_t index = last_->used++;
    return {last_->places + index, last_->tags + index};
}

inline void EntryStore::giveBack(Place place) noexcept {
    free_ = new (place.memory) FreePlace{free_, place.tag};
}

// Inline in each of its few callers, so that the name stays in registers: a copy of a collection takes a tenth
// less time.
template <class Spelling, class Value>
[[gnu::always_inline]] inline void EntryStore::append(Links& ring,
                                                      const SoughtName& name,
                                                      Spelling&& spelling,
                                                      Value&& value) {
    const std::uint32_t tag = name.tag();
    const FoldedName folded(name);
    StoredEntry* first = sketch_.mayHave(tag) ? findTag(folded, tag) : nullptr;
    if (size_ >= largestScanned || (free_ == nullptr && last_->used == last_->capacity)) {
        grow();
    }
    const Place place = takePlace();
    StoredEntry* entry = nullptr;
    try {
        entry = new (place.memory) StoredEntry(folded, place.tag, std::forward<Spelling>(spelling),
                                               std::forward<Value>(value));
    } catch (...) {
        giveBack(place);
        throw;
    }
    if (first != nullptr) {
        first->lastSame->nextSame = entry;
        first->lastSame = entry;
    } else {
        *place.tag = tag;
        sketch_.add(tag);
        if (table_.isInUse()) {
            table_.insert(*entry);
        }
    }
    entry->next = &ring;
    entry->previous = ring.previous;
    ring.previous->next = entry;
    ring.previous = entry;
    ++size_;
}

}  // namespace foundation::httpclient_core
