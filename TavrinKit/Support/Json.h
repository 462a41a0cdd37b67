#pragma once

#include <algorithm>
#include <array>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "TavrinKit/Support/Date.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Geometry.h"
#include "TavrinKit/Support/UUID.h"

namespace tavrin {

using Json = nlohmann::json;

enum class JsonErrorKind { malformed, missingKey, typeMismatch, notEncodable };

/// JSON that is no JSON, or that doesn't hold what a record asks for.
class JsonError : public ErrorFamily<JsonErrorKind> {
public:
    /// @param path  where in the document, as in "timeline.zoomTrack.segments[3].focus"; may be empty
    JsonError(JsonErrorKind kind, const std::string& reason, std::string path = {});

    [[nodiscard]] const std::string& path() const { return path_; }
    [[nodiscard]] const std::string& reason() const { return reason_; }

private:
    std::string reason_;
    std::string path_;
};

/// How deep a document may be nested.
inline constexpr int maximumJsonDepth = 128;

/// Parses a document; nesting beyond `maximumJsonDepth` levels is refused.
/// @throws JsonError
[[nodiscard]] Json parseJson(std::string_view text);

/// Pretty printed with sorted keys, and a line end. Independent of the locale.
/// @throws JsonError for a number that is not finite, or text that is not UTF-8
[[nodiscard]] std::string encodeJson(const Json& json);

/// What a type must offer to stand in a document: two free functions, found by its namespace. A record has
/// them once it has a JsonRecord, an enumeration once it has EnumNames.
///
///     void encode(Json& json, const T& value);
///     void decode(const Json& json, T& value);     // throws JsonError
void encode(Json& json, bool value);
void encode(Json& json, double value);
void encode(Json& json, std::int64_t value);
void encode(Json& json, int value);
void encode(Json& json, const std::string& value);
void encode(Json& json, const UUID& value);
void encode(Json& json, Date value);
/// As two nested lists, [[x, y], [width, height]].
void encode(Json& json, const Rect& value);

void decode(const Json& json, bool& value);
void decode(const Json& json, double& value);
void decode(const Json& json, std::int64_t& value);
void decode(const Json& json, int& value);
void decode(const Json& json, std::string& value);
void decode(const Json& json, UUID& value);
void decode(const Json& json, Date& value);
void decode(const Json& json, Rect& value);

/// An enumeration that stands in JSON as a string: specialise with
///     using enum E;
///     static constexpr auto names = namedCases<E>({{first, "first"}, {second, "second"}});
template <typename E>
struct EnumNames;

template <typename E, std::size_t count>
[[nodiscard]] constexpr auto namedCases(const std::pair<E, std::string_view> (&names)[count]) {
    return std::to_array(names);
}

template <typename E>
concept NamedEnum = std::is_enum_v<E> && requires {
    EnumNames<E>::names;
};

/// The cases of an enumeration, in the order of its names.
template <NamedEnum E>
inline constexpr auto allCases = [] {
    std::array<E, EnumNames<E>::names.size()> cases{};
    std::ranges::transform(EnumNames<E>::names, cases.begin(), [](const auto& named) { return named.first; });
    return cases;
}();

template <NamedEnum E>
[[nodiscard]] std::string_view nameOf(E value) {
    for (const auto& [candidate, name] : EnumNames<E>::names) {
        if (candidate == value) {
            return name;
        }
    }
    return {};
}

template <NamedEnum E>
[[nodiscard]] std::optional<E> enumNamed(std::string_view text) {
    for (const auto& [value, name] : EnumNames<E>::names) {
        if (name == text) {
            return value;
        }
    }
    return std::nullopt;
}

template <NamedEnum E>
void encode(Json& json, E value) {
    json = std::string(nameOf(value));
}

template <NamedEnum E>
void decode(const Json& json, E& value) {
    std::string text;
    decode(json, text);
    if (const auto found = enumNamed<E>(text)) {
        value = *found;
    } else {
        throw JsonError(JsonErrorKind::typeMismatch, "Unknown case \"" + text + "\".");
    }
}

template <typename T>
void encode(Json& json, const std::vector<T>& values) {
    json = Json::array();
    for (const T& value : values) {
        encode(json.emplace_back(), value);
    }
}

/// @throws JsonError when `json` is no object
void assertObject(const Json& json);

/// Adds where in the document an error arose to the error.
[[noreturn]] void rethrowBelow(const JsonError& error, const std::string& step);

template <typename T>
void decode(const Json& json, std::vector<T>& values) {
    if (!json.is_array()) {
        throw JsonError(JsonErrorKind::typeMismatch, "Expected an array.");
    }
    values.clear();
    values.reserve(json.size());
    for (std::size_t i = 0; i < json.size(); ++i) {
        try {
            T value{};
            decode(json[i], value);
            values.push_back(std::move(value));
        } catch (const JsonError& error) {
            rethrowBelow(error, "[" + std::to_string(i) + "]");
        }
    }
}

/// As an object. Its keys are data: the path of an error ends at the object that holds them.
template <typename T>
void encode(Json& json, const std::map<std::string, T>& values) {
    json = Json::object();
    for (const auto& [name, value] : values) {
        encode(json[name], value);
    }
}

template <typename T>
void decode(const Json& json, std::map<std::string, T>& values) {
    assertObject(json);
    values.clear();
    for (const auto& [name, value] : json.items()) {
        decode(value, values[name]);
    }
}

/// Reads the keys of one JSON object.
///
/// Whether a record tolerates a missing key shows in which call reads it. Unknown keys are ignored. A key
/// whose value is null counts as missing.
class JsonObject {
public:
    /// @throws JsonError when `json` is no object
    explicit JsonObject(const Json& json) : json_(&json) { assertObject(json); }

