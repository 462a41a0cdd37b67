#pragma once

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class EffectBakingErrorKind {
    extraAudioMissing, ///< the edit lays a sound over the recording whose file isn't there
};

/// An edit that can't be turned into a movie. It is told rather than left out of the movie in silence.
class EffectBakingError : public ErrorFamily<EffectBakingErrorKind> {
public:
    [[nodiscard]] static EffectBakingError extraAudioMissing();

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
