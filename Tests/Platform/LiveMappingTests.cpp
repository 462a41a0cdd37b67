#include <gtest/gtest.h>
#include <xkbcommon/xkbcommon-keysyms.h>

#include "TavrinKit/Platform/X11/LiveKeyMapping.h"

namespace tavrin::test {
namespace {

LiveKeyPress press(std::uint32_t keysym, std::optional<std::string> characters,
                   std::optional<std::string> ignoringModifiers, const std::string& modifiers = "") {
    LiveKeyPress result;
    result.keysym = keysym;
    result.characters = std::move(characters);
    result.charactersIgnoringModifiers = std::move(ignoringModifiers);
    const auto has = [&](char letter) {
        return modifiers.find(letter) != std::string::npos;
    };
    result.control = has('c');
    result.option = has('o');
    result.shift = has('s');
    result.command = has('m');
    result.function = has('f');
    return result;
}

TEST(LiveKeyMappingTests, pressesBecomeTextsOrNames) {
    using enum KeyModifier;
    constexpr auto printable = KeyEventContentKind::printable;
    constexpr auto special = KeyEventContentKind::special;
    struct Case {
        LiveKeyPress press;
        std::string text;
        std::vector<KeyModifier> modifiers;
        KeyEventContentKind contentKind;
    };
    const Case cases[] = {
        {press(XKB_KEY_A, "A", "A", "ms"), "A", {shift, command}, printable},
        {press(XKB_KEY_a, "\x01", "a", "c"), "A", {control}, printable},
        {press(XKB_KEY_a, "x", std::nullopt, "f"), "X", {function}, printable},
        {press(XKB_KEY_a, "ä", "a", "mosc"), "A", {control, option, shift, command}, printable},
        {press(XKB_KEY_a, std::nullopt, "q"), "q", {}, printable},
        {press(XKB_KEY_space, " ", " ", "s"), " ", {}, printable},
        {press(XKB_KEY_Tab, "\t", "\t", "os"), "Tab", {option, shift}, special},
        {press(XKB_KEY_a,
               "a\x7f"
               "b",
               "a"),
         "ab",
         {},
         printable},
        {press(XKB_KEY_a, "ÄÖÜäöüß", "a"), "ÄÖÜäöü", {}, printable},
        {press(XKB_KEY_a, "", "ßabcdef", "c"), "SSABCDE", {control}, printable},
    };
    for (const Case& each : cases) {
        LiveKeyPress given = each.press;
        given.isRepeat = each.modifiers.empty();
        const auto kind = mapKey(given);
        ASSERT_TRUE(kind) << each.text;
        const auto* key = std::get_if<LiveInputEventKind::KeyPressed>(&kind->value);
        ASSERT_NE(key, nullptr);
        EXPECT_EQ(key->text, each.text);
        EXPECT_EQ(key->modifiers, each.modifiers) << each.text;
        EXPECT_EQ(key->contentKind, each.contentKind) << each.text;
        EXPECT_EQ(key->isRepeat, given.isRepeat);
    }
}

TEST(LiveKeyMappingTests, pressesThatShowNothingAreNothing) {
    for (const LiveKeyPress& each : {press(XKB_KEY_Shift_L, "", "", "s"), press(XKB_KEY_a, "\x7f\x7f", "a"),
                                     press(XKB_KEY_dead_acute, "", "´"), press(XKB_KEY_Super_L, "x", "", "m"),
                                     press(XKB_KEY_F5, std::nullopt, std::nullopt, "c")}) {
        EXPECT_FALSE(mapKey(each)) << each.keysym;
    }
}

} // namespace
} // namespace tavrin::test
