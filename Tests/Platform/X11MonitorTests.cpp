#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

#include "TavrinKit/Platform/X11/X11CaptureBackend.h"
#include "TavrinKit/Platform/X11/X11CursorAppearance.h"
#include "TavrinKit/Platform/X11/X11LiveCursorStateMonitor.h"
#include "TavrinKit/Platform/X11/X11LiveInputEventMonitor.h"
#include "TavrinKit/Platform/X11/XTestDriver.h"
#include "TavrinKit/Support/Guarded.h"
#include "TavrinKit/Support/HostClock.h"
#include "TestScreen.h"

namespace tavrin::test {
namespace {

using Kind = LiveInputEventKind;
using Button = XTestDriver::Button;

template <typename Sample>
class Log {
public:
    void add(const Sample& sample) {
        samples_.with([&](std::vector<Sample>& samples) { samples.push_back(sample); });
    }
    std::vector<Sample> samples() const { return samples_.copy(); }

private:
    Guarded<std::vector<Sample>> samples_;
};

/// What was told, as short texts: "click0 99,500", "move 99,500", "Cmd A".
class EventLog : public Log<LiveInputEventSample> {
public:
    /// The texts of all that was told, moves in a row as the last of them.
    std::vector<std::string> texts() const {
        std::vector<std::string> result;
        bool wasMove = false;
        for (const LiveInputEventSample& sample : samples()) {
            const bool isMove = std::holds_alternative<Kind::Moved>(sample.kind.value);
            if (isMove && wasMove) {
                result.pop_back();
            }
            wasMove = isMove;
            result.push_back(text(sample));
        }
        return result;
    }

