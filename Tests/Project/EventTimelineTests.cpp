#include <algorithm>
#include <limits>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "JsonKeys.h"
#include "TavrinKit/Project/CursorGlyph.h"
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
    const std::string family = "👨‍👩‍👧"; // one character of eighteen bytes
    std::string long24;
    for (int i = 0; i < 24; ++i) {
        long24 += family;
    }
    const std::vector<MouseEvent> mouse{{3, {0, 0}, MouseEventKind::moved, {}},
                                        {1, {nan, 0}, {}, {}},
                                        {1, {0, infinity}, {}, {}},
                                        {nan, {0, 0}, {}, {}},
                                        {1, {0.5, 0}, MouseEventKind::clicked, 0},
                                        {3, {1, 1}, MouseEventKind::dragged, {}},
                                        {3, {0.2, 0}, MouseEventKind::moved, {}},
                                        {-1, {0, 0}, {}, {}}};
    const std::vector<KeyEvent> keys{key(2, "b"),    key(1, ""),           key(infinity, "x"),
                                     key(1, long24), key(0, long24 + "x"), key(1, " ")};
    const std::vector<CursorStateEvent> cursors{
        {2, {0, 0}, true, appearance()},
        {1, {0, 0}, true, CursorAppearance()},
        {1, {0, 0}, true, appearance("")},
        {1, {0, 0}, true, appearance("a", {})},
        {1, {0, 0}, true, {"a", {1}, {nan, 0}, {1, 1}}},
        {1, {0, 0}, true, {"a", {1}, {0, 0}, {0, 1}}},
        {1, {0, 0}, true, {"a", {1}, {-3, 0}, {1, 1}}},
        {1, {0, nan}, true, appearance()},
    };
    const EventTimeline whole(mouse, keys, cursors);
    EventTimeline appended;
    const auto append = [&](const auto& events) {
        std::ranges::for_each(events, [&](const auto& event) { appended.append(event); });
    };
    append(mouse);
    append(keys);
    append(cursors);
    for (const EventTimeline& timeline : {whole, appended}) {
        EXPECT_THAT(times(timeline.mouseEvents()), ElementsAre(-1, 1, 3, 3, 3));
        EXPECT_EQ(timeline.mouseEvents()[2].kind, MouseEventKind::moved);
        EXPECT_EQ(timeline.mouseEvents()[3].kind, MouseEventKind::dragged);
        EXPECT_EQ(timeline.mouseEvents()[4].location.x, 0.2);
        EXPECT_THAT(times(timeline.keyEvents()), ElementsAre(1, 1, 2));
        EXPECT_EQ(timeline.keyEvents()[0].displayText, long24);
        EXPECT_THAT(times(timeline.cursorStates()), ElementsAre(1, 2));
    }
    EXPECT_EQ(whole, appended);
}

TEST(KeyEventTests, normalizesTextAndModifiers) {
    using enum KeyModifier;
    const KeyEvent event =
        KeyEvent{0, "\n\r\u2028 abcdefghijklmnopqrstuvwxyz\n", {control, shift, command, shift}, {}, true}
            .normalized();
    EXPECT_EQ(event.displayText, " abcdefghijklmnopqrstuvw");
    EXPECT_THAT(event.modifiers, ElementsAre(command, shift, control));
    EXPECT_FALSE(event.isPrintableTyping());
    EXPECT_TRUE((KeyEvent{0, "a", {}, KeyEventContentKind::printable, true}.isPrintableTyping()));
    EXPECT_FALSE((KeyEvent{0, "Tab", {}, KeyEventContentKind::special, false}.isPrintableTyping()));
    EXPECT_EQ(KeyEvent::normalizedModifiers({function, control, option, shift, command}),
              std::vector(allCases<KeyModifier>.begin(), allCases<KeyModifier>.end()));
}

EventTimeline sample() {
    using enum KeyModifier;
    const CursorAppearance arrow = appearance();
    const CursorAppearance hand = appearance("hand \"é😀\\\x01\x7f\"", {0, 255, 62, 63});
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
    for (int i = 0; i < 20; ++i) {
        states.push_back(
            {double(i), {0, 0}, true, appearance(i % 2 == 0 ? "a" : "b", {std::uint8_t(i % 4)})});
    }
    const EventTimeline loaded = decodeEventTimeline(encodeEventTimeline(EventTimeline({}, {}, states)));
    const auto& read = loaded.cursorStates();
    EXPECT_EQ(read, states);
    for (std::size_t i = 4; i < read.size(); ++i) {
        EXPECT_TRUE(read[i].appearance.sharesDataWith(read[i - 4].appearance));
        EXPECT_FALSE(read[i].appearance.sharesDataWith(read[i - 1].appearance));
        EXPECT_FALSE(
            read[i].appearance.sharesDataWith(read[i - 2].appearance)); // one identifier, other bytes
    }
}

