#pragma once
#include <string>
#include <utility>

/// @file
/// What the iterators of NameValueCollection walk over. Not for callers: it may change in any version.

namespace foundation::httpclient_core::detail {

/// A place in the ring of the entries of a collection. The ring goes through the collection itself, whose own
/// links stand for the end.
struct EntryLinks {
    EntryLinks* next = nullptr;
    EntryLinks* previous = nullptr;
};

/// A place with an entry.
struct EntryNode : EntryLinks {
    std::pair<std::string, std::string> entry;
};

class EntryStore;
struct EntryAccess;

}  // namespace foundation::httpclient_core::detail
