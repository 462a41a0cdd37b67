#pragma once

#include <map>
#include <string>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Facts that go with a log entry, an error or a check.
using Metadata = std::map<std::string, std::string>;

/// The object under the key "metadata".
/// @throws JsonError when it is missing or holds anything but strings
[[nodiscard]] Metadata requiredMetadata(const JsonObject& object);

} // namespace tavrin
