#pragma once

#include <filesystem>
#include <optional>

#include "Fixtures/TemporaryFolder.h"

namespace tavrin::bench {

/// The recordings that are measured on, made when they are first asked for, in a temporary folder that goes
/// with this object.
class Takes {
public:
    [[nodiscard]] const std::filesystem::path& folder() const { return folder_.path(); }

    // Packages.
    [[nodiscard]] const std::filesystem::path& walkthrough();
    [[nodiscard]] const std::filesystem::path& fullMotion();
    /// The full-motion take six times over, with the same events.
    [[nodiscard]] const std::filesystem::path& longFullMotion();
    /// The walkthrough with camera, microphone, music and one of every edit.
    [[nodiscard]] const std::filesystem::path& everything();
    /// The full-motion take with the most blur.
    [[nodiscard]] const std::filesystem::path& blurred();

private:
    test::TemporaryFolder folder_;
    std::optional<std::filesystem::path> walkthrough_;
    std::optional<std::filesystem::path> fullMotion_;
    std::optional<std::filesystem::path> longFullMotion_;
    std::optional<std::filesystem::path> everything_;
    std::optional<std::filesystem::path> blurred_;
};

} // namespace tavrin::bench
