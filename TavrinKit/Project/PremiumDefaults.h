#pragma once

#include "TavrinKit/Project/TimelineModel.h"

/// What a new recording starts with.
namespace tavrin::PremiumDefaults {

[[nodiscard]] TimelineModel timelineModel();

} // namespace tavrin::PremiumDefaults
