#include "TavrinKit/Platform/X11/LiveCursorSignature.h"

#include <cmath>
#include <utility>

namespace tavrin {

LiveCursorSignature::LiveCursorSignature(const LiveCursorStateSample& sample)
    : appearanceID(sample.appearance.identifier()), visible(sample.visible),
      locationX(std::llround(sample.location.x * 10)), locationY(std::llround(sample.location.y * 10)) {}

bool LiveCursorFilter::passes(const LiveCursorStateSample& sample, bool force) {
    LiveCursorSignature signature(sample);
    if (!force && last_ == signature) {
        return false;
    }
    last_ = std::move(signature);
    return true;
}

} // namespace tavrin
