#pragma once

#include <map>
#include <string>

namespace tavrin {

/// Facts that go with a log entry, an error or a check.
using Metadata = std::map<std::string, std::string>;

} // namespace tavrin
