#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace tavrin::test {

/// A folder of its own for a test, that goes with the object and with all that is in it.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    [[nodiscard]] std::filesystem::path operator/(const std::filesystem::path& name) const {
        return path_ / name;
    }
    /// What lies in it, sorted, hidden ones too.
    [[nodiscard]] std::vector<std::string> names() const;
    /// @return the new file's path
    std::filesystem::path write(const std::string& name, std::string_view contents) const;

private:
    std::filesystem::path path_;
};

} // namespace tavrin::test
