#pragma once

#include <string>

#include "TavrinKit/Capture/CaptureDeviceCataloging.h"

namespace tavrin {

/// The microphones of a Pulse server: its sources without the monitors, which only repeat what the speakers
/// play.
///
/// Holds no connection: each call makes its own. It never starts a server.
class PulseMicrophoneCatalog : public CaptureDeviceCataloging {
public:
    /// @param server  as in "unix:/run/user/1000/pulse/native"; empty: the one that the user's environment
    /// names
    explicit PulseMicrophoneCatalog(std::string server = {});

    /// Waits for as long as the server takes.
    /// @throws PulseError, CancellationError
    [[nodiscard]] std::vector<CaptureDevice> devices(std::stop_token stop) const override;

private:
    const std::string server_;
};

} // namespace tavrin
