#pragma once

#include "TavrinKit/Effects/InlineVector.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

template <typename T, std::size_t Capacity>
void encode(Json& json, const InlineVector<T, Capacity>& values) {
    json = Json::array();
    for (const T& value : values) {
        encode(json.emplace_back(), value);
    }
}

/// @throws JsonError, also for a list longer than the capacity
template <typename T, std::size_t Capacity>
void decode(const Json& json, InlineVector<T, Capacity>& values) {
    std::vector<T> elements;
    decode(json, elements);
    if (elements.size() > Capacity) {
        throw JsonError(JsonErrorKind::typeMismatch, "The array is too long.");
    }
    values.clear();
    for (const T& element : elements) {
        values.push_back(element);
    }
}

} // namespace tavrin
