#include "TavrinApp/Sources/DesktopSourceCatalog.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include <fmt/format.h>

#include "TavrinApp/Sources/CaptureSourceGeometry.h"
#include "TavrinKit/Capture/DesktopCaptureBridge.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr double leastSide = 80; // points
constexpr std::size_t longestTitle = 60;
constexpr std::size_t keptOfLongTitle = 57;

/// Identifiers, in lower case, of what draws the desktop itself.
constexpr std::array<std::string_view, 5> desktopComponents{"com.apple.", "org.gnome.shell", "gnome-shell",
                                                            "org.kde.plasmashell", "plasmashell"};

/// Surfaces that such components put behind or over everything else.
constexpr std::array<std::string_view, 3> blockedSyntheticWindowTitles{"backdrop", "backstop", "underbelly"};

std::string normalized(std::string_view text) {
    return withSingleBlanks(lowerCased(text));
}

/// The server has one space for displays and windows, so that a display's frame in the content, turned over,
/// is where its screen lies for the application too. There is no second list of screens to compare with.
double mainDisplayHeight(const ShareableContent& content) {
    if (content.mainDisplayHeight > 0) {
        return content.mainDisplayHeight;
    }
    const auto& displays = content.displays;
    const auto atOrigin = std::ranges::find_if(displays, [](const ShareableDisplay& display) {
        return display.frame.x == 0 && display.frame.y == 0 && display.frame.height > 0;
    });
    if (atOrigin != displays.end()) {
        return atOrigin->frame.height;
    }
    return displays.empty() ? 0 : displays.front().frame.height;
}

CaptureSourceOption optionFor(const ShareableDisplay& display, double mainHeight) {
    const std::string number = std::to_string(display.displayID);
    CaptureSourceOption option;
    option.id = "display:" + number;
    option.kind = CaptureSourceOption::Kind::display;
    option.title = "Display " + number;
    option.subtitle = fmt::format("{}x{}", display.pixels.width, display.pixels.height);
    option.target = RecordingTarget::display(number);
    option.captureBounds = CaptureSourceGeometry::logicalWindowBounds(display.frame, mainHeight);
    if (!option.captureBounds) {
        option.captureBounds = Rect{0, 0, std::max(2.0, double(display.pixels.width)),
                                    std::max(2.0, double(display.pixels.height))};
    }
    return option;
}

CaptureSourceOption optionFor(const ShareableWindow& window, double mainHeight) {
    const std::string number = std::to_string(window.windowID);
    CaptureSourceOption option;
    option.id = "window:" + number;
    option.kind = CaptureSourceOption::Kind::window;
    option.title = sanitizedTitle(window.title, "Window " + number);
    option.subtitle = window.applicationName.empty() ? "Unknown App" : window.applicationName;
    option.target = RecordingTarget::window(number);
    option.captureBounds = CaptureSourceGeometry::logicalWindowBounds(window.frame, mainHeight);
    option.applicationName = option.subtitle;
    if (!window.bundleIdentifier.empty()) {
        option.bundleIdentifier = window.bundleIdentifier;
    }
    return option;
}

void sortByApplicationAndTitle(std::vector<ShareableWindow>& windows) {
    struct Keyed {
        std::string application;
        std::string title;
        ShareableWindow window;
    };
    std::vector<Keyed> keyed;
    keyed.reserve(windows.size());
    for (ShareableWindow& window : windows) {
        keyed.push_back(
            {collationKey(window.applicationName), collationKey(window.title), std::move(window)});
    }
    std::ranges::stable_sort(keyed, {},
                             [](const Keyed& each) { return std::tie(each.application, each.title); });
    std::ranges::transform(keyed, windows.begin(), [](Keyed& each) { return std::move(each.window); });
}

} // namespace

DesktopSourceCatalog::DesktopSourceCatalog(std::shared_ptr<ScreenCaptureBackend> backend,
                                           CaptureApplicationExclusionRule applicationExclusionRule)
    : backend_(std::move(backend)), applicationExclusionRule_(std::move(applicationExclusionRule)) {}

std::vector<CaptureSourceOption> DesktopSourceCatalog::loadSources(const std::stop_token& stop) {
    ShareableContent content = DesktopCaptureBridge(backend_).shareableContent({}, stop);
    const double mainHeight = mainDisplayHeight(content);
    std::ranges::stable_sort(content.displays, {}, &ShareableDisplay::displayID);
    std::erase_if(content.windows, [this](const ShareableWindow& window) { return !isWork(window); });
    sortByApplicationAndTitle(content.windows);

    std::vector<CaptureSourceOption> options;
    for (const ShareableDisplay& display : content.displays) {
        options.push_back(optionFor(display, mainHeight));
    }
    for (const ShareableWindow& window : content.windows) {
        options.push_back(optionFor(window, mainHeight));
    }
    return options;
}

bool DesktopSourceCatalog::isWork(const ShareableWindow& window) const {
    if (applicationExclusionRule_.excludes(window.bundleIdentifier, window.processID)) {
        return false;
    }
    const bool isLargeEnough = window.frame.width >= leastSide && window.frame.height >= leastSide;
    if (!window.isOnScreen || !isLargeEnough) {
        return false;
    }
    const std::string application = normalized(window.applicationName);
    const std::string identifier = normalized(window.bundleIdentifier);
    const std::string title = normalized(window.title);
    if (application.empty() && identifier.empty()) {
        return false;
    }
    if (title.starts_with("display ") && (title.ends_with(" backstop") || title.ends_with(" backdrop"))) {
        return false;
    }
    const bool isOfDesktop = std::ranges::any_of(
        desktopComponents, [&](std::string_view component) { return identifier.starts_with(component); });
    return !isOfDesktop ||
           std::ranges::find(blockedSyntheticWindowTitles, title) == blockedSyntheticWindowTitles.end();
}

std::string sanitizedTitle(std::string_view title, const std::string& fallback) {
    std::string result = trimmed(title);
    if (result.empty()) {
        return fallback;
    }
    if (characterCount(result) > longestTitle) {
        result = firstCharacters(result, keptOfLongTitle) + "...";
    }
    return result;
}

} // namespace tavrin