    bool waitFor(std::size_t count) const {
        return eventually([&] { return texts().size() >= count; });
    }

private:
    static std::string text(const LiveInputEventSample& sample) {
        const std::string place =
            " " + std::to_string(int(sample.location.x)) + "," + std::to_string(int(sample.location.y));
        if (const auto* click = std::get_if<Kind::Clicked>(&sample.kind.value)) {
            return "click" + std::to_string(click->button) + place;
        }
        if (const auto* key = std::get_if<Kind::KeyPressed>(&sample.kind.value)) {
            std::string modifiers;
            for (const KeyModifier modifier : key->modifiers) {
                modifiers += modifier == KeyModifier::control  ? "Ctrl+"
                             : modifier == KeyModifier::option ? "Alt+"
                             : modifier == KeyModifier::shift  ? "Shift+"
                                                               : "Super+";
            }
            return modifiers + key->text + (key->contentKind == KeyEventContentKind::special ? "!" : "");
        }
        return (std::holds_alternative<Kind::Moved>(sample.kind.value) ? "move" : "drag") + place;
    }
};

std::unique_ptr<X11LiveInputEventMonitor> watch(const std::string& displayName, EventLog& log) {
    auto monitor =
        std::make_unique<X11LiveInputEventMonitor>(X11LiveInputEventMonitor::Settings{displayName});
    monitor->start([&log](const LiveInputEventSample& sample) { log.add(sample); });
    return monitor;
}

/// Another application that has grabbed pointer and keyboard.
class Grabber {
public:
    explicit Grabber(const std::string& displayName) : connection_(displayName) {
        xcb_connection_t* xcb = connection_.xcb();
        const auto pointer =
            xcb_grab_pointer(xcb, 0, connection_.root(), XCB_EVENT_MASK_BUTTON_PRESS, XCB_GRAB_MODE_ASYNC,
                             XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, 0);
        const auto keyboard = xcb_grab_keyboard(xcb, 0, connection_.root(), XCB_CURRENT_TIME,
                                                XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        const X11Owned<xcb_grab_pointer_reply_t> first(xcb_grab_pointer_reply(xcb, pointer, nullptr));
        const X11Owned<xcb_grab_keyboard_reply_t> second(xcb_grab_keyboard_reply(xcb, keyboard, nullptr));
        hasBoth = first && second && first->status == 0 && second->status == 0;
    }
    bool hasBoth = false;

private:
    X11Connection connection_;
};

TEST(X11LiveInputEventMonitorTests, mouseIsSeenInGlobalPlacesThroughTheGrabsOfOthers) {
    const Grabber grabber(sharedDisplay());
    ASSERT_TRUE(grabber.hasBoth);
    XTestDriver driver(sharedDisplay());
    driver.moveTo(520, 40);
    EventLog log;
    const double before = HostClock::now();
    const auto monitor = watch(sharedDisplay(), log);
    auto step = [&, count = std::size_t(0)](auto&& action) mutable {
        action();
        EXPECT_TRUE(log.waitFor(++count)); // so that the pointer is where it was when the event came
    };
    step([&] { driver.moveTo(511, 20); });
    step([&] { driver.press(Button::left); });
    step([&] { driver.moveTo(0, 150); });
    driver.release(Button::left);
    step([&] { driver.moveTo(10, 160); });
    step([&] { driver.click(Button::right); });
    step([&] { driver.click(Button::middle); });
    driver.click(Button::wheelUp);
    driver.click(Button::wheelDown);
    step([&] { driver.click(Button::back); });
    step([&] { driver.moveTo(1100, 599); });
    EXPECT_THAT(log.texts(),
                testing::ElementsAre("move 10,580", "click0 10,580", "drag -501,450", "move -491,440",
                                     "click1 -491,440", "click2 -491,440", "click2 -491,440", "move 599,1"));
    double last = before;
    for (const LiveInputEventSample& sample : log.samples()) {
        EXPECT_GE(sample.timestamp, last);
        last = sample.timestamp;
    }
    EXPECT_LE(last, HostClock::now());
}

TEST(X11LiveInputEventMonitorTests, leftHandedButtonsAreToldAsTheUserMeansThem) {
    VirtualDisplay display;
    const X11Connection connection(display.name());
    const std::uint8_t mirrored[] = {3, 2, 1, 4, 5, 6, 7, 8, 9, 10};
    EventLog log;
    const auto monitor = watch(display.name(), log);
    XTestDriver driver(display.name());
    driver.click(Button::left);
    EXPECT_TRUE(log.waitFor(1));
    const auto cookie = xcb_set_pointer_mapping(connection.xcb(), sizeof mirrored, mirrored);
    const X11Owned<xcb_set_pointer_mapping_reply_t> reply(
        xcb_set_pointer_mapping_reply(connection.xcb(), cookie, nullptr));
    ASSERT_TRUE(reply && reply->status == XCB_MAPPING_STATUS_SUCCESS);
    driver.click(Button::left);
    EXPECT_TRUE(log.waitFor(2));
    const auto texts = log.texts();
    EXPECT_THAT(texts[0], testing::StartsWith("click0"));
    EXPECT_THAT(texts[1], testing::StartsWith("click1"));
}

void setLayout(const std::string& displayName, const std::string& arguments) {
    ASSERT_EQ(std::system(("setxkbmap -display " + displayName + " " + arguments).c_str()), 0);
}

TEST(X11LiveInputEventMonitorTests, keysAreToldInTheWordsOfTheLayoutInUse) {
    VirtualDisplay display;
    const Grabber grabber(display.name());
    XTestDriver driver(display.name());
    EventLog log;
    const auto monitor = watch(display.name(), log);
    const auto expect = [&](const char* description, std::vector<std::string> expected) {
        EXPECT_TRUE(log.waitFor(expected.size())) << description;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        EXPECT_THAT(log.texts(), testing::ElementsAreArray(expected)) << description;
    };
    std::vector<std::string> told;
    const auto also = [&](std::initializer_list<const char*> texts) {
        told.insert(told.end(), texts.begin(), texts.end());
        return told;
    };

    driver.type("aB (z\n\t");
    expect("plain typing", also({"a", "B", " ", "(", "z", "Return!", "Tab!"}));
    driver.tapKey("c", {"Control_L"});
    driver.tapKey("z", {"Super_L", "Shift_L"});
    driver.tapKey("space", {"Super_L"});
    driver.tapKey("Left", {"Alt_L"});
    driver.tapKey("Tab", {"Shift_L"});
    expect("shortcuts", also({"Ctrl+C", "Shift+Super+Z", "Super+Space!", "Alt+Left!", "Tab!"}));
    for (const char* key : {"BackSpace", "Escape", "Home", "Prior", "Delete", "End", "Next", "Up"}) {
        driver.tapKey(key);
    }
    expect("named keys",
           also({"Delete!", "Esc!", "Home!", "Page Up!", "Forward Delete!", "End!", "Page Down!", "Up!"}));

    setLayout(display.name(), "-layout de");
    driver.type("zäÄ@"); // the last with the third level, which is no modifier of a shortcut
    driver.tapKey("z", {"Control_L"});
    driver.tapKey("dead_acute");
    driver.type("e");
    expect("German", also({"z", "ä", "Ä", "@", "Ctrl+Z", "é"}));

    setLayout(display.name(), "-layout us,ru -option grp:shifts_toggle");
    driver.type("q");
    expect("first of two layouts", also({"q"}));
    driver.pressKey("Shift_L");
    driver.tapKey("Shift_R");
    driver.releaseKey("Shift_L");
    driver.type("йФ");
    driver.tapKey("Cyrillic_es", {"Control_L"});
    expect("second of two layouts", also({"й", "Ф", "Ctrl+С"}));
}

TEST(X11LiveInputEventMonitorTests, whatIsHeldLaterDoesNotChangeKeysThatWaitToBeTold) {
    VirtualDisplay display;
    XTestDriver driver(display.name());
    EventLog log;
    std::promise<void> mayGoOn;
    X11LiveInputEventMonitor monitor(X11LiveInputEventMonitor::Settings{display.name()});
    monitor.start([&, goOn = mayGoOn.get_future().share()](const LiveInputEventSample& sample) {
        log.add(sample);
        goOn.wait();
    });
    driver.type("a");
    EXPECT_TRUE(log.waitFor(1)); // The watch stands still in here.
    setLayout(display.name(), "-layout de");
    driver.type("z");
    driver.pressKey("Control_L");
    mayGoOn.set_value();
    EXPECT_TRUE(log.waitFor(2));
    driver.releaseKey("Control_L");
    EXPECT_THAT(log.texts(), testing::ElementsAre("a", "z"));
}

TEST(X11LiveInputEventMonitorTests, nothingIsToldAfterTheStopAndAServerMayGo) {
    VirtualDisplay display;
    XTestDriver driver(display.name());
    EventLog log;
    const auto monitor = watch(display.name(), log);
    driver.click();
    EXPECT_TRUE(log.waitFor(1));
    monitor->stop();
    driver.click();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_EQ(log.samples().size(), 1U);
    monitor->start([&log](const LiveInputEventSample& sample) { log.add(sample); });
    driver.click();
    EXPECT_TRUE(log.waitFor(2));
    display.crash();
    monitor->stop();
}

TEST(X11LiveCursorStateMonitorTests, tellsNewLooksAndPlacesOnce) {
    const X11Connection connection(sharedDisplay());
    XTestDriver driver(sharedDisplay());
    driver.moveTo(511, 20);
    usePointer(connection, 2, 4);
    Log<LiveCursorStateSample> log;
    X11LiveCursorStateMonitor monitor(
        X11LiveCursorStateMonitor::Settings{sharedDisplay(), std::chrono::milliseconds(10)});
    monitor.start([&](const LiveCursorStateSample& sample) { log.add(sample); });
    const auto waitFor = [&](std::size_t count) {
        return eventually([&] { return log.samples().size() >= count; });
    };
    ASSERT_TRUE(waitFor(1));
    std::this_thread::sleep_for(quiet);
    EXPECT_EQ(log.samples().size(), 1U) << "a pointer that stands still";
    driver.moveTo(0, 150);
    ASSERT_TRUE(waitFor(2));
    usePointer(connection, 0, 0);
    ASSERT_TRUE(waitFor(3));
    usePointer(connection, 0, 0, false);
    ASSERT_TRUE(waitFor(4));
    usePointer(connection, 2, 4); // another cursor of the server's, but the same picture
    ASSERT_TRUE(waitFor(5));
    monitor.stop();
    driver.moveTo(300, 300);
    std::this_thread::sleep_for(std::chrono::milliseconds(50));

    const auto samples = log.samples();
    ASSERT_EQ(samples.size(), 5U);
    EXPECT_EQ(samples[0].location, (Vec2{10, 580}));
    EXPECT_EQ(samples[1].location, (Vec2{-501, 450}));
    EXPECT_EQ(samples[0].appearance.pixelSize(), (Vec2{9, 9}));
    EXPECT_EQ(samples[0].appearance.hotSpot(), (Vec2{2, 5})) << "from the lower left";
    EXPECT_EQ(samples[2].appearance.hotSpot(), (Vec2{0, 9}));
    EXPECT_TRUE(samples[1].appearance.sharesDataWith(samples[0].appearance));
    EXPECT_EQ(samples[4].appearance, samples[0].appearance);
    EXPECT_THAT((std::vector<bool>{samples[0].visible, samples[2].visible, samples[3].visible}),
                testing::ElementsAre(true, true, false));
    EXPECT_THAT(samples[0].appearance.identifier(), testing::MatchesRegex("[0-9a-f]{64}"));
    EXPECT_NE(samples[2].appearance.identifier(), samples[0].appearance.identifier());
}

TEST(X11ShareableContentTests, listsMonitorsWindowsAndTheirApplications) {
    VirtualDisplay display(twoMonitors());
    const X11Connection connection(display.name());
    const auto setText = [&](xcb_window_t window, const char* name, xcb_atom_t type, std::string_view text) {
        xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, window, connection.atom(name), type, 8,
                            std::uint32_t(text.size()), text.data());
    };
    const auto setNumbers = [&](xcb_window_t window, const char* name, xcb_atom_t type,
                                const std::vector<std::uint32_t>& numbers) {
        xcb_change_property(connection.xcb(), XCB_PROP_MODE_REPLACE, window, connection.atom(name), type, 32,
                            std::uint32_t(numbers.size()), numbers.data());
    };
    const auto makeWindow = [&](X11Rect area) {
        const xcb_window_t window = createWindow(connection, area);
        setText(window, "_NET_WM_NAME", connection.atom("UTF8_STRING"), "Käse");
        setText(window, "WM_CLASS", XCB_ATOM_STRING, {"instance\0Editor", 16});
        setNumbers(window, "_NET_WM_PID", XCB_ATOM_CARDINAL, {4711});
        return window;
    };
    const xcb_window_t shown = makeWindow({20, 160, 300, 200});
    const xcb_window_t hidden = makeWindow({30, 160, 300, 200});
    const xcb_window_t desktop = makeWindow({0, 0, 1101, 600});
    setNumbers(desktop, "_NET_WM_WINDOW_TYPE", XCB_ATOM_ATOM,
               {connection.atom("_NET_WM_WINDOW_TYPE_DESKTOP")});
    xcb_map_window(connection.xcb(), shown);
    xcb_map_window(connection.xcb(), desktop);
    connection.sync();

