#pragma once

#include <algorithm>
#include <cctype>
#include <regex>
#include <set>
#include <string>

#include "TavrinKit/Support/Json.h"

namespace tavrin::test {

/// Every key of a document, as a pointer to its value.
inline std::set<std::string> keysOf(const Json& document) {
    std::set<std::string> keys;
    const Json leaves = document.flatten();
    for (const auto& [leaf, value] : leaves.items()) {
        for (Json::json_pointer key(leaf); !key.empty(); key.pop_back()) {
            if (!std::isdigit(key.back()[0])) {
                keys.insert(key.to_string());
            }
        }
    }
    return keys;
}

/// How errors call the place of a pointer: "/a/0/b" is "a[0].b".
inline std::string pathOf(const std::string& pointer) {
    std::string path = std::regex_replace(pointer.substr(1), std::regex("/([0-9]+)"), "[$1]");
    std::ranges::replace(path, '/', '.');
    return path;
}

/// Where the decoding fails; "accepted" when it doesn't.
inline std::string failingPath(const auto& decoding, const Json& document) {
    try {
        static_cast<void>(decoding(encodeJson(document)));
        return "accepted";
    } catch (const JsonError& error) {
        return error.path();
    }
}

/// The same with another value in one place.
inline std::string failingPathWith(const std::string& pointer, const Json& value, const auto& decoding,
                                   Json document) {
    document[Json::json_pointer(pointer)] = value;
    return failingPath(decoding, document);
}

/// The same without one of the keys.
inline std::string failingPathWithout(const Json::json_pointer& key, const auto& decoding, Json document) {
    document[key.parent_pointer()].erase(key.back());
    return failingPath(decoding, document);
}

} // namespace tavrin::test
