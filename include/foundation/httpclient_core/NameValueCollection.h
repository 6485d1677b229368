#pragma once
#include <foundation/httpclient_core/Export.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iosfwd>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>
namespace foundation::httpclient_core {

class EntryStore;
struct EntryAccess;
struct StoredEntry;

/// An ordered list of name and value pairs whose names are looked up without regard to ASCII case.
///
/// Entries keep the order in which they were added, and duplicates stay: two entries whose names
/// are the same, or differ only in case, are two entries. Each keeps the spelling it was added
/// with. Nothing is validated: names and values are any bytes, the empty text included.
///
/// Two rules for names, side by side:
/// - *Look-up* (has(), find(), get(), getAll(), set(), erase()) takes two names as equal when they
///   differ at most in the case of the 26 ASCII letters, compared up to the first NUL: `"ACCEPT"`
///   finds `"Accept"`, `"ab"` finds `"ab\0cd"`, `"\xC9"` does not find `"\xE9"`.
/// - *Comparison* (operator==()) is by bytes and by position: `{("A", "1")}` differs from `{("a",
///   "1")}`, and `{("a", "1"), ("b", "2")}` from `{("b", "2"), ("a", "1")}`.
///
/// Where several entries match, the one added first answers: get() and find() give it, set()
/// changes it alone. A name that was changed through an iterator is still found under its old name,
/// see iterator.
///
/// The class is the base of HttpHeaders, but not a polymorphic one: do not delete an HttpHeaders
/// through a pointer to it.
///
/// Every modifier but copy assignment gives the strong guarantee: if it throws, the collection is
/// as it was before.
///
/// @par Thread safety
/// thread-compatible
///
/// @par Example
/// The first match answers a look-up, and it is the one that set() changes:
/// @code{.cpp}
/// NameValueCollection fields{{"Accept", "text/html"}, {"accept", "text/plain"}};
/// fields.set("ACCEPT", "*/*");  // the first match, which keeps its spelling
/// assert(fields.get("Accept") == "*/*");
/// assert((fields.getAll("accept") == std::vector<std::string>{"*/*", "text/plain"}));
/// assert(fields.begin()->first == "Accept" && fields.size() == 2);
/// @endcode
class FOUNDATION_HTTPCLIENT_CORE_API NameValueCollection {
public:
    /// The rule by which look-ups tell names apart, as an order: less-than with the ASCII letters
    /// folded. For callers who keep names in containers of their own; a collection looks names up
    /// by a hash and keeps no comparator.
    ///
    /// Names are compared as unsigned bytes up to their first NUL, with `A` to `Z` taken as `a` to
    /// `z`. Bytes from 0x80 are compared as they are, and the locale of the program plays no part.
    /// The relation is a strict weak order; two names are equal when neither is less than the
    /// other.
    ///
    /// There are copy operations and, deliberately, no move operations: a comparator that was
    /// "moved" from stays usable, and so does the container that holds it.
    ///
    /// @par Thread safety
    /// thread-compatible
    ///
    /// @par Example
    /// Names that differ in case only are equal, which means that neither is less:
    /// @code{.cpp}
    /// const NameValueCollection::CaseInsensitiveCompare less;
    /// assert(!less("HOST", "host") && !less("host", "HOST"));
    /// assert(less("Accept", "HOST"));
    /// @endcode
    struct FOUNDATION_HTTPCLIENT_CORE_API CaseInsensitiveCompare {
        /// Acquires a locale handle of its own, with one allocation.
        /// @throws std::bad_alloc if there is no memory for it.
        CaseInsensitiveCompare();
        /// Shares the handle of the other comparator; costs no allocation.
        /// @{
        CaseInsensitiveCompare(const CaseInsensitiveCompare&) noexcept = default;
        CaseInsensitiveCompare& operator=(const CaseInsensitiveCompare&) noexcept = default;
        /// @}
        /// Releases the handle if no other comparator shares it.
        ~CaseInsensitiveCompare() = default;
        /// Returns true if `a` comes before `b`. The cost is linear in the shorter text.
        bool operator()(const std::string& a, const std::string& b) const noexcept;

    private:
        struct Impl;
        std::shared_ptr<Impl> impl_;
    };

    /// One entry: the name, then the value.
    using value_type = std::pair<std::string, std::string>;
    /// Turns a stored name or value into the text to print, see toString().
    using Encoder = std::function<std::string(std::string)>;

private:
    // A place in the ring of the entries. The ring goes through the collection itself, whose own links stand
    // for the end.
    struct Links {
        Links* next;
        Links* previous;
    };
    // A place with an entry.
    struct Node : Links {
        value_type entry;
    };

    // The iterators are a class of the library's own and say nothing about how entries are kept.
    template <class Value>
    class EntryIterator {
        static constexpr bool isConstant = std::is_const_v<Value>;
        using Place = std::conditional_t<isConstant, const Links, Links>;
        using Holder = std::conditional_t<isConstant, const Node, Node>;