TEST(EventTimelineFileTests, aMissingListIsEmptyAndAStoredOneIsNormalized) {
    EXPECT_TRUE(decodeEventTimeline("{}").isEmpty());
    EXPECT_TRUE(decodeEventTimeline(R"({"mouseEvents":null,"other":[{}]})").isEmpty());
    const std::string text24 = "123456789012345678901234";
    const auto keyText = [](const std::string& text, const std::string& modifiers) {
        return R"({"timestamp":1,"displayText":")" + text + R"(","modifiers":[)" + modifiers +
               R"(],"contentKind":"printable","isRepeat":false})";
    };
    const EventTimeline timeline = decodeEventTimeline(
        R"({"mouseEvents":[{"timestamp":9,"location":{"x":0,"y":0},"kind":"moved"},
                           {"timestamp":8,"location":{"x":7,"y":-7},"kind":"clicked","button":null}],
            "keyEvents":[)" +
        keyText(text24, R"("shift","command","shift")") + "," + keyText(text24 + "5", "") + "," +
        keyText("", "") + "," + keyText("\\n", "") + "]}");
    EXPECT_THAT(times(timeline.mouseEvents()), ElementsAre(8, 9));
    EXPECT_FALSE(timeline.mouseEvents()[0].button);
    ASSERT_EQ(timeline.keyEvents().size(), 2U);
    EXPECT_EQ(timeline.keyEvents()[0].displayText, text24);
    EXPECT_EQ(timeline.keyEvents()[0].modifiers.size(), 3U); // as stored
    EXPECT_EQ(timeline.keyEvents()[1].displayText, "\n");
}

/// Takes every key out in turn: only a button and a whole list may be missing.
TEST(EventTimelineFileTests, everyOtherKeyIsRequired) {
    const Json whole = parseJson(encodeEventTimeline(sample()));
    for (const std::string& key : test::keysOf(whole)) {
        const Json::json_pointer pointer(key);
        const bool isTolerated = pointer.back() == "button" || pointer.parent_pointer().empty();
        EXPECT_EQ(test::failingPath(
                      [&] { static_cast<void>(decodeEventTimeline(test::textWithout(whole, pointer))); }),
                  isTolerated ? "accepted" : test::pathOf(key));
    }
}

TEST(EventTimelineFileTests, refusesBadDocumentsWithTheirPlace) {
    const struct {
        const char* from;
        const char* to;
        JsonErrorKind kind;
        const char* path;
    } cases[] = {
        {"\"clicked\"", "\"Clicked\"", JsonErrorKind::typeMismatch, "mouseEvents[1].kind"},
        {"\"button\": 2", "\"button\": 2.5", JsonErrorKind::typeMismatch, "mouseEvents[1].button"},
        {"\"button\": 2", "\"button\": \"2\"", JsonErrorKind::typeMismatch, "mouseEvents[1].button"},
        {"\"isRepeat\": true", "\"isRepeat\": 1", JsonErrorKind::typeMismatch, "keyEvents[1].isRepeat"},
        {"\"function\"", "7", JsonErrorKind::typeMismatch, "keyEvents[1].modifiers[1]"},
        {"\"special\"", "NaN", JsonErrorKind::malformed, ""},
        {"0.25", "Infinity", JsonErrorKind::malformed, ""},
        {"0.25", "1e999", JsonErrorKind::malformed, ""},
        {"\"AQID\"", "\"AQI\"", JsonErrorKind::typeMismatch, "cursorStates[0].appearance.pngData"},
        {"\"AQID\"", "[1,2,3]", JsonErrorKind::typeMismatch, "cursorStates[0].appearance.pngData"},
    };
    const std::string good = encodeEventTimeline(sample());
    for (const auto& [from, to, kind, path] : cases) {
        std::string text = good;
        text.replace(text.find(from), std::string_view(from).size(), to);
        try {
            static_cast<void>(decodeEventTimeline(text));
            ADD_FAILURE() << to;
        } catch (const JsonError& error) {
            EXPECT_EQ(error.kind(), kind) << to;
            EXPECT_EQ(error.path(), path) << to;
        }
    }
    EXPECT_THROW(static_cast<void>(decodeEventTimeline("[]")), JsonError);
    EXPECT_THROW(static_cast<void>(decodeEventTimeline(R"({"mouseEvents":{}})")), JsonError);
    EXPECT_THROW(static_cast<void>(decodeEventTimeline("{\"other\":" + std::string(1000000, '['))),
                 JsonError);
    for (std::size_t length = 0; length + 2 < good.size(); ++length) {
        EXPECT_THROW(static_cast<void>(decodeEventTimeline(std::string_view(good).substr(0, length))),
                     JsonError);
    }
}

TEST(CursorGlyphTests, everyKindHasAShapeAndAPlaceThatPoints) {
    using enum CursorGlyphKind;
    std::vector<CursorGlyphKind> tips;
    for (const auto& [kind, name] : EnumNames<CursorGlyphKind>::names) {
        const VectorPath& path = CursorGlyph::path(kind);
        const Rect box = path.boundingBox();
        EXPECT_TRUE((Rect{0, 0, 25, 30}.contains(box))) << name;
        EXPECT_GE(std::max(box.width, box.height), 16) << name;
        if (CursorGlyph::usesTopLeftTipHotspot(kind)) {
            tips.push_back(kind);
        }
    }
    EXPECT_THAT(tips, ElementsAre(arrow, pointingHand, contextualMenu, alias));
}

} // namespace
} // namespace tavrin
