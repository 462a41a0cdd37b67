#include "TavrinKit/Effects/TypingBursts.h"

namespace tavrin {

TypingBursts::TypingBursts(std::span<const KeyEvent> keys, double burstGapSeconds) {
    entries_.reserve(keys.size());
    for (std::size_t i = 0; i < keys.size(); ++i) {
        const bool isFirst = i == 0 || keys[i].timestamp - keys[i - 1].timestamp > burstGapSeconds;
        const bool continuesTyping = i > 0 && keys[i - 1].isPrintableTyping();
        entries_.push_back(
            {.burstStart = isFirst ? i : entries_.back().burstStart,
             .typingStart = !keys[i].isPrintableTyping() ? i + 1
                            : continuesTyping            ? entries_.back().typingStart
                                                         : i,
             .hasModifiers = !keys[i].modifiers.empty() || (!isFirst && entries_.back().hasModifiers)});
    }
}

} // namespace tavrin
