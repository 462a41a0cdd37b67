#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "TavrinKit/Capture/LiveCursorStateMonitoring.h"

namespace tavrin {

/// What of a cursor state decides whether it is told again: its looks, and its place in tenths of a point.
struct LiveCursorSignature {
    std::string appearanceID;
    bool visible = false;
    std::int64_t locationX = 0;
    std::int64_t locationY = 0;

    explicit LiveCursorSignature(const LiveCursorStateSample& sample);
    friend bool operator==(const LiveCursorSignature&, const LiveCursorSignature&) = default;
};

/// Lets a cursor state pass when it differs from the last one that passed.
class LiveCursorFilter {
public:
    /// @param force  lets it pass in any case
    [[nodiscard]] bool passes(const LiveCursorStateSample& sample, bool force);

private:
    std::optional<LiveCursorSignature> last_;
};

} // namespace tavrin
