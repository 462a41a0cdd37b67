#pragma once

#include <filesystem>
#include <optional>

namespace tavrin::bench {

/// The recordings that are measured on, made when they are first asked for, in a temporary folder that goes
/// with this object.
class Takes {
public:
    Takes();
    ~Takes();
    Takes(const Takes&) = delete;
    Takes& operator=(const Takes&) = delete;

    [[nodiscard]] const std::filesystem::path& folder() const { return folder_; }

    // Packages.
    [[nodiscard]] const std::filesystem::path& walkthrough();
    [[nodiscard]] const std::filesystem::path& fullMotion();
    /// The full-motion take six times over, with the same events.
    [[nodiscard]] const std::filesystem::path& longFullMotion();

private:
    std::filesystem::path folder_;
    std::optional<std::filesystem::path> walkthrough_;
    std::optional<std::filesystem::path> fullMotion_;
    std::optional<std::filesystem::path> longFullMotion_;
};

} // namespace tavrin::bench