    X11CaptureBackend backend(display.name());
    const ShareableContent content = backend.shareableContent(true, true);
    ASSERT_EQ(content.displays.size(), 2U);
    EXPECT_TRUE(content.displays[0].isMain) << "the server puts its primary first";
    EXPECT_EQ(content.displays[1].name, "LEFT");
    EXPECT_EQ(content.displays[1].frame, (Rect{-501, 150, 501, 399}));
    EXPECT_EQ(content.displays[1].pixels, (PixelSize{501, 399}));
    EXPECT_EQ(content.mainDisplayHeight, 600);
    ASSERT_EQ(content.windows.size(), 1U);
    EXPECT_EQ(content.windows[0].windowID, shown);
    EXPECT_EQ(content.windows[0].title, "Käse");
    EXPECT_EQ(content.windows[0].frame, (Rect{20 - 501, 160, 300, 200}));
    EXPECT_EQ(content.windows[0].processID, 4711);
    EXPECT_EQ(content.windows[0].bundleIdentifier, "Editor");
    EXPECT_EQ(backend.shareableContent(false, false).windows.size(), 3U);

    // A window manager's word on which windows there are, in which order, and which of them are minimised.
    setNumbers(connection.root(), "_NET_CLIENT_LIST", XCB_ATOM_WINDOW, {hidden});
    setNumbers(connection.root(), "_NET_CLIENT_LIST_STACKING", XCB_ATOM_WINDOW, {desktop, shown});
    setNumbers(shown, "_NET_WM_STATE", XCB_ATOM_ATOM, {connection.atom("_NET_WM_STATE_HIDDEN")});
    xcb_delete_property(connection.xcb(), shown, connection.atom("_NET_WM_NAME"));
    setText(shown, "WM_NAME", XCB_ATOM_STRING, "K\xe4se");
    connection.sync();
    const ShareableContent managed = backend.shareableContent(false, false);
    ASSERT_EQ(managed.windows.size(), 2U);
    EXPECT_EQ(managed.windows[0].windowID, desktop);
    EXPECT_TRUE(managed.windows[0].isOnScreen);
    EXPECT_EQ(managed.windows[1].title, "Käse");
    EXPECT_FALSE(managed.windows[1].isOnScreen);

    // The same monitor has the same number on another server: stored choices find it again.
    EXPECT_EQ(X11CaptureBackend(sharedDisplay()).shareableContent(true, true).displays[1].displayID,
              content.displays[1].displayID);
}

} // namespace
} // namespace tavrin::test
