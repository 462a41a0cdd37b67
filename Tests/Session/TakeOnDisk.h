#pragma once

#include <filesystem>
#include <vector>

#include "TavrinKit/Project/EventTimeline.h"
#include "TavrinKit/Project/ProjectPackage.h"

namespace tavrin::test {

/// A folder that goes with the test.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
};

[[nodiscard]] EventTimeline clicksAt(const std::vector<double>& times);

/// A package with these events, plain edits, and something in place of the movie.
[[nodiscard]] ProjectPackage savedPackage(const std::filesystem::path& root, const EventTimeline& events);

} // namespace tavrin::test
