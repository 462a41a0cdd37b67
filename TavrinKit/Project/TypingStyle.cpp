#include "TavrinKit/Project/TypingStyle.h"

#include <algorithm>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {

TypingStyle TypingStyle::normalized() const {
    TypingStyle result = *this;
    result.burstGapSeconds = clampedTo(burstGapSeconds, 0.08, 1.2);
    result.holdDurationSeconds = clampedTo(holdDurationSeconds, 0.1, 3);
    result.fadeDurationSeconds = clampedTo(fadeDurationSeconds, 0.08, 1.4);
    result.keyPopDurationSeconds = clampedTo(keyPopDurationSeconds, 0.08, 0.7);
    result.maxVisibleChips = std::clamp<std::int64_t>(maxVisibleChips, 1, 16);
    return result;
}

} // namespace tavrin
