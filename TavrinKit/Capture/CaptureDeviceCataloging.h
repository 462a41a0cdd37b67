#pragma once

#include <stop_token>
#include <string>
#include <vector>

namespace tavrin {

/// A microphone or a camera.
struct CaptureDevice {
    std::string id;   ///< finds the device again; the platform's own name for it
    std::string name; ///< what the user calls it; UTF-8

    friend bool operator==(const CaptureDevice&, const CaptureDevice&) = default;
};

/// Lists the devices of one kind that are attached right now. Any thread; calls may overlap.
class CaptureDeviceCataloging {
public:
    virtual ~CaptureDeviceCataloging() = default;

    /// May hang when the platform does: callers race it against a timer. Whatever waits for a server ends at
    /// a stop request.
    /// @return in the platform's order; none of them is no error
    /// @throws Error of the platform, CancellationError
    [[nodiscard]] virtual std::vector<CaptureDevice> devices(std::stop_token stop) const = 0;
};

} // namespace tavrin
