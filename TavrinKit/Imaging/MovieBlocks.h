#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "TavrinKit/Imaging/ImageProgram.h"

namespace tavrin::imaging {

/// What a layer made of movie pictures shows in an area, told by the versions of the blocks beneath: two
/// layers with equal keys show the same there. Which layer it is counts too.
[[nodiscard]] std::uint64_t movieKey(const Layer& layer, const Rect& area);

/// A term of a mean, with the weights of all that show the same.
struct MergedTerm {
    std::size_t index; ///< of the first of them
    double weight;     ///< exactly 1 when there is no other
    std::uint64_t key; ///< of what it shows
};

/// The terms of a mean that differ in an area.
[[nodiscard]] std::vector<MergedTerm> mergedTerms(const Layer& mean, const Rect& area);

} // namespace tavrin::imaging
