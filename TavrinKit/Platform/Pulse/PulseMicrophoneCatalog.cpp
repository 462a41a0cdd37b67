#include "TavrinKit/Platform/Pulse/PulseMicrophoneCatalog.h"

#include <utility>

#include <pulse/pulseaudio.h>

#include "TavrinKit/Platform/Pulse/PulseConnection.h"
#include "TavrinKit/Platform/Pulse/PulseError.h"

namespace tavrin {
namespace {

struct SourceList {
    std::vector<CaptureDevice> microphones;
    bool isComplete = false;
};

/// @param end  0: `source` is one more; above 0: that was all; below 0: the server refused
void take(pa_context*, const pa_source_info* source, int end, void* destination) {
    auto& list = *static_cast<SourceList*>(destination);
    if (end != 0) {
        list.isComplete = end > 0;
    } else if (source->monitor_of_sink == PA_INVALID_INDEX) {
        list.microphones.push_back({source->name, source->description});
    }
}

} // namespace

PulseMicrophoneCatalog::PulseMicrophoneCatalog(std::string server) : server_(std::move(server)) {}

std::vector<CaptureDevice> PulseMicrophoneCatalog::devices(std::stop_token stop) const {
    constexpr const char* request = "listing the microphones";
    SourceList list; // outlives the connection, whose end may still call back
    PulseConnection connection(server_, std::move(stop));
    connection.finish(pa_context_get_source_info_list(connection.context(), take, &list), request);
    if (!list.isComplete) {
        throw PulseError::requestFailed(request, pa_strerror(pa_context_errno(connection.context())));
    }
    return std::move(list.microphones);
}

} // namespace tavrin
