#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "TavrinKit/Support/Geometry.h"

namespace tavrin {

enum class PixelFormat {
    bgra8, ///< one plane, bytes B G R A, premultiplied
    i420,  ///< planes Y, U, V of 8 bits, chroma halved both ways (rounded up), BT.709 limited range
};

/// A picture in memory: planes of bytes whose rows run downward.
///
/// A cheap handle on shared memory. Whoever made the buffer writes it; once it has been handed on it is
/// read only, on any thread. The memory lives as long as any handle does.
class PixelBuffer {
public:
    struct Plane {
        std::uint8_t* data = nullptr;
        std::ptrdiff_t stride = 0; ///< bytes from one row to the next; negative when rows run upward
        int width = 0;             ///< pixels of this plane
        int height = 0;
    };
    using Planes = std::array<Plane, 3>;

    /// No picture: `isEmpty()`.
    PixelBuffer() = default;

    /// New memory, rows and planes aligned to 64 bytes, contents undefined.
    [[nodiscard]] static PixelBuffer allocate(PixelFormat format, PixelSize size);

    /// Memory that somebody else owns; `owner` is kept as long as the buffer is.
    [[nodiscard]] static PixelBuffer wrap(PixelFormat format, PixelSize size, const Planes& planes,
                                          std::shared_ptr<const void> owner);

    [[nodiscard]] bool isEmpty() const { return planeCount_ == 0; }
    [[nodiscard]] PixelFormat format() const { return format_; }
    [[nodiscard]] PixelSize size() const { return size_; }
    [[nodiscard]] int planeCount() const { return planeCount_; }
    [[nodiscard]] const Plane& plane(int index) const { return planes_[std::size_t(index)]; }
    [[nodiscard]] std::uint8_t* row(int planeIndex, int y) const {
        const Plane& p = plane(planeIndex);
        return p.data + p.stride * y;
    }

    /// Unique to this memory for the life of the process: what caches go by.
    [[nodiscard]] std::uint64_t identity() const { return identity_; }

    /// Copies the pixels of a buffer of the same format and size.
    void copyFrom(const PixelBuffer& other) const;

private:
    PixelFormat format_ = PixelFormat::bgra8;
    PixelSize size_;
    int planeCount_ = 0;
    Planes planes_{};
    std::uint64_t identity_ = 0;
    std::shared_ptr<const void> owner_;
};

} // namespace tavrin