    public:
        using iterator_category = std::bidirectional_iterator_tag;
        using value_type = std::remove_const_t<Value>;
        using difference_type = std::ptrdiff_t;
        using pointer = Value*;
        using reference = Value&;

        /// Makes an iterator of no collection; it can only be assigned to, destroyed, and compared
        /// with another such iterator.
        EntryIterator() = default;
        /// Converts a mutable iterator into a constant one; never the other way round.
        template <class Other>
            requires(std::is_const_v<Value> && std::is_same_v<Other, value_type>)
        EntryIterator(const EntryIterator<Other>& other) noexcept : place_(other.place_) {}

        /// Returns the entry, which must exist: not at end().
        reference operator*() const noexcept { return static_cast<Holder*>(place_)->entry; }
        /// Gives access to `first`, the name, and `second`, the value. Not at end().
        pointer operator->() const noexcept { return std::addressof(**this); }
        /// Goes to the next entry, or from the last one to end(). Not at end().
        EntryIterator& operator++() noexcept {
            place_ = place_->next;
            return *this;
        }
        /// Goes to the next entry and returns the iterator as it was before. Not at end().
        EntryIterator operator++(int) noexcept {
            EntryIterator before = *this;
            place_ = place_->next;
            return before;
        }
        /// Goes to the entry before, or from end() to the last one. Not at begin().
        EntryIterator& operator--() noexcept {
            place_ = place_->previous;
            return *this;
        }
        /// Goes to the entry before and returns the iterator as it was. Not at begin().
        EntryIterator operator--(int) noexcept {
            EntryIterator before = *this;
            place_ = place_->previous;
            return before;
        }
        /// Returns true if both are at the same entry, or both at the end, of one collection. A
        /// mutable iterator compares with a constant one. Meaningless between two collections.
        friend bool operator==(const EntryIterator& a, const EntryIterator& b) noexcept {
            return a.place_ == b.place_;
        }

    private:
        friend class NameValueCollection;
        template <class>
        friend class EntryIterator;
        explicit EntryIterator(Place* place) noexcept : place_(place) {}
        Place* place_ = nullptr;
    };

public:
    /// A bidirectional iterator over the entries in the order in which they were added; it models
    /// std::bidirectional_iterator, and so works with the algorithms of the standard library.
    ///
    /// The type is the library's own and says nothing about the container inside. It is as stable
    /// as an iterator of a list: it stays valid until its own entry goes, whatever is added or
    /// erased elsewhere, and also when the whole collection is moved, by construction or by
    /// assignment; it then belongs to the collection that was moved to. An iterator at the end does
    /// not follow a move. References to entries are as stable as iterators.
    ///
    /// Values may be changed through it. So may names, but look-ups do not learn of it: the entry
    /// is still found under the name it was added with and not under the new one, while iteration,
    /// printing and comparison show the new one. A copy of the collection knows the entry by its
    /// new name only.
    using iterator = EntryIterator<value_type>;
    /// The same over constant entries. An iterator converts to it, and the two compare with each
    /// other.
    using const_iterator = EntryIterator<const value_type>;

    /// Makes an empty collection; allocates nothing.
    NameValueCollection();
    /// Makes a collection of the pairs in the order given, duplicates included: `{{"a", "1"}, {"A",
    /// "2"}}` has two entries.
    /// @throws std::bad_alloc if there is no memory.
    NameValueCollection(std::initializer_list<value_type> entries);
    /// Copies every entry in order. Each is found under the name it has at this moment, also where
    /// that name was changed through an iterator. Linear, apart from the cost of one add() per
    /// entry.
    /// @throws std::bad_alloc if there is no memory.
    NameValueCollection(const NameValueCollection& other);
    /// Takes over the entries of `other`, which is left empty and usable. Iterators at entries stay
    /// valid and belong to the new collection. Constant; allocates nothing.
    NameValueCollection(NameValueCollection&& other) noexcept;
    /// Replaces all entries by copies of those of `other`; every look-up then answers as on a fresh
    /// copy. Assigning a collection to itself changes nothing. Invalidates all iterators of this
    /// collection, except where it is assigned to itself.
    /// @throws std::bad_alloc if there is no memory; this collection is then empty.
    NameValueCollection& operator=(const NameValueCollection& other);
    /// Replaces all entries by those of `other`, which is left empty and usable. Moving a
    /// collection onto itself changes nothing. Invalidates the iterators of this collection; those
    /// of `other` stay valid and belong to this one. Linear in the entries that go; allocates
    /// nothing.
    NameValueCollection& operator=(NameValueCollection&& other) noexcept;
    /// Destroys the entries and invalidates all iterators.
    ~NameValueCollection();

