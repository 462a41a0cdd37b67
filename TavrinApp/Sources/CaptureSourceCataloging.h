#pragma once

#include <stop_token>
#include <vector>

#include "TavrinApp/Sources/CaptureSourceOption.h"

namespace tavrin {

/// Lists what can be recorded. Any thread.
class CaptureSourceCataloging {
public:
    virtual ~CaptureSourceCataloging() = default;

    /// What there is at this moment, displays first, then windows.
    /// @throws Error when the display server can't be asked, CancellationError
    [[nodiscard]] virtual std::vector<CaptureSourceOption> loadSources(const std::stop_token& stop = {}) = 0;
};

} // namespace tavrin
