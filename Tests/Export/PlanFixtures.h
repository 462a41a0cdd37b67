#pragma once

#include <filesystem>
#include <functional>

#include "ExportFixtures.h"
#include "TavrinKit/Compositing/MediaAsset.h"
#include "TavrinKit/Session/EditorSession.h"

namespace tavrin::test {

// Each sound of a take is a tone of its own, in hertz.
inline constexpr double systemTone = 500;
inline constexpr double microphoneTone = 1200;
inline constexpr double extraTone = 3000;

/// A sound file with a tone.
void writeTone(const std::filesystem::path& path, double frequency, double seconds);

/// How loud a tone is in a stretch of a track.
[[nodiscard]] double toneLevel(const MediaAsset& asset, int track, double frequency, double from, double to);

struct TakeOptions {
    bool screenSound = true; ///< in the screen movie
    bool microphone = false; ///< a file of its own, as the next two
    bool systemFile = false;
    bool camera = false;
    double seconds = 3;
};

/// A package with a screen movie of 60 pictures a second that bear their numbers, open for editing:
/// nothing frames, blurs or covers the pictures unless `edit` says so.
[[nodiscard]] EditorSession makeTake(const TemporaryFolder& folder,
                                     const std::function<void(TimelineModel&)>& edit = {},
                                     TakeOptions options = {});

} // namespace tavrin::test
