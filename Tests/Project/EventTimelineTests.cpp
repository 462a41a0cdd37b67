#include <algorithm>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "JsonKeys.h"
#include "TavrinKit/Project/EventTimelineFile.h"

namespace tavrin {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

CursorAppearance appearance(const std::string& identifier = "arrow", Bytes png = {1, 2, 3}) {
    return {identifier, std::move(png), {1, 2}, {24, 32}};
}

KeyEvent key(double timestamp, const std::string& text) {
    return {.timestamp = timestamp, .displayText = text};
}

std::vector<double> times(const auto& events) {
    std::vector<double> result;
    for (const auto& event : events) {
        result.push_back(event.timestamp);
    }
    return result;
}

using testing::ElementsAre;

TEST(EventTimelineTests, keepsOnlyUsableEventsInOrderHoweverTheyCome) {
    std::string long24;
    for (int i = 0; i < 24; ++i) {
        long24 += "👨‍👩‍👧"; // one character of eighteen bytes
    }
    const std::vector<MouseEvent> mouse{{3, {0, 0}, MouseEventKind::moved, {}},
                                        {1, {nan, 0}, {}, {}},
                                        {nan, {0, 0}, {}, {}},
                                        {1, {0.5, 0}, MouseEventKind::clicked, 0},
                                        {3, {1, 1}, MouseEventKind::dragged, {}},
                                        {3, {0.2, 0}, MouseEventKind::moved, {}},
                                        {-1, {0, 0}, {}, {}}};
    const std::vector<KeyEvent> keys{key(2, "b"),    key(1, ""),           key(infinity, "x"),
                                     key(1, long24), key(0, long24 + "x"), key(1, " ")};
    const std::vector<CursorStateEvent> cursors{{2, {0, 0}, true, appearance()},
                                                {1, {0, 0}, true, appearance("")},
                                                {1, {0, 0}, true, appearance("a", {})},
                                                {1, {0, 0}, true, {"a", {1}, {nan, 0}, {1, 1}}},
                                                {1, {0, 0}, true, {"a", {1}, {0, 0}, {0, 1}}},
                                                {1, {0, 0}, true, {"a", {1}, {-3, 0}, {1, 1}}},
                                                {1, {0, nan}, true, appearance()}};
    const EventTimeline whole(mouse, keys, cursors);
    EXPECT_THAT(times(whole.mouseEvents()), ElementsAre(-1, 1, 3, 3, 3));
    EXPECT_EQ(whole.mouseEvents()[3].kind, MouseEventKind::dragged);
    EXPECT_EQ(whole.mouseEvents()[4].location.x, 0.2);
    EXPECT_THAT(times(whole.keyEvents()), ElementsAre(1, 1, 2));
    EXPECT_EQ(whole.keyEvents()[0].displayText, long24);
    EXPECT_THAT(times(whole.cursorStates()), ElementsAre(1, 2));
    EventTimeline appended;
    const auto append = [&](const auto& events) {
        std::ranges::for_each(events, [&](const auto& event) { appended.append(event); });
    };
    append(mouse);
    append(keys);
    append(cursors);
    EXPECT_EQ(appended, whole);
}

TEST(KeyEventTests, normalizesTextAndModifiers) {
    using enum KeyModifier;
    const KeyEvent event =
        KeyEvent{0, "\n\r\u2028 abcdefghijklmnopqrstuvwxyz\n", {control, shift, command, shift}, {}, true}
            .normalized();
    EXPECT_EQ(event.displayText, " abcdefghijklmnopqrstuvw");
    EXPECT_THAT(event.modifiers, ElementsAre(command, shift, control));
}

EventTimeline sample() {
    using enum KeyModifier;
    const CursorAppearance arrow = appearance();
    const CursorAppearance hand = appearance("hand \"é😀\\\x01\x7f\"", {0, 255, 62, 63, 7});
    return EventTimeline(
        {{0.1, {0.25, 1.0 / 3}, MouseEventKind::moved, {}}, {2, {0, 1}, MouseEventKind::clicked, 2}},
        {{0.5, "é\"\t", {command, function}, KeyEventContentKind::special, true}, key(1e-7, "a")},
        {{0, {0, 0}, true, arrow}, {1, {0, 0}, false, hand}, {2, {1e-9, -1e300}, true, arrow}});
}

TEST(EventTimelineFileTests, comesBackAndIsPrintedLikeEveryDocument) {
    EventTimeline large; // longer than what is written in one piece
    large.append(CursorStateEvent{0, {0, 0}, true, appearance("large", Bytes(100000, 7))});
    for (const EventTimeline& timeline : {sample(), large, EventTimeline()}) {
        const std::string text = encodeEventTimeline(timeline);
        EXPECT_EQ(decodeEventTimeline(text), timeline);
        EXPECT_EQ(encodeJson(parseJson(text)), text);
    }
}

TEST(EventTimelineFileTests, sharesEqualImages) {
    std::vector<CursorStateEvent> states;
    for (int i = 0; i < 8; ++i) { // one identifier can have several images
        states.push_back({double(i), {0, 0}, true, appearance("a", {std::uint8_t(i % 3)})});
    }
    const EventTimeline loaded = decodeEventTimeline(encodeEventTimeline(EventTimeline({}, {}, states)));
    const auto& read = loaded.cursorStates();
    EXPECT_EQ(read, states);
    for (std::size_t i = 3; i < read.size(); ++i) {
        EXPECT_TRUE(read[i].appearance.sharesDataWith(read[i - 3].appearance));
        EXPECT_FALSE(read[i].appearance.sharesDataWith(read[i - 1].appearance));
    }
}

TEST(EventTimelineFileTests, aMissingListIsEmptyAndAStoredOneIsNormalized) {
    EXPECT_TRUE(decodeEventTimeline(R"({"mouseEvents":null,"other":[{}]})").isEmpty());
    const EventTimeline timeline = decodeEventTimeline(R"({
        "mouseEvents":[{"timestamp":9,"location":{"x":0,"y":0},"kind":"moved"},
                       {"timestamp":8,"location":{"x":7,"y":-7},"kind":"clicked","button":null}],
        "keyEvents":[{"timestamp":1,"displayText":"","modifiers":[],"contentKind":"printable","isRepeat":false},
                     {"timestamp":1,"displayText":"\n","modifiers":["shift","command","shift"],
                      "contentKind":"printable","isRepeat":false}]})");
    EXPECT_THAT(times(timeline.mouseEvents()), ElementsAre(8, 9));
    EXPECT_FALSE(timeline.mouseEvents()[0].button);
    ASSERT_EQ(timeline.keyEvents().size(), 1U);
    EXPECT_EQ(timeline.keyEvents()[0].displayText, "\n");
    EXPECT_EQ(timeline.keyEvents()[0].modifiers.size(), 3U); // as stored
}

