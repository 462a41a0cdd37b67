#include "TavrinKit/Compositing/EffectBakingLog.h"

#include <utility>

namespace tavrin {

void logEffectBakingRecoverableFailure(std::string_view context, const std::exception_ptr& error,
                                       LogMetadata metadata) {
    logRecoverableFailure("TavrinKit.FFmpegEffectBakingRenderer", context, error, std::move(metadata));
}

} // namespace tavrin
