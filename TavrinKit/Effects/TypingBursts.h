#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "TavrinKit/Project/Events.h"

namespace tavrin {

/// Where the bursts of a take's keys lie: what makes a frame of the typing overlay cost the same however long
/// a burst has grown.
///
/// Made once for a list of keys and a longest gap, and to be asked about that list only. Immutable; any
/// thread.
class TypingBursts {
public:
    /// @param keys             sorted by time
    /// @param burstGapSeconds  the longest gap between two keys of a burst
    TypingBursts(std::span<const KeyEvent> keys, double burstGapSeconds);

    /// The first key of the burst to which the key at `index` belongs.
    [[nodiscard]] std::size_t burstStart(std::size_t index) const { return entries_[index].burstStart; }

    /// The first key of the run of plain typing that the key at `index` belongs to; `index` + 1 when that key
    /// is no plain typing. It may lie before the start of the burst.
    [[nodiscard]] std::size_t typingStart(std::size_t index) const { return entries_[index].typingStart; }

    /// Whether a key of the burst, up to and including the one at `index`, was pressed with a modifier.
    [[nodiscard]] bool hasModifiers(std::size_t index) const { return entries_[index].hasModifiers; }

private:
    struct Entry {
        std::size_t burstStart;
        std::size_t typingStart;
        bool hasModifiers;
    };

    std::vector<Entry> entries_; ///< one for each key
};

} // namespace tavrin
