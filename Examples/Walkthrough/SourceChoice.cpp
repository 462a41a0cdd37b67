#include "Examples/Walkthrough/SourceChoice.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include <fmt/format.h>

#include "TavrinApp/Sources/DesktopSourceCatalog.h"
#include "TavrinKit/Capture/DesktopCaptureBridge.h"
#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin::demo {

namespace {

/// From points with y downward from the top left of the main display to the events' space, or back.
Rect turnedOver(const Rect& rect, double mainDisplayHeight) {
    return {rect.x, mainDisplayHeight - rect.y - rect.height, rect.width, rect.height};
}

ChosenSource mainDisplay(const ShareableContent& content) {
    if (content.displays.empty()) {
        throw Error("There is no display to record.");
    }
    return {
        RecordingTarget::display("main"),
        {turnedOver(content.displays.front().frame, content.mainDisplayHeight), content.mainDisplayHeight}};
}

std::string listed(const std::vector<CaptureSourceOption>& windows) {
    std::string text;
    for (const CaptureSourceOption& window : windows) {
        text += fmt::format("\n  {}", window.title);
    }
    return text.empty() ? " There is none." : text;
}

ChosenSource window(const std::string& title, std::vector<CaptureSourceOption> sources,
                    double mainDisplayHeight) {
    std::erase_if(sources,
                  [](const auto& source) { return source.kind != CaptureSourceOption::Kind::window; });
    std::vector<CaptureSourceOption> matches;
    std::copy_if(sources.begin(), sources.end(), std::back_inserter(matches),
                 [&](const auto& source) { return source.title == title; });
    if (matches.empty()) {
        const std::string wanted = lowerCased(title);
        std::copy_if(sources.begin(), sources.end(), std::back_inserter(matches), [&](const auto& source) {
            return lowerCased(source.title).find(wanted) != std::string::npos;
        });
    }
    if (matches.empty()) {
        throw Error(fmt::format("There is no window \"{}\". The windows are:{}", title, listed(sources)));
    }
    if (matches.size() > 1) {
        throw Error(fmt::format("\"{}\" fits more than one window:{}", title, listed(matches)));
    }
    return {matches.front().target, {matches.front().captureBounds, mainDisplayHeight}};
}

ChosenSource area(const Rect& wanted, const ShareableContent& content) {
    const auto shared = [&](const ShareableDisplay& display) {
        const Rect part = display.frame.intersection(wanted);
        return part.width * part.height;
    };
    const auto best = std::max_element(content.displays.begin(), content.displays.end(),
                                       [&](const auto& a, const auto& b) { return shared(a) < shared(b); });
    if (best == content.displays.end() || shared(*best) <= 0) {
        std::string displays;
        for (const ShareableDisplay& display : content.displays) {
            const Rect& frame = display.frame;
            displays += fmt::format("\n  {}: {:g},{:g},{:g},{:g}", display.name, frame.x, frame.y,
                                    frame.width, frame.height);
        }
        throw Error(fmt::format("The area {:g},{:g},{:g},{:g} lies on no display. The displays are:{}",
                                wanted.x, wanted.y, wanted.width, wanted.height, displays));
    }
    const double height = content.mainDisplayHeight;
    return {RecordingTarget::area(std::to_string(best->displayID), turnedOver(wanted, height)),
            {turnedOver(best->frame.intersection(wanted), height), height}};
}

} // namespace

ChosenSource chooseSource(const std::shared_ptr<ScreenCaptureBackend>& backend, const SourceChoice& choice,
                          const std::stop_token& stop) {
    const ShareableContent content = DesktopCaptureBridge(backend).shareableContent({}, stop);
    if (choice.windowTitle) {
        // Nothing is excluded: the only window of this program is the demonstration's.
        DesktopSourceCatalog catalog(backend, CaptureApplicationExclusionRule{});
        return window(*choice.windowTitle, catalog.loadSources(stop), content.mainDisplayHeight);
    }
    return choice.area ? area(*choice.area, content) : mainDisplay(content);
}

} // namespace tavrin::demo
