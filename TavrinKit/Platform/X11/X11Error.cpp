#include "TavrinKit/Platform/X11/X11Error.h"

#include <fmt/format.h>

namespace tavrin {

X11Error X11Error::noDisplayName() {
    return {X11ErrorCase::noDisplayName,
            "There is no X server to talk to: DISPLAY is not set. Start Tavrin from a graphical session, or "
            "set DISPLAY."};
}

X11Error X11Error::connectionFailed(const std::string& displayName) {
    return {X11ErrorCase::connectionFailed,
            fmt::format("Unable to connect to the X server \"{}\". Check that it runs and that you are "
                        "allowed to use it.",
                        displayName)};
}

X11Error X11Error::extensionMissing(const std::string& displayName, const std::string& extension,
                                    const std::string& purpose) {
    return {X11ErrorCase::extensionMissing,
            fmt::format("The X server \"{}\" lacks {}, which {} needs. Enable that extension or use another "
                        "X server.",
                        displayName, extension, purpose)};
}

X11Error X11Error::sharedMemoryRefused(const std::string& displayName) {
    return {X11ErrorCase::sharedMemoryRefused,
            fmt::format("The X server \"{}\" refused to share memory. Only a server on this machine, "
                        "reached through its local socket, can be recorded.",
                        displayName)};
}

X11Error X11Error::unsuitablePixels(const std::string& displayName, int depth) {
    return {X11ErrorCase::unsuitablePixels,
            fmt::format("The X server \"{}\" shows {} bits per pixel in a layout that can't be recorded. Set "
                        "it to 24-bit true colour.",
                        displayName, depth)};
}

X11Error X11Error::displayNotFound(std::uint32_t displayID) {
    return {X11ErrorCase::displayNotFound,
            fmt::format("There is no display {}. Pick another one.", displayID)};
}

X11Error X11Error::displayVanished(const std::string& monitorName) {
    return {X11ErrorCase::displayVanished,
            fmt::format("The recorded display \"{}\" was disconnected or made smaller. Start a new recording "
                        "of the display as it is now.",
                        monitorName)};
}

X11Error X11Error::serverGone(const std::string& displayName) {
    return {
        X11ErrorCase::serverGone,
        fmt::format("The connection to the X server \"{}\" was lost. Log in again to go on.", displayName)};
}

X11Error X11Error::windowNotFound(std::uint32_t windowID) {
    return {X11ErrorCase::windowNotFound,
            fmt::format("There is no window {} any more. Pick another one.", windowID)};
}

X11Error X11Error::windowHidden(const std::string& title) {
    return {X11ErrorCase::windowHidden,
            fmt::format("The window \"{}\" is minimised. Show it and try again.", title)};
}

X11Error X11Error::windowClosed(const std::string& title) {
    return {X11ErrorCase::windowClosed,
            fmt::format("The recorded window \"{}\" was closed. What it showed until then is kept.", title)};
}

X11Error X11Error::keySymbolMissing(const std::string& symbol) {
    return {X11ErrorCase::keySymbolMissing,
            fmt::format("The keyboard layout has no key for {}. Switch to a layout that has it.", symbol)};
}

X11Error X11Error::requestFailed(const std::string& operation, int code) {
    return {X11ErrorCase::requestFailed,
            fmt::format("The X server failed at {} (error {}). Try again.", operation, code)};
}

} // namespace tavrin
