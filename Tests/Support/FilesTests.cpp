#include <algorithm>

#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Support/Files.h"
#include "TavrinKit/Support/Log.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

namespace fs = std::filesystem;

class FilesTests : public testing::Test {
protected:
    const test::TemporaryFolder temporary_;
    const fs::path& folder_ = temporary_.path();
};

TEST_F(FilesTests, errorsSayWhatAndWhere) {
    const auto kindOf = [](const auto& call) {
        try {
            call();
        } catch (const FileError& error) {
            return error.kind();
        }
        return FileErrorKind::other;
    };
    EXPECT_EQ(kindOf([&] { (void)readFile(folder_ / "none"); }), FileErrorKind::notFound);
    EXPECT_EQ(kindOf([&] { writeFileAtomically(folder_ / "none" / "a", ""); }), FileErrorKind::notFound);
    EXPECT_THROW((void)readFile(folder_), FileError);
    writeFileAtomically(folder_ / "big", std::string(100, 'x'));
    EXPECT_EQ(kindOf([&] { (void)readFile(folder_ / "big", 99); }), FileErrorKind::tooLarge);
    EXPECT_NO_THROW(removeFile(folder_ / "none"));
}

TEST_F(FilesTests, theVideosFolderFollowsTheDesktop) {
    createDirectories(folder_ / "config");
    setenv("HOME", folder_.c_str(), 1);
    setenv("XDG_CONFIG_HOME", (folder_ / "config").c_str(), 1);
    EXPECT_EQ(videosDirectory(), folder_ / "Videos");
    writeFileAtomically(folder_ / "config/user-dirs.dirs", "# comment\nXDG_VIDEOS_DIR=\"$HOME/Filme\"\n");
    EXPECT_EQ(videosDirectory(), folder_ / "Filme");
    writeFileAtomically(folder_ / "config/user-dirs.dirs", "XDG_VIDEOS_DIR=\"/srv/films\"\n");
    EXPECT_EQ(videosDirectory(), "/srv/films");
}

TEST(TextTests, charactersAreWhatAReaderCounts) {
    const std::string family =
        "\xF0\x9F\x91\xA8\xE2\x80\x8D\xF0\x9F\x91\xA9\xE2\x80\x8D\xF0\x9F\x91\xA7"; // one emoji of three
    const std::string accented = "e\xCC\x81";                                       // e and a combining acute
    EXPECT_EQ(characterCount(family + accented + "x"), 3U);
    EXPECT_EQ(firstCharacters(family + accented + "x", 2), family + accented);
    EXPECT_EQ(characterCount("a\r\nb"), 3U);
    EXPECT_EQ(firstCharacters("abc", 9), "abc");
    EXPECT_EQ(trimmedNewlines("\n\xE2\x80\xA8 a \r\n"), " a ");
    EXPECT_EQ(trimmed("\t \xC2\xA0 a b\n"), "a b");
    EXPECT_EQ(upperCased("stra\xC3\x9F"
                         "e"),
              "STRASSE");
}

TEST(LogTests, aFailureIsOneLineWithItsMetadataInOrder) {
    const auto error = std::make_exception_ptr(Error("Two\nlines.", std::make_exception_ptr(Error("Why."))));
    testing::internal::CaptureStderr();
    logRecoverableFailure("TavrinKit.Test", "step", error, {{"path", "a\nb"}, {"a", "1"}});
    const std::string log = testing::internal::GetCapturedStderr();
    EXPECT_TRUE(log.starts_with("[TavrinKit.Test] step a=1 error=tavrin::Error: Two lines. <- tavrin::Error: "
                                "Why. path=a b stack="))
        << log;
    EXPECT_EQ(log.find('\n'), log.size() - 1);
    EXPECT_EQ(std::ranges::count(log, '|'), 7); // the first eight calls of the stack
}

} // namespace
} // namespace tavrin
