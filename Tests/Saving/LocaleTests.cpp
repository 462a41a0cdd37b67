#include <clocale>
#include <cstdlib>
#include <locale>

#include <gtest/gtest.h>

#include "Fixtures/FaultDriver.h"
#include "Fixtures/TemporaryFolder.h"
#include "SavedFiles.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin::test {
namespace {

namespace fs = std::filesystem;

/// Saves all files in a process that lives in a locale. @return how it writes a number
std::string saveIn(const char* locale, const fs::path& folder) {
    return runWithFault({.below = folder},
                        [&] {
                            ::setenv("LOCPATH", LOCALES, 1);
                            ::setenv("LC_ALL", locale, 1);
                            ::setenv("LANG", locale, 1);
                            if (std::setlocale(LC_ALL, "") == nullptr) {
                                return std::string("no such locale");
                            }
                            std::locale::global(std::locale(""));
                            for (const SavedFile& saved : savedFiles()) {
                                saved.saveOld(folder);
                                saved.saveNew(folder);
                            }
                            return std::to_string(1.5);
                        })
        .result.value_or("failed");
}

TEST(LocaleTests, savedFilesAreTheSameToTheByteWhateverTheLocale) {
    const TemporaryFolder plain;
    const TemporaryFolder german;
    ASSERT_EQ(saveIn("C", plain.path()), "1.500000");
    ASSERT_EQ(saveIn("de_DE.UTF-8", german.path()), "1,500000");
    for (const SavedFile& saved : savedFiles()) {
        EXPECT_EQ(readFile(plain.path() / saved.file), readFile(german.path() / saved.file));
    }
}

} // namespace
} // namespace tavrin::test
