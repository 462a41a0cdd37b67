#include "TavrinKit/Compositing/EffectBakingError.h"

namespace tavrin {

EffectBakingError EffectBakingError::unsupportedEdit(const std::string& edit) {
    return {EffectBakingErrorKind::unsupportedEdit, edit + " can't be exported yet."};
}

EffectBakingError EffectBakingError::bakingUnavailable() {
    return {EffectBakingErrorKind::bakingUnavailable,
            "Effects can't be baked into an intermediate movie yet."};
}

} // namespace tavrin
