#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"
#include "TavrinKit/Support/DesktopEntryIndex.h"

namespace tavrin {

class X11Connection;

/// Follows what a source shows, and makes pictures of it.
///
/// Knows nothing of pace: its owner waits until the connection has something to read, calls `readEvents`, and
/// takes a picture when it wants one. One thread at a time.
class X11PictureSource {
public:
    enum class Taken {
        picture,
        nothing, ///< nothing that the source shows has changed after all
        same,    ///< what was painted came to the same picture; that took as long as a new one
        dropped, ///< the consumer holds too many pictures; the change stays to be taken
    };

    /// @param connection  outlives the object
    /// @param entries     by which excluded applications are known
    /// @throws X11Error
    [[nodiscard]] static std::unique_ptr<X11PictureSource>
    make(const X11Connection& connection, const ContentFilter& filter,
         const StreamConfiguration& configuration, std::shared_ptr<const DesktopEntryIndex> entries);
    virtual ~X11PictureSource() = default;

    /// Takes in what the server has sent; doesn't wait.
    /// @throws X11Error serverGone
    virtual void readEvents() = 0;

    /// Whether something may have changed since the last picture: at first, always.
    [[nodiscard]] virtual bool hasNews() const = 0;

    /// @param sample  set when a picture was taken
    /// @throws X11Error when the source has gone, or the server
    [[nodiscard]] virtual Taken take(VideoSample& sample) = 0;

    /// Whether the source may lie elsewhere from one moment to the next: then `takeMove` is to be called as
    /// soon as events have been read, however long the next picture has to wait.
    [[nodiscard]] virtual bool canMove() const { return false; }

    /// Where the source lies now, as a sample without pixels; nothing unless it has moved since the last
    /// sample.
    [[nodiscard]] virtual std::optional<VideoSample> takeMove() { return std::nullopt; }

    /// What the user should know of since the last call, as `ScreenStreamOutput::didWarn` has it.
    [[nodiscard]] virtual std::vector<std::string> takeWarnings() { return {}; }
};

} // namespace tavrin
