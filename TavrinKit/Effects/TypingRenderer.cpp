#include "TavrinKit/Effects/TypingRenderer.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "TavrinKit/Project/Normalizing.h"
#include "TavrinKit/Support/Text.h"

namespace tavrin {
namespace {

constexpr double shortestDuration = 0.0001;

using Keys = std::span<const KeyEvent>;

/// The index of the last key that isn't later than `time`.
std::optional<std::size_t> lastIndex(double time, Keys keys) {
    const auto after =
        std::ranges::partition_point(keys, [&](const KeyEvent& key) { return key.timestamp <= time; });
    return after == keys.begin() ? std::nullopt : std::optional(std::size_t(after - keys.begin() - 1));
}

/// The last characters of what these keys typed.
///
/// Walks back only until there are enough of them. Characters of one key may join those of the next, so they
/// are counted between places where one certainly ends.
std::string lastTyped(Keys keys) {
    std::size_t first = keys.size();
    std::size_t countedFrom = first;
    std::size_t count = 0;
    const auto textBetween = [&](std::size_t from, std::size_t to) {
        std::string text;
        for (const KeyEvent& key : keys.subspan(from, to - from)) {
            text += key.displayText;
        }
        return text;
    };
    while (first > 0 && count < TypingRenderer::maximumTextLength) {
        --first;
        if (first == 0 || isCertainBreak(keys[first - 1].displayText, keys[first].displayText)) {
            count += characterCount(textBetween(first, countedFrom));
            countedFrom = first;
        }
    }
    return lastCharacters(textBetween(first, keys.size()), TypingRenderer::maximumTextLength);
}

/// Makes the chips of a burst from its last key backward, until nothing older can be seen.
class ChipRow {
public:
    ChipRow(double now, const TypingStyle& style)
        : now_(now), popDuration_(atLeast(style.keyPopDurationSeconds, shortestDuration)),
          capacity_(std::size_t(std::max<std::int64_t>(style.maxVisibleChips, 0))) {}

    [[nodiscard]] bool isFull() const { return chips_.size() >= capacity_; }

    /// A run of plain typing: as fresh as its last key.
    void prependTyping(Keys keys) {
        prepend(lastTyped(keys), TypingChipRole::typedText, emphasis(keys.back()));
    }

    /// A named key, or a shortcut with a chip for each of its modifiers.
    void prependKey(const KeyEvent& key) {
        prepend(key.displayText, TypingChipRole::keycap, emphasis(key));
        for (auto modifier = key.modifiers.rbegin(); modifier != key.modifiers.rend(); ++modifier) {
            prepend(std::string(symbol(*modifier)), TypingChipRole::modifier, emphasis(key));
        }
    }

    /// From left to right.
    [[nodiscard]] std::vector<TypingChipState> take() {
        std::ranges::reverse(chips_);
        return std::move(chips_);
    }

private:
    [[nodiscard]] double emphasis(const KeyEvent& key) const {
        return clampedTo(1 - atLeast(now_ - key.timestamp, 0) / popDuration_, 0, 1);
    }

    void prepend(std::string text, TypingChipRole role, double emphasis) {
        if (!text.empty() && !isFull()) {
            chips_.push_back({std::move(text), role, emphasis});
        }
    }

    double now_;
    double popDuration_;
    std::size_t capacity_;
    std::vector<TypingChipState> chips_; ///< from right to left
};

/// The chips of the burst that ends with the key at `last`.
std::vector<TypingChipState> buildChips(Keys keys, std::size_t last, const TypingBursts& bursts, double now,
                                        const TypingStyle& style) {
    ChipRow row(now, style);
    const std::size_t start = bursts.burstStart(last);
    for (std::size_t end = last + 1; end > start && !row.isFull();) {
        if (keys[end - 1].isPrintableTyping()) {
            const std::size_t first = std::max(bursts.typingStart(end - 1), start);
            row.prependTyping(keys.subspan(first, end - first));
            end = first;
        } else {
            row.prependKey(keys[end - 1]);
            --end;
        }
    }
    return row.take();
}

double opacityAt(double age, const TypingStyle& style) {
    if (age <= style.holdDurationSeconds) {
        return 1;
    }
    const double fade = atLeast(style.fadeDurationSeconds, shortestDuration);
    return clampedTo(1 - (age - style.holdDurationSeconds) / fade, 0, 1);
}

/// The frame whose burst ends with the key at `last`, as long as the overlay outlives that key.
TypingFrameState stateAfter(Keys keys, std::size_t last, const TypingBursts& bursts, double time,
                            const TypingStyle& style) {
    constexpr double leastVisibleOpacity = 0.01;
    TypingFrameState state;
    state.chips = buildChips(keys, last, bursts, time, style);
    if (state.chips.empty()) {
        return {};
    }
    state.opacity = opacityAt(time - keys[last].timestamp, style);
    state.visible = state.opacity > leastVisibleOpacity;
    state.isShortcut = bursts.hasModifiers(last);
    return state;
}

/// The key from which the overlay still lives at `time`, if any.
std::optional<std::size_t> livingKey(double time, Keys keys, const TypingStyle& style) {
    if (!style.enabled) {
        return std::nullopt;
    }
    const std::optional<std::size_t> last = lastIndex(time, keys);
    const bool lives =
        last && time - keys[*last].timestamp <= style.holdDurationSeconds + style.fadeDurationSeconds;
    return lives ? last : std::nullopt;
}

} // namespace

TypingFrameState TypingRenderer::frameState(double time, const EventTimeline& events,
                                            const TypingStyle& style) {
    const Keys keys = events.keyEvents();
    const std::optional<std::size_t> last = livingKey(time, keys, style);
    if (!last) {
        return {};
    }
    std::size_t first = *last;
    while (first > 0 && !(keys[first].timestamp - keys[first - 1].timestamp > style.burstGapSeconds)) {
        --first;
    }
    const Keys burst = keys.subspan(first, *last - first + 1);
    return stateAfter(burst, burst.size() - 1, TypingBursts(burst, style.burstGapSeconds), time, style);
}

TypingFrameState TypingRenderer::frameState(double time, const EventTimeline& events,
                                            const TypingStyle& style, const TypingBursts& bursts) {
    const std::optional<std::size_t> last = livingKey(time, events.keyEvents(), style);
    return last ? stateAfter(events.keyEvents(), *last, bursts, time, style) : TypingFrameState();
}

} // namespace tavrin
