#include "TavrinKit/Platform/Pulse/PulseDevices.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <string_view>

#include <pulse/pulseaudio.h>

#include "TavrinKit/Platform/Pulse/PulseConnection.h"
#include "TavrinKit/Platform/Pulse/PulseError.h"

namespace tavrin::PulseDevices {
namespace {

constexpr std::chrono::seconds patience(2);

std::string textOf(const char* text) {
    return text != nullptr ? text : "";
}

struct Defaults {
    std::string sink;
    std::string source;
};

Defaults defaults(PulseConnection& connection) {
    Defaults found;
    const auto take = [](pa_context*, const pa_server_info* server, void* destination) {
        if (server != nullptr) {
            auto& names = *static_cast<Defaults*>(destination);
            names = {textOf(server->default_sink_name), textOf(server->default_source_name)};
        }
    };
    connection.finish(pa_context_get_server_info(connection.context(), take, &found),
                      "asking for the default devices", patience);
    return found;
}

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; });
    return text;
}

std::string propertyOf(const pa_sink_input_info& input, const char* key) {
    return textOf(pa_proplist_gets(input.proplist, key));
}

bool isExcluded(const pa_sink_input_info& input, const CaptureApplicationExclusionRule& rule) {
    const std::string process = propertyOf(input, PA_PROP_APPLICATION_PROCESS_ID);
    std::int32_t processID = 0;
    std::from_chars(process.data(), process.data() + process.size(), processID);
    if (processID > 0 && rule.processIdentifiers.contains(processID)) {
        return true;
    }
    const std::string program = lowered(propertyOf(input, PA_PROP_APPLICATION_PROCESS_BINARY));
    const std::array names{program, lowered(propertyOf(input, PA_PROP_APPLICATION_ID)),
                           lowered(propertyOf(input, "pipewire.access.portal.app_id")),
                           lowered(propertyOf(input, PA_PROP_APPLICATION_ICON_NAME))};
    return std::any_of(
        rule.bundleIdentifiers.begin(), rule.bundleIdentifiers.end(), [&](std::string identifier) {
            identifier = lowered(identifier);
            constexpr std::string_view suffix = ".desktop";
            if (identifier.ends_with(suffix)) {
                identifier.resize(identifier.size() - suffix.size());
            }
            const std::string last = identifier.substr(identifier.rfind('.') + 1);
            return !last.empty() &&
                   (std::find(names.begin(), names.end(), identifier) != names.end() || last == program);
        });
}

} // namespace

std::vector<PulseDevice> sources(PulseConnection& connection,
                                 std::optional<std::chrono::duration<double>> bound) {
    constexpr const char* request = "listing the microphones";
    struct List {
        std::vector<PulseDevice> devices;
        bool isComplete = false;
    } list;
    const auto take = [](pa_context*, const pa_source_info* source, int end, void* destination) {
        auto& [devices, isComplete] = *static_cast<List*>(destination);
        if (end == 0) {
            devices.push_back({textOf(source->name), textOf(source->description),
                               source->monitor_of_sink != PA_INVALID_INDEX});
        }
        isComplete = end > 0; // below 0 the server refused
    };
    connection.finish(pa_context_get_source_info_list(connection.context(), take, &list), request, bound);
    if (!list.isComplete) {
        throw PulseError::requestFailed(request, connection.lastReason());
    }
    return std::move(list.devices);
}

std::optional<PulseDevice> speakers(PulseConnection& connection) {
    const std::string name = defaults(connection).sink;
    if (name.empty()) {
        return std::nullopt;
    }
    std::optional<PulseDevice> found;
    const auto take = [](pa_context*, const pa_sink_info* sink, int end, void* destination) {
        if (end == 0 && sink->monitor_source_name != nullptr) {
            auto& device = *static_cast<std::optional<PulseDevice>*>(destination);
            device = PulseDevice{sink->monitor_source_name, textOf(sink->description), true};
        }
    };
    connection.finish(pa_context_get_sink_info_by_name(connection.context(), name.c_str(), take, &found),
                      "asking for the default output", patience);
    return found;
}

std::optional<PulseDevice> microphone(PulseConnection& connection, const std::string& name) {
    const std::string byDefault = defaults(connection).source;
    std::optional<PulseDevice> best;
    int bestRank = 0;
    for (const PulseDevice& device : sources(connection, patience)) {
        const int rank = !name.empty() && device.source == name            ? 3
                         : !device.isMonitor && device.source == byDefault ? 2
                                                                           : int(!device.isMonitor);
        if (rank > bestRank) {
            best = device;
            bestRank = rank;
        }
    }
    return best;
}

std::vector<std::uint32_t> applications(PulseConnection& connection,
                                        const CaptureApplicationExclusionRule& exclusion) {
    struct Destination {
        const CaptureApplicationExclusionRule& rule;
        std::vector<std::uint32_t> inputs;
    } destination{exclusion, {}};
    const auto take = [](pa_context*, const pa_sink_input_info* input, int end, void* wanted) {
        auto& [rule, inputs] = *static_cast<Destination*>(wanted);
        if (end == 0 && !isExcluded(*input, rule)) {
            inputs.push_back(input->index);
        }
    };
    connection.finish(pa_context_get_sink_input_info_list(connection.context(), take, &destination),
                      "listing what is played", patience);
    return std::move(destination.inputs);
}

} // namespace tavrin::PulseDevices
