#include "TavrinKit/Support/Text.h"

#include <cstdint>
#include <memory>

#include <unicode/brkiter.h>
#include <unicode/coll.h>
#include <unicode/uchar.h>
#include <unicode/unistr.h>
#include <unicode/utext.h>
#include <unicode/utf8.h>

namespace tavrin {
namespace {

/// The byte position behind the first `limit` characters, and how many there were.
struct Walk {
    std::size_t position = 0;
    std::size_t count = 0;
};

/// One for each thread, because making one takes longer than using it. Null when the machine lacks the rules.
icu::BreakIterator* characterBreaks() {
    UErrorCode status = U_ZERO_ERROR;
    thread_local const std::unique_ptr<icu::BreakIterator> breaks(
        icu::BreakIterator::createCharacterInstance(icu::Locale::getRoot(), status));
    return breaks.get();
}

Walk walkCharacters(std::string_view text, std::size_t limit) {
    UErrorCode status = U_ZERO_ERROR;
    icu::BreakIterator* breaks = characterBreaks();
    UText utext = UTEXT_INITIALIZER;
    utext_openUTF8(&utext, text.data(), std::int64_t(text.size()), &status);
    Walk walk;
    if (breaks != nullptr && U_SUCCESS(status)) {
        breaks->setText(&utext, status);
        breaks->first();
        while (U_SUCCESS(status) && walk.count < limit) {
            const std::int32_t next = breaks->next();
            if (next == icu::BreakIterator::DONE) {
                break;
            }
            walk.position = std::size_t(next);
            walk.count += 1;
        }
    }
    utext_close(&utext);
    return walk;
}

bool isASCII(std::string_view text) {
    for (const char c : text) {
        if (std::uint8_t(c) >= 0x80 || c == '\r') { // "\r\n" is one character
            return false;
        }
    }
    return true;
}

bool isPlainASCII(char c) {
    return c >= ' ' && c <= '~';
}

/// How a code point takes part in forming characters.
UGraphemeClusterBreak clusterClass(UChar32 c) {
    return UGraphemeClusterBreak(u_getIntPropertyValue(c, UCHAR_GRAPHEME_CLUSTER_BREAK));
}

/// Nothing that opens a character joins these.
bool closesCharacter(UGraphemeClusterBreak kind) {
    return kind == U_GCB_OTHER || kind == U_GCB_SPACING_MARK || kind == U_GCB_V || kind == U_GCB_T ||
           kind == U_GCB_LV || kind == U_GCB_LVT;
}

bool opensCharacter(UGraphemeClusterBreak kind) {
    return kind == U_GCB_OTHER || kind == U_GCB_L || kind == U_GCB_LV || kind == U_GCB_LVT;
}

template <typename Predicate>
std::string trimmedOf(std::string_view text, Predicate isTrimmed) {
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = std::int32_t(text.size());
    std::int32_t start = 0;
    while (start < length) {
        std::int32_t next = start;
        UChar32 c = 0;
        U8_NEXT(bytes, next, length, c);
        if (!isTrimmed(c)) {
            break;
        }
        start = next;
    }
    std::int32_t end = length;
    while (end > start) {
        std::int32_t previous = end;
        UChar32 c = 0;
        U8_PREV(bytes, 0, previous, c);
        if (!isTrimmed(c)) {
            break;
        }
        end = previous;
    }
    return std::string(text.substr(std::size_t(start), std::size_t(end - start)));
}

/// Null when the machine lacks the rules. Any thread may ask it for keys.
const icu::Collator* nameCollator() {
    static const std::unique_ptr<const icu::Collator> collator = [] {
        icu::Locale locale = icu::Locale::getDefault();
        if (std::string_view(locale.getVariant()) == "POSIX") { // which tells case apart, and orders by code
            locale = icu::Locale::getRoot();
        }
        UErrorCode status = U_ZERO_ERROR;
        std::unique_ptr<icu::Collator> made(icu::Collator::createInstance(locale, status));
        if (made) {
            made->setStrength(icu::Collator::SECONDARY);
        }
        return U_SUCCESS(status) ? std::move(made) : nullptr;
    }();
    return collator.get();
}

bool isNewline(UChar32 c) {
    return (c >= 0x0a && c <= 0x0d) || c == 0x85 || c == 0x2028 || c == 0x2029;
}

bool isSpace(UChar32 c) {
    return isNewline(c) || c == '\t' || u_charType(c) == U_SPACE_SEPARATOR;
}

} // namespace

std::size_t characterCount(std::string_view text) {
    return isASCII(text) ? text.size() : walkCharacters(text, SIZE_MAX).count;
}

std::string firstCharacters(std::string_view text, std::size_t count) {
    return std::string(text.substr(0, isASCII(text) ? count : walkCharacters(text, count).position));
}

std::string lastCharacters(std::string_view text, std::size_t count) {
    const std::size_t total = characterCount(text);
    if (total <= count) {
        return std::string(text);
    }
    const std::size_t dropped = total - count;
    return std::string(text.substr(isASCII(text) ? dropped : walkCharacters(text, dropped).position));
}

bool isCertainBreak(std::string_view left, std::string_view right) {
    if (left.empty() || right.empty()) {
        return false;
    }
    if (isPlainASCII(left.back()) && isPlainASCII(right.front())) {
        return true;
    }
    std::int32_t start = 0;
    std::int32_t end = std::int32_t(left.size());
    UChar32 last = 0;
    UChar32 first = 0;
    U8_PREV(reinterpret_cast<const std::uint8_t*>(left.data()), 0, end, last);
    U8_NEXT(reinterpret_cast<const std::uint8_t*>(right.data()), start, std::int32_t(right.size()), first);
    return first >= 0 && last >= 0 && closesCharacter(clusterClass(last)) &&
           opensCharacter(clusterClass(first));
}

std::string upperCased(std::string_view text) {
    icu::UnicodeString unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
    unicode.toUpper(icu::Locale::getRoot());
    std::string result;
    unicode.toUTF8String(result);
    return result;
}

std::string lowerCased(std::string_view text) {
    icu::UnicodeString unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
    unicode.toLower(icu::Locale::getRoot());
    std::string result;
    unicode.toUTF8String(result);
    return result;
}

std::string collationKey(std::string_view text) {
    const icu::Collator* collator = nameCollator();
    if (collator == nullptr) {
        return lowerCased(text);
    }
    const icu::UnicodeString unicode =
        icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())));
    std::string key(std::size_t(4) * text.size() + 16, '\0');
    for (;;) {
        const std::int32_t size = collator->getSortKey(unicode, reinterpret_cast<std::uint8_t*>(key.data()),
                                                       std::int32_t(key.size()));
        const bool fits = std::size_t(size) <= key.size();
        key.resize(std::size_t(size));
        if (fits) {
            return key;
        }
    }
}

std::string trimmedNewlines(std::string_view text) {
    return trimmedOf(text, isNewline);
}

std::string trimmed(std::string_view text) {
    return trimmedOf(text, isSpace);
}

std::string withSingleBlanks(std::string_view text) {
    std::string result;
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    const auto length = std::int32_t(text.size());
    bool isBehindSpace = false;
    for (std::int32_t start = 0, next = 0; start < length; start = next) {
        UChar32 c = 0;
        U8_NEXT(bytes, next, length, c);
        if (isSpace(c)) {
            isBehindSpace = true;
            continue;
        }
        if (isBehindSpace && !result.empty()) {
            result += ' ';
        }
        isBehindSpace = false;
        result += text.substr(std::size_t(start), std::size_t(next - start));
    }
    return result;
}

std::string wellFormed(std::string_view text) {
    std::string result;
    icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), std::int32_t(text.size())))
        .toUTF8String(result);
    return result;
}

} // namespace tavrin
