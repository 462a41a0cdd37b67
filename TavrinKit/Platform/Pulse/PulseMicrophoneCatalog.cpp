#include "TavrinKit/Platform/Pulse/PulseMicrophoneCatalog.h"

#include <utility>

#include "TavrinKit/Platform/Pulse/PulseConnection.h"
#include "TavrinKit/Platform/Pulse/PulseDevices.h"

namespace tavrin {

PulseMicrophoneCatalog::PulseMicrophoneCatalog(std::string server) : server_(std::move(server)) {}

std::vector<CaptureDevice> PulseMicrophoneCatalog::devices(std::stop_token stop) const {
    PulseConnection connection(server_, std::move(stop));
    std::vector<CaptureDevice> microphones;
    for (PulseDevice& each : PulseDevices::sources(connection, std::nullopt)) {
        if (!each.isMonitor) {
            microphones.push_back({std::move(each.source), std::move(each.description)});
        }
    }
    return microphones;
}

} // namespace tavrin