/// Takes every key out in turn: only a button and a whole list may be missing.
TEST(EventTimelineFileTests, everyOtherKeyIsRequired) {
    const Json whole = parseJson(encodeEventTimeline(sample()));
    for (const std::string& key : test::keysOf(whole)) {
        const Json::json_pointer pointer(key);
        const bool isTolerated = pointer.back() == "button" || pointer.parent_pointer().empty();
        EXPECT_EQ(test::failingPathWithout(pointer, decodeEventTimeline, whole),
                  isTolerated ? "accepted" : test::pathOf(key));
    }
}

TEST(EventTimelineFileTests, refusesBadDocumentsWithTheirPlace) {
    const std::string good = encodeEventTimeline(sample());
    const std::pair<std::string, Json> cases[] = {
        {"/mouseEvents/1/kind", "Clicked"},
        {"/mouseEvents/1/button", 2.5},
        {"/mouseEvents", Json::object()},
        {"/keyEvents/1/isRepeat", 1},
        {"/keyEvents/1/modifiers/1", 7},
        {"/cursorStates/0/appearance/pngData", "AQI"},
        {"/cursorStates/0/appearance/pngData", "A=ID"},
    };
    for (const auto& [pointer, value] : cases) {
        EXPECT_EQ(test::failingPathWith(pointer, value, decodeEventTimeline, parseJson(good)),
                  test::pathOf(pointer));
    }
    for (std::size_t length = 0; length + 2 < good.size(); ++length) {
        EXPECT_THROW(static_cast<void>(decodeEventTimeline(std::string_view(good).substr(0, length))),
                     JsonError);
    }
}

} // namespace
} // namespace tavrin
