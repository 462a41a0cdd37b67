#pragma once

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "TavrinKit/Support/Geometry.h"

struct xcb_connection_t;
struct xcb_extension_t;
struct xcb_screen_t;

namespace tavrin {

struct FreeDeleter {
    void operator()(void* memory) const { std::free(memory); }
};

/// A reply, an event or an error of XCB, which are all freed with free().
template <typename T>
using X11Owned = std::unique_ptr<T, FreeDeleter>;

/// One connection to an X server, closed with the object.
///
/// The connection itself may be used from any thread, as XCB allows; the object is not changed after it was
/// made. The require functions check an extension, tell the server the version that is spoken, and return
/// the number of the extension's first event.
class X11Connection {
public:
    /// @param displayName  as in ":0"; empty: what DISPLAY says
    /// @throws X11Error
    explicit X11Connection(const std::string& displayName = {});
    ~X11Connection();
    X11Connection(const X11Connection&) = delete;
    X11Connection& operator=(const X11Connection&) = delete;

    [[nodiscard]] xcb_connection_t* xcb() const { return connection_; }
    [[nodiscard]] const std::string& displayName() const { return displayName_; }
    [[nodiscard]] std::uint32_t root() const;
    [[nodiscard]] std::uint32_t rootVisual() const;
    [[nodiscard]] int rootDepth() const;
    /// Pixels; as it was when the connection was made.
    [[nodiscard]] PixelSize rootSize() const;
    [[nodiscard]] int screenIndex() const { return screenIndex_; }
    [[nodiscard]] int fileDescriptor() const;

    /// True once the server has hung up; nothing works any more.
    [[nodiscard]] bool isBroken() const;
    /// @throws X11Error serverGone
    void throwIfBroken() const;
    /// Ends every wait of any thread on this connection, which is broken from then on. Any thread.
    void hangUp() const noexcept;

    void flush() const;
    /// Returns when the server has done all that it was asked for.
    void sync() const;
    [[nodiscard]] std::uint32_t atom(std::string_view name) const;
    [[nodiscard]] std::string atomName(std::uint32_t atom) const;

    // @throws X11Error extensionMissing when the server doesn't have it in that version
    std::uint8_t requireSharedMemory(const std::string& purpose) const;
    std::uint8_t requireDamage(const std::string& purpose) const;
    std::uint8_t requireFixes(const std::string& purpose) const;
    /// Composite has no events.
    std::uint8_t requireComposite(const std::string& purpose) const;
    std::uint8_t requireRandR(const std::string& purpose) const;
    std::uint8_t requireTest(const std::string& purpose) const;
    /// XInput 2 has generic events: what is returned is the major opcode that they carry.
    std::uint8_t requireInput2(const std::string& purpose) const;

private:
    struct Extension {
        std::uint8_t majorOpcode;
        std::uint8_t firstEvent;
    };
    [[nodiscard]] Extension require(xcb_extension_t* extension, const char* name,
                                    const std::string& purpose) const;
    template <typename Reply>
    void requireVersion(const Reply* reply, int major, int minor, const char* name,
                        const std::string& purpose) const;

    std::string displayName_;
    xcb_connection_t* connection_ = nullptr;
    const xcb_screen_t* screen_ = nullptr;
    int screenIndex_ = 0;
};

} // namespace tavrin
