#pragma once

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

namespace tavrin {

/// A few values by key, of which the least recently used goes first when there are too many.
///
/// Keys are compared one after the other: meant for some dozens of entries. One thread at a time.
template <typename Key, typename Value>
class TemporalLRUCache {
public:
    struct Entry {
        Key key;
        Value value;
    };

    explicit TemporalLRUCache(std::size_t maxEntries) : maxEntries_(maxEntries) {}

    /// All that is kept, the least recently used first.
    [[nodiscard]] const std::vector<Entry>& entries() const { return entries_; }

    /// The value of a key, which is not counted as a use. Valid until the next change.
    [[nodiscard]] const Value* find(const Key& key) const {
        const auto found = std::find_if(entries_.begin(), entries_.end(), matching(key));
        return found == entries_.end() ? nullptr : &found->value;
    }

    /// Makes the key's entry the last to go. A key that isn't there changes nothing.
    void touch(const Key& key) {
        const auto found = std::find_if(entries_.begin(), entries_.end(), matching(key));
        if (found != entries_.end()) {
            std::rotate(found, found + 1, entries_.end());
        }
    }

    /// Stores a value in place of any that the key had.
    void insert(Value value, const Key& key) {
        std::erase_if(entries_, matching(key));
        entries_.push_back({key, std::move(value)});
        while (entries_.size() > maxEntries_) {
            removeOldest();
        }
    }

    void removeOldest() {
        if (!entries_.empty()) {
            entries_.erase(entries_.begin());
        }
    }

private:
    static auto matching(const Key& key) {
        return [&key](const Entry& entry) {
            return entry.key == key;
        };
    }

    std::size_t maxEntries_;
    std::vector<Entry> entries_;
};

} // namespace tavrin
