#include "TavrinKit/Capture/CaptureSelection.h"

#include <algorithm>
#include <iterator>
#include <variant>

#include "TavrinKit/Capture/DesktopStreamCaptureError.h"
#include "TavrinKit/Project/TavrinConstants.h"

namespace tavrin {
namespace {

std::vector<ShareableApplication> excludedApplications(const CaptureApplicationExclusionRule& rule,
                                                       const ShareableContent& content) {
    std::vector<ShareableApplication> excluded;
    std::copy_if(content.applications.begin(), content.applications.end(), std::back_inserter(excluded),
                 [&](const ShareableApplication& application) {
                     return rule.bundleIdentifiers.contains(application.bundleIdentifier) ||
                            rule.processIdentifiers.contains(application.processID);
                 });
    return excluded;
}

CaptureSelection displaySelection(const std::string& displayID, const CaptureApplicationExclusionRule& rule,
                                  const ShareableContent& content) {
    const ShareableDisplay* display = findDisplay(displayID, content);
    if (display == nullptr) {
        throw DesktopStreamCaptureError::targetNotFound(displayID);
    }
    const PixelSize size = recordableSize(display->pixels);
    CaptureSelection selection;
    selection.filter.content =
        ContentFilter::Display{display->displayID, excludedApplications(rule, content)};
    selection.filter.contentRect = display->frame;
    selection.filter.pointPixelScale =
        display->frame.width > 0 ? display->pixels.width / display->frame.width : 1.0;
    selection.exclusionRule = rule;
    selection.width = size.width;
    selection.height = size.height;
    return selection;
}

} // namespace

CaptureSelection captureSelection(const CaptureOptions& options,
                                  const CaptureApplicationExclusionRule& exclusionRule,
                                  const ShareableContent& content) {
    if (const auto* display = std::get_if<RecordingTarget::Display>(&options.target.value)) {
        return displaySelection(display->displayID, exclusionRule.united(options.applicationExclusionRule),
                                content);
    }
    throw DesktopStreamCaptureError::targetNotSupported(options.target.isWindow() ? "a window" : "an area");
}

const ShareableDisplay* findDisplay(const std::string& identifier, const ShareableContent& content) {
    const auto& displays = content.displays;
    if (identifier == "main") {
        return displays.empty() ? nullptr : &displays.front();
    }
    const auto found = std::find_if(displays.begin(), displays.end(), [&](const ShareableDisplay& display) {
        return std::to_string(display.displayID) == identifier;
    });
    return found == displays.end() ? nullptr : &*found;
}

PixelSize recordableSize(PixelSize size) {
    const auto evenAtLeastTwo = [](int length) {
        return std::max(2, length - length % 2);
    };
    return {evenAtLeastTwo(size.width), evenAtLeastTwo(size.height)};
}

StreamConfiguration streamConfiguration(const CaptureSelection& selection, const CaptureOptions& options) {
    StreamConfiguration configuration;
    configuration.width = selection.width;
    configuration.height = selection.height;
    configuration.queueDepth = 4;
    configuration.minimumFrameInterval = 1 / TavrinConstants::defaultFPS;
    configuration.showsCursor = !options.excludeCursorFromSource;
    configuration.capturesAudio = options.audio.includeSystemAudio;
    configuration.sampleRate = 48000;
    configuration.channelCount = 2;
    configuration.audioExclusion = selection.exclusionRule;
    configuration.scalesToFit = selection.isWindowCapture || selection.sourceRect.has_value();
    configuration.sourceRect = selection.sourceRect;
    return configuration;
}

} // namespace tavrin