    /// @throws JsonError when the key is missing or its value of another type
    template <typename T>
    void required(const char* key, T& value) const {
        const Json* found = find(key);
        if (found == nullptr) {
            throw JsonError(JsonErrorKind::missingKey, "The key is missing.", key);
        }
        decodeAt(key, *found, value);
    }
    template <typename T>
    [[nodiscard]] T required(const char* key) const {
        T value{};
        required(key, value);
        return value;
    }

    /// Leaves `value` as it is when the key is missing.
    template <typename T>
    void tolerated(const char* key, T& value) const {
        if (const Json* found = find(key)) {
            decodeAt(key, *found, value);
        }
    }
    template <typename T>
    void tolerated(const char* key, std::optional<T>& value) const {
        if (const Json* found = find(key)) {
            decodeAt(key, *found, value.emplace());
        }
    }

    /// The value of the key, or null when it is missing.
    [[nodiscard]] const Json* find(const char* key) const;

private:
    template <typename T>
    static void decodeAt(const char* key, const Json& json, T& value) {
        try {
            decode(json, value);
        } catch (const JsonError& error) {
            rethrowBelow(error, key);
        }
    }

    const Json* json_;
};

/// Makes one JSON object; an absent optional leaves its key out.
class JsonObjectWriter {
public:
    explicit JsonObjectWriter(Json& json) : json_(&json) { json = Json::object(); }

    template <typename T>
    JsonObjectWriter& put(const char* key, const T& value) {
        encode((*json_)[key], value);
        return *this;
    }
    template <typename T>
    JsonObjectWriter& put(const char* key, const std::optional<T>& value) {
        if (value) {
            encode((*json_)[key], *value);
        }
        return *this;
    }

    // The same under the names that JsonObject has.
    void required(const char* key, const auto& value) { put(key, value); }
    void tolerated(const char* key, const auto& value) { put(key, value); }

private:
    Json* json_;
};

/// A record that stands in JSON as an object: specialise with its keys, which are written and read in this
/// one place. What a tolerated key is missing for has the value of a default record.
///
///     static void fields(auto& keys, auto& value) {
///         keys.required("x", value.x);
///         keys.tolerated("y", value.y);
///     }
///     static constexpr bool decoderNormalizes = true; // where what is read passes through `normalized()`
template <typename T>
struct JsonRecord;

template <typename T>
concept HasJsonRecord = requires {
    sizeof(JsonRecord<T>);
};

template <HasJsonRecord T>
void encode(Json& json, const T& value) {
    JsonObjectWriter keys(json);
    JsonRecord<T>::fields(keys, value);
}

template <HasJsonRecord T>
void decode(const Json& json, T& value) {
    const JsonObject keys(json);
    T record{};
    JsonRecord<T>::fields(keys, record);
    if constexpr (requires { JsonRecord<T>::decoderNormalizes; }) {
        record = record.normalized();
    }
    value = std::move(record);
}

template <>
struct JsonRecord<Vec2> {
    static void fields(auto& keys, auto& value) {
        keys.required("x", value.x);
        keys.required("y", value.y);
    }
};

template <>
struct JsonRecord<Size2D> {
    static void fields(auto& keys, auto& value) {
        keys.required("width", value.width);
        keys.required("height", value.height);
    }
};

/// A whole document of any type that has encode and decode.
template <typename T>
[[nodiscard]] std::string encodeDocument(const T& value) {
    Json json;
    encode(json, value);
    return encodeJson(json);
}

template <typename T>
[[nodiscard]] T decodeDocument(std::string_view text) {
    const Json json = parseJson(text);
    T value{};
    decode(json, value);
    return value;
}

} // namespace tavrin
