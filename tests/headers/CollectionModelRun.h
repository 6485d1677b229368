#pragma once
#include "tests/headers/ReferenceCollection.h"

#include <foundation/httpclient_core/NameValueCollection.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

/// The collection beside its model, through the same operations.
namespace foundation::httpclient_core::testing::collection {

inline std::string quoting(std::string text) {
    return "'" + text + "'";
}

/// Nine names for a look-up, in more spellings.
inline const std::vector<std::string>& names() {
    static const std::vector<std::string> all{"a",
                                              "A",
                                              "b",
                                              "Accept",
                                              "accept",
                                              "ACCEPT",
                                              "",
                                              "ab",
                                              std::string("AB\0tail", 7),
                                              "abc",
                                              "\xC9",
                                              "\xE9",
                                              "a-name-too-long-for-the-string-itself",
                                              "A-Name-Too-Long-For-The-String-Itself"};
    return all;
}

/// Enough names to make collections large, of all lengths around the sizes that matter inside.
inline const std::vector<std::string>& manyNames() {
    static const std::vector<std::string> all = [] {
        std::vector<std::string> names;
        for (std::size_t number = 0; number < 400; ++number) {
            names.push_back(std::string(number % 45, number % 2 == 0 ? 'n' : 'N') +
                            std::to_string(number / 2));
        }
        return names;
    }();
    return all;
}

template <class Collection>
std::string getOrText(const Collection& collection, const std::string& name) {
    try {
        return collection.get(name);
    } catch (const std::out_of_range& error) {
        return std::string("out_of_range: ") + error.what();
    }
}

template <class Collection>
auto placeOf(const Collection& collection, const std::string& name) {
    return std::distance(collection.begin(), collection.find(name));
}

/// The collection and its model, which are the same to any caller.
struct Pair {
    NameValueCollection actual;
    ReferenceCollection model;

