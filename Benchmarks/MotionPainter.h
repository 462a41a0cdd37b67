#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tavrin::bench {

/// Changes the whole picture of a display 60 times a second, on a thread and a connection of its own.
///
/// A big texture that the server holds is copied to the screen from a place that moves on with each frame, so
/// that the painting itself costs little and the encoder has real work.
class MotionPainter {
public:
    /// @param display  as in ":99"; its root window is painted over
    /// @throws X11Error when the display can't be reached
    explicit MotionPainter(const std::string& display);
    ~MotionPainter();
    MotionPainter(const MotionPainter&) = delete;
    MotionPainter& operator=(const MotionPainter&) = delete;

    /// Pictures painted since the construction.
    [[nodiscard]] std::int64_t frames() const;

private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin::bench
