#pragma once

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "TavrinKit/Support/Text.h"

namespace tavrin {

/// Sorts records by their `name` as the user's language has it, whatever the case, and those of exactly the
/// same name that come to lie next to each other by their `id`. Names that differ only in case keep their
/// order.
///
/// That is two sorts and not one comparison: one that asks the id only of identical names puts "a", "A" and
/// "a" in a circle.
/// @param first, last  random access iterators
template <typename Iterator>
void sortByName(Iterator first, Iterator last) {
    using Record = typename std::iterator_traits<Iterator>::value_type;
    std::vector<std::pair<std::string, Record>> keyed;
    keyed.reserve(std::size_t(last - first));
    for (Iterator i = first; i != last; ++i) {
        std::string key = collationKey(i->name);
        keyed.emplace_back(std::move(key), std::move(*i));
    }
    std::ranges::stable_sort(keyed, {}, &std::pair<std::string, Record>::first);
    std::ranges::transform(keyed, first, [](auto& pair) { return std::move(pair.second); });
    while (first != last) {
        const Iterator end =
            std::find_if(first, last, [&](const Record& record) { return record.name != first->name; });
        std::stable_sort(first, end, [](const Record& a, const Record& b) { return a.id < b.id; });
        first = end;
    }
}

} // namespace tavrin
