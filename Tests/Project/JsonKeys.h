#pragma once

#include <cctype>
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

/// The document without one of its keys.
inline std::string textWithout(Json document, const Json::json_pointer& key) {
    document[key.parent_pointer()].erase(key.back());
    return encodeJson(document);
}

/// How errors call the place of a pointer: "/a/0/b" is "a[0].b".
inline std::string pathOf(std::string pointer) {
    pointer.erase(0, 1);
    for (std::size_t at = 0; (at = pointer.find('/', at)) != std::string::npos;) {
        const bool isIndex = std::isdigit(pointer[at + 1]) != 0;
        pointer.replace(at, isIndex ? 2 : 1, isIndex ? "[" + pointer.substr(at + 1, 1) + "]" : ".");
    }
    return pointer;
}

/// Where the decoding fails; "accepted" when it doesn't.
inline std::string failingPath(const auto& decoding) {
    try {
        decoding();
        return "accepted";
    } catch (const JsonError& error) {
        return error.path();
    }
}

} // namespace tavrin::test
