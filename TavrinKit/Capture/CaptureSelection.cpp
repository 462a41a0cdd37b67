#include "TavrinKit/Capture/CaptureSelection.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <limits>
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
                     return rule.excludes(application.bundleIdentifier, application.processID);
                 });
    return excluded;
}

int pixelsOf(double length) {
    constexpr double most = std::numeric_limits<std::int16_t>::max();
    return std::max(2, int(std::ceil(std::min(length, most))));
}

const ShareableDisplay& requiredDisplay(const std::string& displayID, const ShareableContent& content) {
    const ShareableDisplay* display = findDisplay(displayID, content);
    if (display == nullptr) {
        throw DesktopStreamCaptureError::targetNotFound(displayID);
    }
    return *display;
}

CaptureSelection displaySelection(const std::string& displayID, const CaptureApplicationExclusionRule& rule,
                                  const ShareableContent& content) {
    const ShareableDisplay& display = requiredDisplay(displayID, content);
    const PixelSize size = recordableSize(display.pixels);
    CaptureSelection selection;
    selection.filter.content =
        ContentFilter::Display{display.displayID, excludedApplications(rule, content), rule};
    selection.filter.contentRect = display.frame;
    selection.filter.pointPixelScale =
        display.frame.width > 0 ? display.pixels.width / display.frame.width : 1.0;
    selection.exclusionRule = rule;
    selection.width = size.width;
    selection.height = size.height;
    return selection;
}

CaptureSelection areaSelection(const RecordingTarget::Area& area, const CaptureOptions& options,
                               const CaptureApplicationExclusionRule& rule, const ShareableContent& content) {
    const ShareableDisplay& display = requiredDisplay(area.displayID, content);
    const auto& context = options.mappingContext;
    const Rect source =
        areaSourceRect(area.rect, display, context ? context->mainDisplayHeight : std::nullopt);
    const Size2D scale = resolvedDisplayScale(display);
    const PixelSize size =
        recordableSize({pixelsOf(source.width * scale.width), pixelsOf(source.height * scale.height)});
    CaptureSelection selection = displaySelection(area.displayID, rule, content);
    selection.sourceRect = source;
    selection.width = size.width;
    selection.height = size.height;
    return selection;
}

CaptureSelection windowSelection(const std::string& windowID, const ShareableContent& content) {
    const ShareableWindow* window = findWindow(windowID, content);
    if (window == nullptr) {
        throw DesktopStreamCaptureError::targetNotFound(windowID);
    }
    CaptureSelection selection;
    selection.filter.content = ContentFilter::Window{window->windowID};
    selection.filter.contentRect = window->frame;
    const PixelSize size = recordableSize(resolvedWindowCapturePixelSize(
        selection.filter.contentRect, selection.filter.pointPixelScale, window->frame));
    selection.width = size.width;
    selection.height = size.height;
    selection.isWindowCapture = true;
    return selection;
}

} // namespace

CaptureSelection captureSelection(const CaptureOptions& options,
                                  const CaptureApplicationExclusionRule& exclusionRule,
                                  const ShareableContent& content) {
    if (const auto* window = std::get_if<RecordingTarget::Window>(&options.target.value)) {
        return windowSelection(window->windowID, content);
    }
    const CaptureApplicationExclusionRule rule = exclusionRule.united(options.applicationExclusionRule);
    if (const auto* area = std::get_if<RecordingTarget::Area>(&options.target.value)) {
        return areaSelection(*area, options, rule, content);
    }
    return displaySelection(std::get<RecordingTarget::Display>(options.target.value).displayID, rule,
                            content);
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

const ShareableWindow* findWindow(const std::string& identifier, const ShareableContent& content) {
    const char* begin = identifier.data() + (identifier.starts_with('+') ? 1 : 0);
    const char* end = identifier.data() + identifier.size();
    std::uint32_t number = 0;
    const auto [rest, error] = std::from_chars(begin, end, number);
    if (error != std::errc() || rest != end) {
        return nullptr;
    }
    const auto& windows = content.windows;
    const auto found = std::find_if(windows.begin(), windows.end(), [number = number](const auto& window) {
        return window.windowID == number;
    });
    return found == windows.end() ? nullptr : &*found;
}

PixelSize resolvedWindowCapturePixelSize(const Rect& contentRect, double pointPixelScale,
                                         const Rect& fallbackFrame) {
    const bool isUsable = contentRect.width > 1 && contentRect.height > 1;
    const Rect& rect = isUsable ? contentRect : fallbackFrame;
    const double scale = std::isfinite(pointPixelScale) && pointPixelScale > 1 ? pointPixelScale : 1;
    return {pixelsOf(rect.width * scale), pixelsOf(rect.height * scale)};
}

Size2D resolvedDisplayScale(const ShareableDisplay& display) {
    return {std::max(2, display.pixels.width) / std::max(1.0, display.frame.width),
            std::max(2, display.pixels.height) / std::max(1.0, display.frame.height)};
}

Rect areaSourceRect(const Rect& rect, const ShareableDisplay& display,
                    std::optional<double> mainDisplayHeight) {
    Rect frame = display.frame;
    if (mainDisplayHeight && std::isfinite(*mainDisplayHeight) && *mainDisplayHeight > 0) {
        frame.y = *mainDisplayHeight - frame.minY() - frame.height;
    }
    const Rect seen = rect.standardized().intersection(frame);
    if (!(seen.width > 1 && seen.height > 1)) {
        throw DesktopStreamCaptureError::targetNotFound(std::to_string(display.displayID));
    }
    const double fromLeft = seen.minX() - frame.minX();
    const double fromBottom = seen.minY() - frame.minY();
    return {fromLeft, frame.height - fromBottom - seen.height, seen.width, seen.height};
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
