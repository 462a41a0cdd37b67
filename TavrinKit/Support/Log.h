#pragma once

#include <exception>
#include <map>
#include <string>
#include <string_view>

namespace tavrin {

using LogMetadata = std::map<std::string, std::string>;

/// Writes one line to standard error about a failure that the work survived; the user never sees it.
///
///     [TavrinKit.CaptureCoordinator] startCaptureWithTimeout.sleep error=… stack=… timeoutSeconds=12.0
///
/// The metadata is written sorted by key; "error" and "stack" (the first 8 lines of the call stack, joined
/// by " | ") are added here. Any thread.
/// @param service  "TavrinKit." and the name of the type that reports
void logRecoverableFailure(std::string_view service, std::string_view context,
                           const std::exception_ptr& error, LogMetadata metadata = {});

} // namespace tavrin
