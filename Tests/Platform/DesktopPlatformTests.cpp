#include <cstdlib>
#include <map>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "TavrinKit/Platform/Desktop/DesktopPlatform.h"
#include "TavrinKit/Support/Error.h"

namespace tavrin::test {
namespace {

using Kind = DesktopPlatform::Kind;
using Variables = std::map<std::string, std::string>;

/// The environment as the platform sees it: of these variables only those that are named.
class Surroundings {
public:
    explicit Surroundings(const Variables& wanted) {
        for (const char* name : {"TAVRIN_BACKEND", "DISPLAY", "WAYLAND_DISPLAY", "TAVRIN_SYNTHETIC_CAMERA"}) {
            const char* value = std::getenv(name);
            before_[name] = value == nullptr ? "" : value;
            set(name, wanted.contains(name) ? wanted.at(name) : "");
        }
    }
    ~Surroundings() {
        for (const auto& [name, value] : before_) {
            set(name, value);
        }
    }
    Surroundings(const Surroundings&) = delete;
    Surroundings& operator=(const Surroundings&) = delete;

private:
    static void set(const std::string& name, const std::string& value) {
        value.empty() ? ::unsetenv(name.c_str()) : ::setenv(name.c_str(), value.c_str(), 1);
    }

    Variables before_;
};

TEST(DesktopPlatformTests, theSettingsDecideThenTheUserThenWhatIsThere) {
    const struct {
        const char* what;
        Variables environment;
        DesktopPlatformSettings settings;
        Kind kind;
        const char* reason;
    } cases[] = {
        {"an X display", {{"DISPLAY", ":9"}}, {}, Kind::x11, ""},
        {"both", {{"DISPLAY", ":9"}, {"WAYLAND_DISPLAY", "wayland-0"}}, {}, Kind::x11, ""},
        {"Wayland alone", {{"WAYLAND_DISPLAY", "wayland-0"}}, {}, Kind::none, "Wayland"},
        {"nothing", {}, {}, Kind::none, "DISPLAY is not set"},
        {"switched off", {{"TAVRIN_BACKEND", "none"}, {"DISPLAY", ":9"}}, {}, Kind::none, "switched off"},
        {"a display by the settings", {}, {.display = ":9"}, Kind::x11, ""},
        {"X by name", {{"TAVRIN_BACKEND", "x11"}}, {}, Kind::x11, ""},
        {"the settings first", {{"TAVRIN_BACKEND", "none"}}, {.kind = Kind::x11}, Kind::x11, ""},
    };
    for (const auto& each : cases) {
        const Surroundings surroundings(each.environment);
        const DesktopPlatform platform = loadDesktopPlatform(each.settings);
        EXPECT_EQ(platform.kind, each.kind) << each.what;
        EXPECT_THAT(platform.unavailableReason, testing::HasSubstr(each.reason)) << each.what;
        EXPECT_EQ(platform.unavailableReason.empty(), each.kind == Kind::x11) << each.what;
        if (each.kind == Kind::none) {
            const auto tellsWhy = testing::ThrowsMessage<Error>(platform.unavailableReason);
            EXPECT_THAT([&] { (void)platform.backend->shareableContent(true, true); }, tellsWhy);
            EXPECT_THAT([&] { platform.makeInputMonitor()->start({}); }, tellsWhy);
            EXPECT_THAT([&] { platform.makeCursorMonitor()->start({}); }, tellsWhy);
        }
    }
    const Surroundings surroundings(Variables{{"TAVRIN_BACKEND", "mir"}});
    EXPECT_THROW((void)loadDesktopPlatform(), Error);
}

} // namespace
} // namespace tavrin::test
