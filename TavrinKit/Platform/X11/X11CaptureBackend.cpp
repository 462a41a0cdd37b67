#include "TavrinKit/Platform/X11/X11CaptureBackend.h"

#include <utility>

#include "TavrinKit/Platform/X11/X11Connection.h"
#include "TavrinKit/Platform/X11/X11Error.h"
#include "TavrinKit/Platform/X11/X11ScreenStream.h"
#include "TavrinKit/Platform/X11/X11ShareableContent.h"

namespace tavrin {

X11CaptureBackend::X11CaptureBackend(std::string displayName) : displayName_(std::move(displayName)) {}

bool X11CaptureBackend::preflightAccess() {
    try {
        const X11Connection connection(displayName_);
        return true;
    } catch (const X11Error&) {
        return false;
    }
}

bool X11CaptureBackend::requestAccess() {
    return preflightAccess();
}

ShareableContent X11CaptureBackend::shareableContent(bool excludingDesktopWindows, bool onScreenWindowsOnly) {
    const X11Connection connection(displayName_);
    return X11ShareableContent(connection, entries_).load(excludingDesktopWindows, onScreenWindowsOnly);
}

std::unique_ptr<ScreenStream> X11CaptureBackend::makeStream(const ContentFilter& filter,
                                                            const StreamConfiguration& configuration,
                                                            std::shared_ptr<ScreenStreamOutput> output) {
    return std::make_unique<X11ScreenStream>(displayName_, filter, configuration, entries_,
                                             std::move(output));
}

} // namespace tavrin
