#pragma once

#include <exception>
#include <filesystem>
#include <string_view>

#include "TavrinKit/Support/Log.h"

namespace tavrin {

/// Notes a failure that left a layer, a track or a picture out of a movie, which is made all the same. One
/// line as `logRecoverableFailure` writes it, in the name of FFmpegEffectBakingRenderer. Any thread.
void logEffectBakingRecoverableFailure(std::string_view context, const std::exception_ptr& error,
                                       LogMetadata metadata = {});

/// Notes so that a file holds nothing that could be used, because it is missing or no media. Called where an
/// exception is handled; one that says anything else, such as that the system can't read the file now, is
/// thrown on: a movie without what the file holds would pass for whole.
void logUselessFile(std::string_view context, const std::filesystem::path& path);

} // namespace tavrin
