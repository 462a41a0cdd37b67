#include "TavrinKit/Capture/CaptureTypes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

#include <unistd.h>

namespace tavrin {
namespace {

/// The identifier of the desktop entry that launched this process: the entry's file name without
/// ".desktop". The launcher leaves both variables behind; the second guards against a parent's.
std::string launchedDesktopIdentifier() {
    const char* file = std::getenv("GIO_LAUNCHED_DESKTOP_FILE");
    const char* process = std::getenv("GIO_LAUNCHED_DESKTOP_FILE_PID");
    if (file == nullptr || process == nullptr || std::to_string(getpid()) != process) {
        return {};
    }
    return std::filesystem::path(file).stem().string();
}

double durationBetween(double start, double end) {
    const double duration = end - start;
    return std::isfinite(duration) && duration > 0 ? duration : 0;
}

template <typename Value>
void decodeSet(const JsonObject& object, const char* key, std::set<Value>& values) {
    const auto list = object.required<std::vector<Value>>(key);
    values = std::set<Value>(list.begin(), list.end());
}

} // namespace

RecordingTarget RecordingTarget::display(std::string displayID) {
    return {Display{std::move(displayID)}};
}

RecordingTarget RecordingTarget::window(std::string windowID) {
    return {Window{std::move(windowID)}};
}

RecordingTarget RecordingTarget::area(std::string displayID, const Rect& rect) {
    return {Area{std::move(displayID), rect}};
}

CaptureApplicationExclusionRule CaptureApplicationExclusionRule::currentProcess() {
    CaptureApplicationExclusionRule rule;
    if (std::string identifier = launchedDesktopIdentifier(); !identifier.empty()) {
        rule.bundleIdentifiers.insert(std::move(identifier));
    }
    rule.processIdentifiers.insert(getpid());
    return rule;
}

CaptureApplicationExclusionRule
CaptureApplicationExclusionRule::united(const CaptureApplicationExclusionRule& other) const {
    CaptureApplicationExclusionRule rule = *this;
    rule.bundleIdentifiers.insert(other.bundleIdentifiers.begin(), other.bundleIdentifiers.end());
    rule.processIdentifiers.insert(other.processIdentifiers.begin(), other.processIdentifiers.end());
    return rule;
}

bool CaptureApplicationExclusionRule::excludes(const std::string& bundleIdentifier,
                                               std::int32_t processIdentifier) const {
    return (!bundleIdentifier.empty() && bundleIdentifiers.contains(bundleIdentifier)) ||
           (processIdentifier != 0 && processIdentifiers.contains(processIdentifier));
}

double CameraCaptureTrackResult::duration() const {
    return std::max(endedAt - startedAt, 0.0);
}

double ScreenCaptureResult::duration() const {
    return durationBetween(startedAt, endedAt);
}

void encode(Json& json, const RecordingTarget& value) {
    json = Json::object();
    if (const auto* display = std::get_if<RecordingTarget::Display>(&value.value)) {
        JsonObjectWriter(json["display"]).put("displayID", display->displayID);
    } else if (const auto* window = std::get_if<RecordingTarget::Window>(&value.value)) {
        JsonObjectWriter(json["window"]).put("windowID", window->windowID);
    } else {
        const auto& area = std::get<RecordingTarget::Area>(value.value);
        JsonObjectWriter(json["area"]).put("displayID", area.displayID).put("rect", area.rect);
    }
}

void decode(const Json& json, RecordingTarget& value) {
    const JsonObject object(json);
    const Json* display = object.find("display");
    const Json* window = object.find("window");
    const Json* area = object.find("area");
    if ((display != nullptr) + (window != nullptr) + (area != nullptr) != 1) {
        throw JsonError(JsonErrorKind::typeMismatch, "Invalid number of keys found, expected one.");
    }
    if (display != nullptr) {
        value = RecordingTarget::display(JsonObject(*display).required<std::string>("displayID"));
    } else if (window != nullptr) {
        value = RecordingTarget::window(JsonObject(*window).required<std::string>("windowID"));
    } else {
        const JsonObject fields(*area);
        value =
            RecordingTarget::area(fields.required<std::string>("displayID"), fields.required<Rect>("rect"));
    }
}

void encode(Json& json, const CaptureApplicationExclusionRule& value) {
    JsonObjectWriter(json)
        .put("bundleIdentifiers",
             std::vector<std::string>(value.bundleIdentifiers.begin(), value.bundleIdentifiers.end()))
        .put("processIdentifiers",
             std::vector<int>(value.processIdentifiers.begin(), value.processIdentifiers.end()));
}

void decode(const Json& json, CaptureApplicationExclusionRule& value) {
    const JsonObject object(json);
    decodeSet(object, "bundleIdentifiers", value.bundleIdentifiers);
    decodeSet(object, "processIdentifiers", value.processIdentifiers);
}

} // namespace tavrin
