#pragma once

#include <exception>

#include "TavrinKit/Readiness/AppErrorCode.h"

namespace tavrin::ErrorTaxonomy {

/// The code of any error that was raised anywhere in the program.
///
/// A cancelled export counts as a failed write: flows catch a cancellation before they classify. A microphone
/// that didn't start counts as what lies beneath. What has no code of its own is `unknown`; so is null.
[[nodiscard]] AppErrorCode classify(const std::exception_ptr& error) noexcept;

} // namespace tavrin::ErrorTaxonomy
