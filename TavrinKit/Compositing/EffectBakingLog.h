#pragma once

#include <exception>
#include <string_view>

#include "TavrinKit/Support/Log.h"

namespace tavrin {

/// Notes a failure that left a layer, a track or a picture out of a movie, which is made all the same. One
/// line as `logRecoverableFailure` writes it, in the name of FFmpegEffectBakingRenderer. Any thread.
void logEffectBakingRecoverableFailure(std::string_view context, const std::exception_ptr& error,
                                       LogMetadata metadata = {});

} // namespace tavrin
