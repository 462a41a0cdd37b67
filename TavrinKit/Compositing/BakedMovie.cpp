#include "TavrinKit/Compositing/BakedMovie.h"

#include "TavrinKit/Compositing/ExportError.h"

namespace tavrin {

void writeBakedMovie(const EffectRenderPlan&, const ExportPreset&, const std::filesystem::path&,
                     const std::stop_token&) {
    throw ExportError::unableToCreateSession();
}

} // namespace tavrin
