#pragma once

#include "TavrinKit/Project/ExportCapability.h"

namespace tavrin {

/// Says what the machine can encode: all that an export needs to know of it.
class ExportCapabilityServicing {
public:
    virtual ~ExportCapabilityServicing() = default;

    /// Taken fresh at each call. Any thread; doesn't throw.
    [[nodiscard]] virtual ExportCapabilitySnapshot exportCapabilities() const = 0;
};

} // namespace tavrin
