#include <filesystem>
#include <functional>

#include <gtest/gtest.h>

#include "FuzzTargets.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::fuzz {
namespace {

namespace fs = std::filesystem;

struct Target {
    std::string name; ///< also of the folder with its inputs
    void (*run)(std::string_view);
};

class CorpusTests : public testing::TestWithParam<Target> {};

TEST_P(CorpusTests, holdsNoFinding) {
    std::size_t inputs = 0;
    for (const auto& entry : fs::directory_iterator(fs::path(FUZZ_CORPUS) / GetParam().name)) {
        const std::string whole = readFile(entry.path());
        // As it is, and cut and damaged here and there.
        EXPECT_NO_THROW(GetParam().run(whole)) << entry.path();
        for (std::size_t place = 0; place < whole.size(); place += 1 + whole.size() / 16) {
            EXPECT_NO_THROW(GetParam().run(std::string_view(whole).substr(0, place)))
                << entry.path() << place;
            std::string damaged = whole;
            damaged[place] = char(damaged[place] ^ 0x15);
            EXPECT_NO_THROW(GetParam().run(damaged)) << entry.path() << " at " << place;
        }
        ++inputs;
    }
    EXPECT_GT(inputs, 0U);
}

INSTANTIATE_TEST_SUITE_P(All, CorpusTests,
                         testing::Values(Target{"events", fuzzEvents}, Target{"edits", fuzzEdits},
                                         Target{"manifest", fuzzManifest}, Target{"presets", fuzzPresets},
                                         Target{"brandkits", fuzzBrandKits}, Target{"media", fuzzMedia}),
                         [](const auto& target) { return target.param.name; });

} // namespace
} // namespace tavrin::fuzz
