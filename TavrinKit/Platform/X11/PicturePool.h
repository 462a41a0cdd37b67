#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "TavrinKit/Platform/X11/DamageRegion.h"
#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// The i420 pictures of a stream, whose memory comes back when the consumer lets go of them.
///
/// Each picture starts as a copy of the one before it. A buffer remembers what has changed since it was
/// used last, so that only that is copied. One thread, but pictures may be let go on any.
class PicturePool {
public:
    /// A guard against a consumer that never lets go; what it holds in reason its own queue decides.
    /// @param queueDepth  as `StreamConfiguration` has it
    [[nodiscard]] static std::size_t limitFor(int queueDepth);

    /// @param size       of the pictures
    /// @param limit      pictures that may be out at a time, the latest one included
    PicturePool(PixelSize size, std::size_t limit);
    ~PicturePool();
    PicturePool(const PicturePool&) = delete;
    PicturePool& operator=(const PicturePool&) = delete;

    /// A picture like the one that was made last; black at first.
    /// @param damage  what the caller is going to write, for which nothing needs to be copied:
    /// chroma-aligned,
    ///                within the picture
    [[nodiscard]] PixelBuffer next(const DamageRegion& damage);

    /// Whether there is a next one: without room `next` must not be called.
    [[nodiscard]] bool hasRoom() const;

private:
    struct Slot;

    [[nodiscard]] std::shared_ptr<Slot> unusedSlot() const;
    [[nodiscard]] std::shared_ptr<Slot> newSlot();

    const PixelSize size_;
    const std::size_t limit_;
    std::vector<std::shared_ptr<Slot>> slots_;
    std::shared_ptr<Slot> latest_;
};

/// @param picture  i420
void fillBlack(const PixelBuffer& picture);

} // namespace tavrin
