#pragma once
#include "headers/FoldedName.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <cstddef>
#include <cstdint>
#include <memory>
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
                std::uint32_t nameHash,
                std::uint32_t* placeOfHash,
                Spelling&& spelling,
                Value&& value)
        : Node{{},
               std::pair<std::string, std::string>(std::forward<Spelling>(spelling),
                                                   std::forward<Value>(value))},
          words(name.words()),
          size(name.size()),
          hash(nameHash),
          hashPlace(placeOfHash),
          rest(name.copyRest()) {}

    bool isNamed(const FoldedName& name) const noexcept {
        return size == name.size() && name.hasWords(words) &&
               (size <= FoldedName::wordBytes || name.hasRest(rest.get()));
    }

    FoldedName::Words words;
    std::size_t size;  ///< Of the folded name.
    std::uint32_t hash;
    std::uint32_t* hashPlace;  ///< Where its slab shows the hash while it is the first.
    std::unique_ptr<char[]>
        rest;  ///< What stands before the words, folded; null where nothing does.
    StoredEntry* nextSame = nullptr;  ///< The entry that was added next with this name, or null.
    StoredEntry* lastSame = this;     ///< Of the first entry of a name: the last one.
};

}  // namespace foundation::httpclient_core
