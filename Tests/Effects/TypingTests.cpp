#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "TavrinKit/Effects/TypingRenderer.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

using Role = TypingChipRole;

KeyEvent typed(double time, std::string text) {
    return {time, std::move(text)};
}

KeyEvent named(double time, std::string text) {
    return {.timestamp = time, .displayText = std::move(text), .contentKind = KeyEventContentKind::special};
}

KeyEvent shortcut(double time, std::vector<KeyModifier> modifiers, std::string text) {
    return {time, std::move(text), std::move(modifiers)};
}

/// The overlay, worked out from the first key of the burst forward.
class PlainTyping {
public:
    PlainTyping(double now, const TypingStyle& style) : now_(now), style_(style) {}

    TypingFrameState state(const EventTimeline& events) {
        std::vector<KeyEvent> burst;
        for (const KeyEvent& key : events.keyEvents()) {
            if (key.timestamp <= now_) {
                if (!burst.empty() && key.timestamp - burst.back().timestamp > style_.burstGapSeconds) {
                    burst.clear();
                }
                burst.push_back(key);
            }
        }
        if (!style_.enabled || burst.empty()) {
            return {};
        }
        const double age = now_ - burst.back().timestamp;
        if (age > style_.holdDurationSeconds + style_.fadeDurationSeconds) {
            return {};
        }
        TypingFrameState state;
        for (const KeyEvent& key : burst) {
            add(key);
            state.isShortcut = state.isShortcut || !key.modifiers.empty();
        }
        flush();
        const auto visible = std::min(chips_.size(), std::size_t(style_.maxVisibleChips));
        state.chips.assign(chips_.end() - std::ptrdiff_t(visible), chips_.end());
        state.opacity =
            age <= style_.holdDurationSeconds
                ? 1
                : std::max(0.0, 1 - (age - style_.holdDurationSeconds) / style_.fadeDurationSeconds);
        state.visible = state.opacity > 0.01;
        return state;
    }

private:
    void add(const KeyEvent& key) {
        const double emphasis = std::max(0.0, 1 - (now_ - key.timestamp) / style_.keyPopDurationSeconds);
        if (key.isPrintableTyping()) {
            buffer_ += key.displayText;
            const std::size_t count = characterCount(buffer_);
            buffer_.erase(0, firstCharacters(buffer_, count - std::min<std::size_t>(count, 48)).size());
            emphasis_ = std::max(emphasis_, emphasis);
            return;
        }
        flush();
        for (const KeyModifier modifier : key.modifiers) {
            chips_.push_back({std::string(symbol(modifier)), Role::modifier, emphasis});
        }
        chips_.push_back({key.displayText, Role::keycap, emphasis});
    }

    void flush() {
        if (!buffer_.empty()) {
            chips_.push_back({std::exchange(buffer_, {}), Role::typedText, std::exchange(emphasis_, 0)});
        }
    }

    double now_;
    TypingStyle style_;
    std::string buffer_;
    double emphasis_ = 0;
    std::vector<TypingChipState> chips_;
};

/// Keys whose texts join each other in every way that characters can: accents, flags, families, syllables.
EventTimeline randomKeys(std::mt19937& random) {
    static const std::array<std::vector<std::string>, 4> alphabets{{
        {"a", "b", "ab c", "\r", "\n"},
        {"e", "\u0301", "\U0001F469", "\u200d", "\U0001F3FD"},
        {"\U0001F1E9", "\U0001F1EA", "\U0001F1EB"},
        {"\u0915", "\u094d", "\u0937", "\u1100", "\u1161", "\u11a8", "\ud55c", "\uac00", "\u0600"},
    }};
    const auto below = [&](std::size_t count) {
        return std::uniform_int_distribution<std::size_t>(0, count - 1)(random);
    };
    const std::vector<std::string>& alphabet = alphabets[below(4)];
    const std::size_t others = 2 + below(60); // how many keys for one that isn't plain typing
    const std::array gaps{0.0, 0.125, 0.25, 0.5};
    std::vector<KeyEvent> keys;
    double time = 0;
    for (std::size_t i = below(300); i > 0; --i) {
        time += below(80) == 0 ? 0.75 : gaps[below(4)];
        const std::string& text = alphabet[below(alphabet.size())];
        if (below(others) != 0) {
            keys.push_back(typed(time, text));
        } else if (below(2) == 0) {
            keys.push_back(named(time, "Return"));
        } else {
            keys.push_back(shortcut(time, {KeyModifier::command, KeyModifier::function}, text));
            keys.back().modifiers.resize(1 + below(2));
        }
    }
    return EventTimeline({}, std::move(keys));
}

TEST(Typing, AgreesWithAWalkFromTheStartOfTheBurst) {
    std::size_t longest = 0;
    for (unsigned seed = 0; seed < 400; ++seed) {
        std::mt19937 random(seed);
        const EventTimeline events = randomKeys(random);
        TypingStyle style;
        style.burstGapSeconds = 0.5; // as long as one of the gaps
        style.maxVisibleChips = 1 + int(seed % 16);
        const TypingBursts bursts(events.keyEvents(), style.burstGapSeconds);
        const double end = events.keyEvents().empty() ? 1 : events.keyEvents().back().timestamp;
        for (int i = 0; i < 30; ++i) {
            const double any = std::uniform_real_distribution(-0.1, end + 2)(random);
            const double time = i % 2 == 0 ? any : std::round(any * 8) / 8; // where the keys are
            SCOPED_TRACE(testing::Message() << "seed " << seed << ", time " << time);
            const TypingFrameState expected = PlainTyping(time, style).state(events);
            ASSERT_EQ(TypingRenderer::frameState(time, events, style), expected);
            ASSERT_EQ(TypingRenderer::frameState(time, events, style, bursts), expected);
            for (const TypingChipState& chip : expected.chips) {
                longest = std::max(longest, characterCount(chip.text));
            }
        }
    }
    EXPECT_EQ(longest, 48U);
}

} // namespace
} // namespace tavrin
