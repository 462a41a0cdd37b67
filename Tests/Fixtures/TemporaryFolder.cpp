#include "Fixtures/TemporaryFolder.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <system_error>

namespace tavrin::test {

TemporaryFolder::TemporaryFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "tavrin-test-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    path_ = name;
}

TemporaryFolder::~TemporaryFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::vector<std::string> TemporaryFolder::names() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
        names.push_back(entry.path().filename());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::filesystem::path TemporaryFolder::write(const std::string& name, std::string_view contents) const {
    if (!(std::ofstream(path_ / name, std::ios::binary) << contents << std::flush)) {
        throw std::runtime_error("can't write " + name);
    }
    return path_ / name;
}

} // namespace tavrin::test
