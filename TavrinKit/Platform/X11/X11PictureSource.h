#pragma once

#include <memory>
#include <string>
#include <vector>

#include "TavrinKit/Capture/ScreenStream.h"

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
        dropped, ///< the consumer holds too many pictures; the change stays to be taken
    };

    /// @param connection  outlives the object
    /// @throws X11Error
    [[nodiscard]] static std::unique_ptr<X11PictureSource> make(const X11Connection& connection,
                                                                const ContentFilter& filter,
                                                                const StreamConfiguration& configuration);
    virtual ~X11PictureSource() = default;

    /// Takes in what the server has sent; doesn't wait.
    /// @throws X11Error serverGone
    virtual void readEvents() = 0;

    /// Whether something may have changed since the last picture: at first, always.
    [[nodiscard]] virtual bool hasNews() const = 0;

    /// @param sample  set when a picture was taken
    /// @throws X11Error when the source has gone, or the server
    [[nodiscard]] virtual Taken take(VideoSample& sample) = 0;

    /// What the user should know of since the last call, as `ScreenStreamOutput::didWarn` has it.
    [[nodiscard]] virtual std::vector<std::string> takeWarnings() { return {}; }
};

} // namespace tavrin
