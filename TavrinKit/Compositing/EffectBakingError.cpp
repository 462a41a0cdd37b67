#include "TavrinKit/Compositing/EffectBakingError.h"

namespace tavrin {

EffectBakingError EffectBakingError::extraAudioMissing() {
    return {EffectBakingErrorKind::extraAudioMissing, "Extra audio overlay file is missing."};
}

} // namespace tavrin
