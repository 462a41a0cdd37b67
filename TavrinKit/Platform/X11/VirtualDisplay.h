#pragma once

#include <memory>
#include <string>
#include <vector>

#include "TavrinKit/Support/Error.h"
#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

enum class VirtualDisplayErrorCase { programMissing, startFailed, monitorsFailed };

/// Why a virtual display could not be had.
class VirtualDisplayError : public ErrorFamily<VirtualDisplayErrorCase> {
public:
    [[nodiscard]] static VirtualDisplayError programMissing(const std::string& program);
    /// @param reason  what the program said, or how it ended
    [[nodiscard]] static VirtualDisplayError startFailed(const std::string& program,
                                                         const std::string& reason);
    [[nodiscard]] static VirtualDisplayError monitorsFailed(const std::string& reason);

private:
    using ErrorFamily::ErrorFamily;
};

/// An X server of our own without a screen: Xvfb, for tests and for demonstrations on machines that have
/// no display.
///
/// The server takes a free display number, listens on its local socket only and runs until the object goes
/// away; it also ends when this process does, however that happens. The members may be called from any
/// thread.
class VirtualDisplay {
public:
    /// A part of the screen that shall count as a monitor of its own: pixels, y downward from the top left
    /// of the screen.
    struct Monitor {
        std::string name;
        int x = 0;
        int y = 0;
        PixelSize size;
        bool isPrimary = false;
    };

    struct Settings {
        PixelSize size{1920, 1080};
        int depth = 24;
        std::vector<Monitor> monitors;               ///< empty: one monitor, the whole screen
        std::vector<std::string> disabledExtensions; ///< as the server names them, for example "MIT-SHM"
        std::string program = "Xvfb";                ///< looked up in PATH
    };

    /// Returns when the server accepts connections.
    /// @throws VirtualDisplayError
    VirtualDisplay();
    explicit VirtualDisplay(const Settings& settings);
    ~VirtualDisplay(); ///< ends the server and waits for its end
    VirtualDisplay(const VirtualDisplay&) = delete;
    VirtualDisplay& operator=(const VirtualDisplay&) = delete;

    /// What DISPLAY would be, as in ":5".
    [[nodiscard]] const std::string& name() const { return name_; }
    [[nodiscard]] int processID() const;

    /// Replaces the monitors, as if some had been plugged in and others pulled out.
    /// @throws VirtualDisplayError, X11Error
    void setMonitors(const std::vector<Monitor>& monitors);

    /// Kills the server as a crash would; the object stays.
    void crash();

private:
    class Server;

    std::unique_ptr<Server> server_;
    std::string name_;
};

} // namespace tavrin
