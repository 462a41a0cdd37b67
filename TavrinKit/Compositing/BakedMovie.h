#pragma once

#include <filesystem>
#include <stop_token>

#include "TavrinKit/Compositing/EffectRenderPlan.h"
#include "TavrinKit/Project/ExportPreset.h"

namespace tavrin {

/// Draws all frames of a plan into a QuickTime movie that an encoder will read: ProRes 422 with linear sound,
/// or H.264 with AAC and its index in front for a preset of `fastPreview`. It has the preset's size and rate
/// and exactly the plan's length.
///
/// A file at the path is replaced; on failure none is left there.
/// @throws ExportError (unableToCreateSession), MediaError, FileError, CancellationError
void writeBakedMovie(const EffectRenderPlan& plan, const ExportPreset& preset,
                     const std::filesystem::path& path, const std::stop_token& stop);

} // namespace tavrin
