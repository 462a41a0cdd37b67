#include <cstdlib>
#include <filesystem>

#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Support/DesktopEntryIndex.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

TEST(DesktopEntryIndexTests, windowsFindTheFileOfTheirApplication) {
    const test::TemporaryFolder root;
    const auto write = [&](const std::string& path, const std::string& text) {
        createDirectories((root / path).parent_path());
        writeFileAtomically(root / path, text);
    };
    const std::string head = "[Desktop Entry]\n";
    write("own/org.Editor.desktop", "# a comment\n" + head + " Name = Editor\\sOne\nName[de]=Bearbeiter\n" +
                                        "Name[de_AT]=Bearbeiterl\n[Desktop Action x]\nName=Wrong\n");
    write("own/gone.desktop", head + "Name=Gone\nHidden=true\n");
    write("shared/gone.desktop", head + "Name=Gone, but there\n");
    write("shared/org.editor.desktop", head + "Name=Hidden by the user's own\n");
    write("shared/vendor/tool.desktop", head + "Name=Tool\nStartupWMClass=ToolWindow\n");
    write("shared/browser.desktop", head + "Name=Browser\nStartupWMClass=Browser\n");
    write("shared/page.desktop", head + "Name=Page\nStartupWMClass=crx_1\n");

    ::setenv("LC_ALL", "de_AT.UTF-8", 1);
    const DesktopEntryIndex index({root / "own", root / "missing", root / "shared"});
    struct Case {
        DesktopEntryIndex::Hints hints;
        const char* found;
    };
    const std::vector<Case> cases{
        {{"org.Editor", "x", "y"}, "org.Editor Bearbeiterl"},
        {{"/somewhere/org.editor.desktop", "", ""}, "org.Editor Bearbeiterl"},
        {{"", "tool", "toolwindow"}, "vendor-tool Tool"},
        {{"", "crx_1", "Browser"}, "page Page"}, // the instance is the more exact one
        {{"", "other", "Browser"}, "browser Browser"},
        {{"unknown", "", "gone"}, ""},
        {{"", "", ""}, ""},
    };
    for (const Case& each : cases) {
        const auto entry = index.find(each.hints);
        EXPECT_EQ(entry ? entry->identifier + " " + entry->name : "", each.found)
            << each.hints.desktopFile << " " << each.hints.className;
    }

    write("shared/new.desktop", head + "Name=New\n");
    std::filesystem::last_write_time(root / "shared", std::filesystem::file_time_type::clock::now());
    EXPECT_TRUE(index.find({"new", "", ""})) << "an application that was installed meanwhile";
    ::unsetenv("LC_ALL");
}

} // namespace
} // namespace tavrin
