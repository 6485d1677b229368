#pragma once
#include "headers/FoldedName.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace foundation::httpclient_core {

/// An entry of a collection with what look-ups need of it. The entries of one name form a chain in the order
/// in which they were added; look-ups find the first one. Each keeps a folded copy of its name, since the
/// name itself may be changed by the caller, and since a copy that is made at the first look-up makes
/// look-ups half as slow again.
struct StoredEntry : NameValueCollection::Node {
    /// Throws std::bad_alloc, or what making a text throws.
    template <class Spelling, class Value>
    StoredEntry(const FoldedName& name,
                std::uint32_t* placeOfTag,
                Spelling&& spelling,
                Value&& value)
        : Node{{},
               std::pair<std::string, std::string>(std::forward<Spelling>(spelling),
                                                   std::forward<Value>(value))},
          words(name.words()),
          size(name.size()),
          tagPlace(placeOfTag),
          rest(name.copyRest()) {}

    bool isNamed(const FoldedName& name) const noexcept {
        return size == name.size() && name.hasWords(words) &&
               (size <= nameWordBytes || name.hasRest(rest.get()));
    }
    std::uint64_t makeHash() const noexcept {
        return nameHash(words, {rest.get(), rest != nullptr ? size - nameWordBytes : 0});
    }

    NameWords words;
    std::size_t size;                 ///< Of the folded name.
    std::uint32_t* tagPlace;          ///< Where its slab shows the tag while it is the first.
    SizedText rest;                   ///< What stands before the words, folded, or null.
    std::uint64_t hash = 0;           ///< Set by the table that it is in.
    StoredEntry* nextSame = nullptr;  ///< The entry that was added next with this name, or null.
    StoredEntry* lastSame = this;     ///< Of the first entry of a name: the last one.
};

}  // namespace foundation::httpclient_core
