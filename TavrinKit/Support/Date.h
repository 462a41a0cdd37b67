#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tavrin {

/// A moment with the resolution that JSON keeps.
using Date = std::chrono::sys_seconds;

[[nodiscard]] Date currentDate();

/// "2026-01-15T10:15:30Z"
[[nodiscard]] std::string iso8601(Date date);

/// Reads "yyyy-MM-ddTHH:mm:ss" followed by "Z" or an offset like "+02:00"; nothing else.
[[nodiscard]] std::optional<Date> parseISO8601(std::string_view text);

/// "yyyyMMdd-HHmmss" in the current time zone, independent of the locale: for names of files and folders.
[[nodiscard]] std::string timestampLabel(Date date);

} // namespace tavrin
