#pragma once

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// A track that is one style for the whole take. The key is required in JSON.
template <typename Style>
struct StyleTrack {
    Style style{};

    friend bool operator==(const StyleTrack&, const StyleTrack&) = default;
};

template <typename Style>
struct JsonRecord<StyleTrack<Style>> {
    static void fields(auto& keys, auto& value) { keys.required("style", value.style); }
};

} // namespace tavrin
