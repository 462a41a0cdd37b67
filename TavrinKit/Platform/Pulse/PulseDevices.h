#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Capture/CaptureTypes.h"

namespace tavrin {

class PulseConnection;

/// A source of a Pulse server that can be recorded.
struct PulseDevice {
    std::string source;      ///< its name
    std::string description; ///< as the user knows the device
    bool isMonitor = false;  ///< repeats what an output plays
};

/// What a Pulse server has at the moment. Each call waits for the answer, two seconds at most unless it says
/// otherwise.
/// @throws PulseError, CancellationError
namespace PulseDevices {

/// Microphones and monitors, in the server's order.
/// @param bound  seconds that the server is given; absent: none
[[nodiscard]] std::vector<PulseDevice> sources(PulseConnection& connection,
                                               std::optional<std::chrono::duration<double>> bound);

/// The monitor of the default output; nothing when there is no output.
[[nodiscard]] std::optional<PulseDevice> speakers(PulseConnection& connection);

/// The microphone of that name, or else the default one, or else, when the default is none, the first.
/// Monitors of outputs are no microphones unless asked for by name.
[[nodiscard]] std::optional<PulseDevice> microphone(PulseConnection& connection, const std::string& name);

/// What the applications play that the rule doesn't name: the indices of their sink inputs.
///
/// An application is recognised by its process, or by an identifier that equals one of its stream's
/// properties (application.id, the sandbox's identifier, the program's or the icon's name), whatever the case
/// of letters. Of an identifier such as "org.example.Player" the last part may also be the program's name.
[[nodiscard]] std::vector<std::uint32_t> applications(PulseConnection& connection,
                                                      const CaptureApplicationExclusionRule& exclusion);

} // namespace PulseDevices
} // namespace tavrin
