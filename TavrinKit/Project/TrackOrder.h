#pragma once

#include <algorithm>
#include <cmath>
#include <limits>
#include <tuple>
#include <vector>

#include "TavrinKit/Support/UUID.h"

namespace tavrin {

/// Where a start stands in the order of a track: one that is no number comes first.
[[nodiscard]] inline double placeOf(double start) {
    return std::isnan(start) ? -std::numeric_limits<double>::infinity() : start;
}

/// Stable, by what `key` gives for a record.
template <typename Record, typename Key>
void sortBy(std::vector<Record>& records, Key key) {
    std::ranges::stable_sort(records, [&](const Record& a, const Record& b) { return key(a) < key(b); });
}

template <typename Region>
void sortByStartThenID(std::vector<Region>& regions) {
    sortBy(regions, [](const Region& region) { return std::tuple(placeOf(region.startTime), region.id); });
}

/// The first one with the id, or null.
template <typename Region>
Region* findByID(std::vector<Region>& regions, const UUID& id) {
    const auto found = std::ranges::find(regions, id, &Region::id);
    return found == regions.end() ? nullptr : &*found;
}

} // namespace tavrin
