#include "TavrinKit/Support/Json.h"

#include <cmath>

#include <fmt/format.h>

#include "TavrinKit/Support/JsonReader.h"

namespace tavrin {
namespace {

std::string sentence(const std::string& reason, const std::string& path) {
    return path.empty() ? fmt::format("The data couldn't be read: {}", reason)
                        : fmt::format("The data couldn't be read at \"{}\": {}", path, reason);
}

[[noreturn]] void mismatch(const char* expected) {
    throw JsonError(JsonErrorKind::typeMismatch, fmt::format("Expected {}.", expected));
}

/// The numbers must be checked before the dump, which would write null for them.
void assertEncodable(const Json& json, int depth) {
    if (json.is_number_float() && !std::isfinite(json.get<double>())) {
        throw JsonError(JsonErrorKind::notEncodable, "A number is not finite.");
    }
    if (depth > maximumJsonDepth) {
        throw JsonError(JsonErrorKind::notEncodable, "The document is nested too deeply.");
    }
    if (json.is_structured()) {
        for (const Json& element : json) {
            assertEncodable(element, depth + 1);
        }
    }
}

std::array<double, 2> pair(const Json& json) {
    if (!json.is_array() || json.size() != 2) {
        mismatch("a list of two numbers");
    }
    std::array<double, 2> values{};
    decode(json[0], values[0]);
    decode(json[1], values[1]);
    return values;
}

} // namespace

JsonError::JsonError(JsonErrorKind kind, const std::string& reason, std::string path)
    : ErrorFamily(kind, sentence(reason, path)), reason_(reason), path_(std::move(path)) {}

void rethrowBelow(const JsonError& error, const std::string& step) {
    const std::string& below = error.path();
    const bool joined = below.empty() || below[0] == '[';
    throw JsonError(error.kind(), error.reason(), step + (joined ? "" : ".") + below);
}

Json parseJson(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xef\xbb\xbf";
    if (text.starts_with(byteOrderMark)) {
        text.remove_prefix(byteOrderMark.size());
    }
    JsonReader reader(text);
    Json tree = reader.readTree();
    reader.finish();
    return tree;
}

std::string encodeJson(const Json& json) {
    assertEncodable(json, 0);
    try {
        return json.dump(2) + "\n";
    } catch (const nlohmann::json::exception& error) {
        throw JsonError(JsonErrorKind::notEncodable, error.what());
    }
}

void encode(Json& json, bool value) {
    json = value;
}
void encode(Json& json, double value) {
    json = value;
}
void encode(Json& json, std::int64_t value) {
    json = value;
}
void encode(Json& json, int value) {
    json = value;
}
void encode(Json& json, const std::string& value) {
    json = value;
}
void encode(Json& json, const UUID& value) {
    json = value.string();
}
void encode(Json& json, Date value) {
    json = iso8601(value);
}
void encode(Json& json, const Rect& value) {
    json = Json::array({Json::array({value.x, value.y}), Json::array({value.width, value.height})});
}

void decode(const Json& json, bool& value) {
    if (!json.is_boolean()) {
        mismatch("true or false");
    }
    value = json.get<bool>();
}

void decode(const Json& json, double& value) {
    if (!json.is_number()) {
        mismatch("a number");
    }
    value = json.get<double>();
}

void decode(const Json& json, std::int64_t& value) {
    if (json.is_number_float()) {
        const double number = json.get<double>();
        if (number != std::floor(number) || std::abs(number) > 9.0e15) {
            mismatch("an integer");
        }
        value = std::int64_t(number);
        return;
    }
    if (!json.is_number_integer() || (json.is_number_unsigned() && json.get<std::uint64_t>() > INT64_MAX)) {
        mismatch("an integer");
    }
    value = json.get<std::int64_t>();
}

void decode(const Json& json, int& value) {
    std::int64_t wide = 0;
    decode(json, wide);
    if (wide < INT32_MIN || wide > INT32_MAX) {
        mismatch("an integer of 32 bits");
    }
    value = int(wide);
}

void decode(const Json& json, std::string& value) {
    if (!json.is_string()) {
        mismatch("a string");
    }
    value = json.get_ref<const std::string&>();
}

void decode(const Json& json, UUID& value) {
    std::string text;
    decode(json, text);
    const auto id = UUID::parse(text);
    if (!id) {
        mismatch("a UUID");
    }
    value = *id;
}

void decode(const Json& json, Date& value) {
    std::string text;
    decode(json, text);
    const auto date = parseISO8601(text);
    if (!date) {
        mismatch("an ISO 8601 date");
    }
    value = *date;
}

void decode(const Json& json, Rect& value) {
    if (!json.is_array() || json.size() != 2) {
        mismatch("a rectangle, [[x, y], [width, height]]");
    }
    const auto origin = pair(json[0]);
    const auto size = pair(json[1]);
    value = {origin[0], origin[1], size[0], size[1]};
}

void assertObject(const Json& json) {
    if (!json.is_object()) {
        mismatch("an object");
    }
}

const Json* JsonObject::find(const char* key) const {
    const auto found = json_->find(key);
    return found == json_->end() || found->is_null() ? nullptr : &*found;
}

} // namespace tavrin
