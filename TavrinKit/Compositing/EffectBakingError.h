#pragma once

#include <string>

#include "TavrinKit/Support/Error.h"

namespace tavrin {

enum class EffectBakingErrorKind {
    unsupportedEdit, ///< the edits hold something that no export can draw or play yet
    bakingUnavailable,
};

/// An edit that can't be turned into a movie. It is told rather than left out of the movie in silence.
class EffectBakingError : public ErrorFamily<EffectBakingErrorKind> {
public:
    /// @param edit  the edit in the plural, as the start of a sentence: "Speed changes"
    [[nodiscard]] static EffectBakingError unsupportedEdit(const std::string& edit);
    [[nodiscard]] static EffectBakingError bakingUnavailable();

private:
    using ErrorFamily::ErrorFamily;
};

} // namespace tavrin
