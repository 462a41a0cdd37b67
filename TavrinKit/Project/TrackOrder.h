#pragma once

#include <algorithm>
#include <vector>

#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// By start, then id; stable.
template <typename Region>
void sortByStartThenID(std::vector<Region>& regions) {
    std::ranges::stable_sort(regions, [](const Region& a, const Region& b) {
        return a.startTime != b.startTime ? a.startTime < b.startTime : a.id < b.id;
    });
}

/// The first one with the id, or null.
template <typename Region>
Region* findByID(std::vector<Region>& regions, const UUID& id) {
    const auto found = std::ranges::find(regions, id, &Region::id);
    return found == regions.end() ? nullptr : &*found;
}

} // namespace tavrin