    /// Returns the number of entries, each duplicate counted. Constant.
    std::uint64_t size() const noexcept;
    /// Returns true if there is no entry.
    bool empty() const noexcept;
    /// Returns true if an entry has this name. Constant on average; allocates
    /// nothing.
    bool has(const std::string& name) const;
    /// Returns the position of the first entry of this name, or end() if there is none.
    /// Constant on average; allocates nothing.
    const_iterator find(const std::string& name) const;
    /// Returns a copy of the value of the first entry of this name. Constant on
    /// average.
    ///
    /// Test with has() or find() first where a missing name is no error: the failure is also
    /// written to the log.
    /// @throws std::out_of_range "NAME not found." with the sought name in place of NAME, for
    /// example `"Accept not found."`, if there is none; the same text was then written to the core
    /// channel at severity 512.
    std::string get(const std::string& name) const;
    /// Returns copies of the values of all entries of this name in the order in which they were
    /// added; none if there is none. Linear in the matches.
    /// @throws std::bad_alloc if there is no memory; never for a missing name.
    std::vector<std::string> getAll(const std::string& name) const;
    /// Returns the position of the first entry, or end() if the collection is empty.
    /// @{
    // NOLINTNEXTLINE(readability-make-member-function-const): it gives access to the entries
    iterator begin() noexcept { return iterator(ring_.next); }
    const_iterator begin() const noexcept { return const_iterator(ring_.next); }
    const_iterator cbegin() const noexcept { return begin(); }
    /// @}
    /// Returns the position after the last entry.
    /// @{
    iterator end() noexcept { return iterator(&ring_); }
    const_iterator end() const noexcept { return const_iterator(&ring_); }
    const_iterator cend() const noexcept { return end(); }
    /// @}

    /// Appends an entry, also where the name is there already. Amortised constant; invalidates no
    /// iterator.
    /// @throws std::length_error "list too long" or "map/set too long" if the collection holds as
    /// many entries as it can; std::bad_alloc if there is no memory. The collection is then
    /// unchanged; what was moved into the arguments is lost.
    /// @{
    void add(std::string name, std::string value);
    void add(value_type entry);
    /// @}
    /// Replaces the value of the first entry of this name, or appends an entry if there is none.
    ///
    /// Only that one entry changes: it keeps its place and the spelling of its name, and other
    /// entries of the name keep their values. Set `"ACCEPT"` to `"c"` in `{("Accept", "a"),
    /// ("accept", "b")}` and there is `{("Accept", "c"), ("accept", "b")}`. Constant on average;
    /// invalidates no iterator.
    /// @throws std::length_error or std::bad_alloc as add(), and only when it appends; the
    /// collection is then unchanged.
    void set(const std::string& name, std::string value);
    /// Removes every entry of this name; does nothing if there is none. Never throws.
    ///
    /// Linear in the matches. Invalidates the iterators of the removed entries and
    /// no others. `name` may be the name of a stored entry, for example `begin()->first`.
    void erase(const std::string& name);

    /// Writes the text of toString() to `os` piece by piece and returns `os`. A failing stream is
    /// not reported beyond its own state. What an encoder throws comes out with the entries before
    /// it written.
    /// @throws std::bad_function_call as toString(), before anything is written.
    std::ostream& toStream(std::ostream& os,
                           const std::string& entrySeparator,
                           const std::string& keyValueSeparator,
                           const Encoder& encoder) const;
    /// Returns all entries as text, in order: name, `keyValueSeparator`, value, with
    /// `entrySeparator` between entries and nothing before the first or after the last. An empty
    /// collection gives `""`.
    ///
    /// @param encoder called for each entry with a copy of the value and then with a copy of the
    /// name; its results are printed as they are. An empty collection never calls it.
    /// @throws std::bad_function_call if `encoder` is empty and there is an entry. What the encoder
    /// throws comes out unchanged.
    ///
    /// @code{.cpp}
    /// const NameValueCollection fields{{"a", "1"}, {"b", "2"}};
    /// const auto asTheyAre = [](std::string text) { return text; };
    /// assert(fields.toString("&", "=", asTheyAre) == "a=1&b=2");
    /// @endcode
    std::string toString(const std::string& entrySeparator,
                         const std::string& keyValueSeparator,
                         const Encoder& encoder) const;

    /// Returns true if both have the same entries in the same order, names and values compared by
    /// bytes. Unlike a look-up it heeds case: `{("A", "1")}` is not equal to `{("a", "1")}`.
    /// Linear.
    bool operator==(const NameValueCollection& other) const;

private:
    friend class EntryStore;
    friend struct EntryAccess;
    friend struct StoredEntry;

    StoredEntry* lookUp(std::string_view name) const noexcept;
    EntryStore& store();
    template <class Iterator>
    void appendAll(Iterator first, Iterator last, std::size_t count);
    void clear() noexcept;
    void takeFrom(NameValueCollection& other) noexcept;

    Links ring_{&ring_, &ring_};   // Through the entries, in order.
    EntryStore* store_ = nullptr;  // None before the first entry.
};

}  // namespace foundation::httpclient_core