    ::testing::AssertionResult hasSameEntries() const {
        if (actual.size() != model.size() || actual.empty() != model.empty() ||
            !std::equal(actual.begin(), actual.end(), model.begin(), model.end())) {
            return ::testing::AssertionFailure()
                   << "entries " << actual.toString("&", "=", quoting) << " instead of "
                   << model.toString("&", "=", quoting);
        }
        return ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult answersAlike(const std::string& name) const {
        if (actual.has(name) != model.has(name) || actual.getAll(name) != model.getAll(name) ||
            placeOf(actual, name) != placeOf(model, name)) {
            return ::testing::AssertionFailure()
                   << "look-up of \"" << name << "\" in " << actual.toString("&", "=", quoting);
        }
        return ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult getsAlike(const std::string& name) const {
        if (getOrText(actual, name) != getOrText(model, name)) {
            return ::testing::AssertionFailure() << "get of \"" << name << "\"";
        }
        return ::testing::AssertionSuccess();
    }
};

/// An iterator that was taken some time ago and whose entry is still there.
struct Watch {
    NameValueCollection::iterator actual;
    ReferenceCollection::iterator model;
    const ReferenceCollection::value_type* entry;
};

/// Operations drawn from `Random`, which has below() and oneOf(), on both sides of three pairs.
template <class Random>
class ModelRun {
public:
    ModelRun(Random& random, const std::vector<std::string>& names)
        : random_(random), names_(names) {}

    // Carries out one operation on both sides and returns what it was.
    const char* step() {
        const std::size_t target = random_.below(pairs_.size());
        const std::size_t source = random_.below(pairs_.size());
        touched_.assign({target, source});
        Pair& to = pairs_[target];
        Pair& from = pairs_[source];
        const std::string& name = random_.oneOf(names_);
        const std::string value = std::to_string(random_.below(1000));
        const std::size_t dice = random_.below(100);
        if (dice < 30) {
            to.actual.add(name, value);
            to.model.add(name, value);
            return "add";
        }
        if (dice < 36) {
            to.actual.add(NameValueCollection::value_type(name, value));
            to.model.add(ReferenceCollection::value_type(name, value));
            return "add of a pair";
        }
        if (dice < 52) {
            to.actual.set(name, value);
            to.model.set(name, value);
            return "set";
        }
        if (dice < 68) {
            to.actual.erase(name);
            to.model.erase(name);
            forgetDead();
            return "erase";
        }
        if (dice < 72 && !to.model.empty()) {
            // The name of an entry of the collection itself.
            const std::size_t place = random_.below(to.model.size());
            const std::string copy = std::next(to.model.begin(), distance(place))->first;
            to.actual.erase(std::next(to.actual.begin(), distance(place))->first);
            to.model.erase(copy);
            forgetDead();
            return "erase of a stored name";
        }
        if (dice < 78 && !to.model.empty()) {
            const std::size_t place = random_.below(to.model.size());
            std::next(to.actual.begin(), distance(place))->second = value;
            std::next(to.model.begin(), distance(place))->second = value;
            return "value written through an iterator";
        }
        if (dice < 81 && !to.model.empty()) {
            const std::size_t place = random_.below(to.model.size());
            std::next(to.actual.begin(), distance(place))->first = name;
            std::next(to.model.begin(), distance(place))->first = name;
            return "name written through an iterator";
        }
        if (dice < 85 && !to.model.empty() && watches_.size() < 8) {
            const std::size_t place = random_.below(to.model.size());
            const auto entry = std::next(to.model.begin(), distance(place));
            watches_.push_back({std::next(to.actual.begin(), distance(place)), entry, &*entry});
            return "iterator kept";
        }
        if (dice < 88) {
            // An assignment to another collection ends the iterators of its old entries.
            if (target != source) {
                forget(to.model);
            }
            to.actual = from.actual;
            to.model = from.model;
            return target == source ? "self-assignment" : "copy assignment";
        }
        if (dice < 91) {
            if (target != source) {
                forget(to.model);
            }
            NameValueCollection& actual = from.actual;
            ReferenceCollection& model = from.model;
            to.actual = std::move(actual);
            to.model = std::move(model);
            return target == source ? "self-move" : "move assignment";
        }
        if (dice < 93) {
            NameValueCollection actual(from.actual);
            ReferenceCollection model(from.model);
            forget(to.model);
            to.actual = std::move(actual);
            to.model = std::move(model);
            return "copy construction";
        }
        if (dice < 95) {
            NameValueCollection actual(std::move(from.actual));
            ReferenceCollection model(std::move(from.model));
            EXPECT_TRUE(from.hasSameEntries() && from.actual.empty());
            EXPECT_TRUE(from.answersAlike(name));
            from.actual = std::move(actual);
            from.model = std::move(model);
            return "move construction";
        }
        if (dice < 97) {
            std::swap(to.actual, from.actual);
            std::swap(to.model, from.model);
            return "swap";
        }
        EXPECT_TRUE(to.getsAlike(name));
        EXPECT_EQ(to.actual.toString("&", "=", quoting), to.model.toString("&", "=", quoting));
        EXPECT_EQ(to.actual == from.actual, to.model == from.model);
        return "get, print and compare";
    }

    ::testing::AssertionResult check() {
        for (const std::size_t index : touched_) {
            if (auto result = pairs_[index].hasSameEntries(); !result) {
                return result;
            }
        }
        const std::size_t looked = random_.oneOf(touched_);
        if (auto result = pairs_[looked].answersAlike(random_.oneOf(names_)); !result) {
            return result;
        }
        if (!watches_.empty()) {
            const Watch& watch = watches_[random_.below(watches_.size())];
            if (*watch.actual != *watch.model) {
                return ::testing::AssertionFailure() << "a kept iterator shows another entry";
            }
        }
        return ::testing::AssertionSuccess();
    }

    ::testing::AssertionResult checkEverything() {
        for (const Pair& pair : pairs_) {
            if (auto result = pair.hasSameEntries(); !result) {
                return result;
            }
            for (const std::string& name : names_) {
                if (auto result = pair.answersAlike(name); !result) {
                    return result;
                }
            }
        }
        for (const Watch& watch : watches_) {
            if (*watch.actual != *watch.model) {
                return ::testing::AssertionFailure() << "a kept iterator shows another entry";
            }
        }
        return ::testing::AssertionSuccess();
    }

private:
    static std::ptrdiff_t distance(std::size_t place) { return static_cast<std::ptrdiff_t>(place); }

    // Drops the iterators at entries of a collection that is about to lose them all.
    void forget(const ReferenceCollection& leaving) {
        std::erase_if(watches_, [&](const Watch& watch) { return holds(leaving, watch); });
    }

    // Drops the iterators whose entries were erased. Must follow the erasure before any other operation,
    // since an address can come back.
    void forgetDead() {
        std::erase_if(watches_, [&](const Watch& watch) {
            return std::none_of(pairs_.begin(), pairs_.end(),
                                [&](const Pair& pair) { return holds(pair.model, watch); });
        });
    }

    static bool holds(const ReferenceCollection& model, const Watch& watch) {
        return std::any_of(model.begin(), model.end(),
                           [&](const auto& entry) { return &entry == watch.entry; });
    }

    Random& random_;
    const std::vector<std::string>& names_;
    std::array<Pair, 3> pairs_;
    std::vector<std::size_t> touched_ = {0};
    std::vector<Watch> watches_;
};

}  // namespace foundation::httpclient_core::testing::collection
