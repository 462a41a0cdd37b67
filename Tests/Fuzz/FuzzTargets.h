#pragma once

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "TavrinKit/Support/Json.h"

namespace tavrin::fuzz {

// What reads files from outside, each fed with any bytes. An input may be refused by one of the reader's own
// errors; whatever else leaves these functions is a finding.

void fuzzEvents(std::string_view input);
void fuzzEdits(std::string_view input);
void fuzzManifest(std::string_view input);
void fuzzPresets(std::string_view input);
void fuzzBrandKits(std::string_view input);
void fuzzMedia(std::string_view input);

inline void require(bool condition, const char* promise) {
    if (!condition) {
        throw std::logic_error(promise);
    }
}

/// The document, unless the reader refuses it.
template <typename T>
std::optional<T> decoded(std::string_view input) {
    try {
        return decodeDocument<T>(input);
    } catch (const JsonError&) {
        return std::nullopt;
    }
}

/// What was read can be written, and reads as the same again.
template <typename T>
void requireRoundTrip(const T& value) {
    const std::string text = encodeDocument(value);
    const T again = decodeDocument<T>(text);
    require(again == value, "what was written reads as the same");
    require(encodeDocument(again) == text, "the same is written the same");
}

} // namespace tavrin::fuzz
