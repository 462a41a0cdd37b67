#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// By start, then id; stable. A start that is no number comes first.
template <typename Region>
void sortByStartThenID(std::vector<Region>& regions) {
    const auto key = [](const Region& region) {
        return std::isnan(region.startTime) ? -std::numeric_limits<double>::infinity() : region.startTime;
    };
    std::ranges::stable_sort(regions, [&](const Region& a, const Region& b) {
        return key(a) != key(b) ? key(a) < key(b) : a.id < b.id;
    });
}

/// The first one with the id, or null.
template <typename Region>
Region* findByID(std::vector<Region>& regions, const UUID& id) {
    const auto found = std::ranges::find(regions, id, &Region::id);
    return found == regions.end() ? nullptr : &*found;
}

} // namespace tavrin
