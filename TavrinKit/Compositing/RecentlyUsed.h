#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>

#include "TavrinKit/Compositing/TemporalLRUCache.h"
#include "TavrinKit/Support/Guarded.h"

namespace tavrin {

/// Things that are dear to make, kept by key up to a total cost; what hasn't been asked for longest goes
/// first.
///
/// Meant for a few dozen entries: keys are compared one after the other. Any thread.
template <typename Key, typename Value>
class RecentlyUsed {
public:
    /// @param capacity  what all kept values may cost together
    explicit RecentlyUsed(std::size_t capacity) : capacity_(capacity) {}

    /// The kept value, or what `make` gives, which is called without the lock: several threads that miss at
    /// once may all make it, and all get the one that was kept first.
    /// @param make  gives the value
    /// @param cost  tells what a value costs; one that costs more than the capacity isn't kept
    template <typename Make, typename Cost>
    Value value(const Key& key, const Make& make, const Cost& cost) {
        if (auto kept = entries_.with([&](Entries& entries) { return find(entries, key); })) {
            return *std::move(kept);
        }
        Value made = make();
        const std::size_t price = cost(made);
        return entries_.with([&](Entries& entries) {
            if (auto kept = find(entries, key)) {
                return *std::move(kept);
            }
            insert(entries, key, {made, price});
            return made;
        });
    }

    /// The same with every value costing 1.
    template <typename Make>
    Value value(const Key& key, const Make& make) {
        return value(key, make, [](const Value&) { return std::size_t(1); });
    }

private:
    struct Kept {
        Value value;
        std::size_t cost;
    };
    struct Entries {
        TemporalLRUCache<Key, Kept> cache{SIZE_MAX};
        std::size_t cost = 0;
    };

    static std::optional<Value> find(Entries& entries, const Key& key) {
        entries.cache.touch(key);
        const Kept* kept = entries.cache.find(key);
        return kept != nullptr ? std::optional(kept->value) : std::nullopt;
    }

    void insert(Entries& entries, const Key& key, Kept kept) const {
        if (kept.cost > capacity_) {
            return;
        }
        entries.cost += kept.cost;
        entries.cache.insert(std::move(kept), key);
        while (entries.cost > capacity_) {
            entries.cost -= entries.cache.entries().front().value.cost;
            entries.cache.removeOldest();
        }
    }

    std::size_t capacity_;
    Guarded<Entries> entries_;
};

} // namespace tavrin
