#pragma once

#include <cstdint>
#include <string>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class X11ErrorCase {
    noDisplayName,
    connectionFailed,
    extensionMissing,
    sharedMemoryRefused,
    unsuitablePixels,
    displayNotFound,
    displayVanished,
    serverGone,
    windowNotFound,
    windowHidden,
    windowClosed,
    keySymbolMissing,
    requestFailed,
};

/// What can go wrong between Tavrin and an X server. Each sentence says what to do about it.
class X11Error : public ErrorFamily<X11ErrorCase> {
public:
    /// No name was given and DISPLAY is not set.
    [[nodiscard]] static X11Error noDisplayName();
    [[nodiscard]] static X11Error connectionFailed(const std::string& displayName);
    /// @param extension  with the version that is needed, as in "MIT-SHM 1.2"
    /// @param purpose    what can't be done without it, as in "recording the screen"
    [[nodiscard]] static X11Error extensionMissing(const std::string& displayName,
                                                   const std::string& extension, const std::string& purpose);
    [[nodiscard]] static X11Error sharedMemoryRefused(const std::string& displayName);
    [[nodiscard]] static X11Error unsuitablePixels(const std::string& displayName, int depth);
    [[nodiscard]] static X11Error displayNotFound(std::uint32_t displayID);
    /// The recorded display was unplugged, or became smaller than the recording.
    [[nodiscard]] static X11Error displayVanished(const std::string& monitorName);
    [[nodiscard]] static X11Error serverGone(const std::string& displayName);
    [[nodiscard]] static X11Error windowNotFound(std::uint32_t windowID);
    /// It is minimised, so that there is nothing of it to record.
    [[nodiscard]] static X11Error windowHidden(const std::string& title);
    /// The recorded window was closed.
    [[nodiscard]] static X11Error windowClosed(const std::string& title);
    [[nodiscard]] static X11Error keySymbolMissing(const std::string& symbol);
    /// @param operation  what was asked, as in "reading the screen"
    /// @param code       the X error code; 0 when there was no reply at all
    [[nodiscard]] static X11Error requestFailed(const std::string& operation, int code);

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
