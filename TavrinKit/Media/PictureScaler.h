#pragma once

#include <memory>

#include "TavrinKit/Support/PixelBuffer.h"

namespace tavrin {

/// Scales whole pictures, with a kernel that keeps text crisp. One thread at a time.
class PictureScaler {
public:
    PictureScaler();
    ~PictureScaler();
    PictureScaler(const PictureScaler&) = delete;
    PictureScaler& operator=(const PictureScaler&) = delete;

    /// Fills `target` with `source`.
    /// @param source  i420; may not be larger than 16384 by 16384
    /// @param target  i420; may be a part of a larger picture
    /// @throws std::bad_alloc
    void scale(const PixelBuffer& source, const PixelBuffer& target);

private:
    struct Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace tavrin
