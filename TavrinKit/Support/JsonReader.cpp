#include "TavrinKit/Support/JsonReader.h"

#include <charconv>
#include <cstring>

#include <fmt/format.h>

#include "TavrinKit/Support/JsonText.h"

namespace tavrin {
namespace {

constexpr std::size_t initialBufferSize = std::size_t(1) << 18;

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool isPartOfNumber(char c) {
    return isDigit(c) || c == '-' || c == '+' || c == '.' || c == 'e' || c == 'E';
}

/// -?(0|[1-9][0-9]*)(\.[0-9]+)?([eE][+-]?[0-9]+)?
bool isNumber(std::string_view text) {
    const char* c = text.data();
    const char* const end = c + text.size();
    const auto digits = [&] {
        const char* const first = c;
        while (c != end && isDigit(*c)) {
            ++c;
        }
        return c != first;
    };
    if (c != end && *c == '-') {
        ++c;
    }
    if (c != end && *c == '0') {
        ++c;
    } else if (!digits()) {
        return false;
    }
    if (c != end && *c == '.') {
        ++c;
        if (!digits()) {
            return false;
        }
    }
    if (c != end && (*c == 'e' || *c == 'E')) {
        ++c;
        if (c != end && (*c == '+' || *c == '-')) {
            ++c;
        }
        if (!digits()) {
            return false;
        }
    }
    return c == end;
}

/// Of a well-formed number. @throws JsonError for one that is too large
double numberIn(std::string_view text) {
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc::result_out_of_range) {
        return value;
    }
    try {
        return Json::parse(text).get<double>(); // which knows too small, and that is 0, from too large
    } catch (const nlohmann::json::exception& failure) {
        throw JsonError(JsonErrorKind::malformed, failure.what());
    }
}

template <typename Integer>
bool isWhole(std::string_view text, Integer& value) {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

/// An integer where it is written as one and fits into 64 bits.
Json valueOf(std::string_view number) {
    std::int64_t negative = 0;
    std::uint64_t positive = 0;
    if (number[0] == '-' && isWhole(number, negative)) {
        return Json(negative);
    }
    if (number[0] != '-' && isWhole(number, positive)) {
        return Json(positive);
    }
    return Json(numberIn(number));
}

void appendUTF8(std::string& text, std::uint32_t c) {
    if (c < 0x80) {
        text += char(c);
    } else if (c < 0x800) {
        text += {char(0xc0 | c >> 6), char(0x80 | (c & 0x3f))};
    } else if (c < 0x10000) {
        text += {char(0xe0 | c >> 12), char(0x80 | (c >> 6 & 0x3f)), char(0x80 | (c & 0x3f))};
    } else {
        text += {char(0xf0 | c >> 18), char(0x80 | (c >> 12 & 0x3f)), char(0x80 | (c >> 6 & 0x3f)),
                 char(0x80 | (c & 0x3f))};
    }
}

/// How long the sequence is that this byte leads, and what its second byte may be; length 0 for none.
struct UTF8Lead {
    std::size_t length = 0;
    std::uint8_t secondLow = 0x80;
    std::uint8_t secondHigh = 0xbf;
};

UTF8Lead utf8Lead(std::uint8_t byte) {
    if (byte >= 0xc2 && byte <= 0xdf) {
        return {2};
    }
    if (byte >= 0xe0 && byte <= 0xef) {
        return {3, std::uint8_t(byte == 0xe0 ? 0xa0 : 0x80), std::uint8_t(byte == 0xed ? 0x9f : 0xbf)};
    }
    if (byte >= 0xf0 && byte <= 0xf4) {
        return {4, std::uint8_t(byte == 0xf0 ? 0x90 : 0x80), std::uint8_t(byte == 0xf4 ? 0x8f : 0xbf)};
    }
    return {};
}

} // namespace

JsonReader::JsonReader(Source source) : source_(std::move(source)), buffer_(initialBufferSize) {
    cursor_ = end_ = base_ = buffer_.data();
}

JsonReader::JsonReader(std::string_view text)
    : cursor_(text.data()), end_(text.data() + text.size()), base_(text.data()), atEnd_(true) {}

bool JsonReader::readBool() {
    const char c = peek();
    if (c != 't' && c != 'f') {
        mismatch("true or false");
    }
    expectWord(c == 't' ? "true" : "false");
    return c == 't';
}

double JsonReader::readNumber() {
    return numberIn(scanNumber());
}

std::int64_t JsonReader::readInteger() {
    std::int64_t value = 0;
    decode(valueOf(scanNumber()), value);
    return value;
}

Json JsonReader::readTree() {
    switch (peek()) {
    case '{': {
        Json tree = Json::object();
        auto& members = tree.get_ref<Json::object_t&>();
        readObject([&](std::string_view key) {
            const auto place = members.insert_or_assign(members.end(), std::string(key), nullptr);
            place->second = readTree();
        });
        return tree;
    }
    case '[': {
        Json tree = Json::array();
        auto& elements = tree.get_ref<Json::array_t&>();
        readArray([&](std::size_t) { elements.push_back(readTree()); });
        return tree;
    }
    case '"':
        return Json(std::string(scanString()));
    case 't':
    case 'f':
        return Json(readBool());
    case 'n':
        static_cast<void>(readNull());
        return Json();
    default:
        assertNumberIsNext();
        return valueOf(scanNumber());
    }
}

std::string_view JsonReader::readString() {
    if (peek() != '"') {
        mismatch("a string");
    }
    return scanString();
}

bool JsonReader::readNull() {
    if (peek() != 'n') {
        return false;
    }
    expectWord("null");
    return true;
}

void JsonReader::skipValue() {
    switch (peek()) {
    case '{':
        readObject([this](std::string_view) { skipValue(); });
        break;
    case '[':
        readArray([this](std::size_t) { skipValue(); });
        break;
    case '"':
        static_cast<void>(scanString());
        break;
    case 't':
    case 'f':
        static_cast<void>(readBool());
        break;
    case 'n':
        static_cast<void>(readNull());
        break;
    default:
        assertNumberIsNext();
        static_cast<void>(readNumber());
    }
}

void JsonReader::assertNumberIsNext() {
    const char c = peek();
    if (c != '-' && !isDigit(c)) {
        fail("Unexpected character");
    }
}

void JsonReader::finish() {
    skipSpace();
    if (cursor_ != end_) {
        fail("Unexpected text behind the document");
    }
}

void JsonReader::assertSeen(const char* key, bool fine) {
    if (!fine) {
        throw JsonError(JsonErrorKind::missingKey, "The key is missing.", key);
    }
}

void JsonReader::enter(char open) {
    if (peek() != open) {
        mismatch(open == '[' ? "an array" : "an object");
    }
    ++cursor_;
    if (++depth_ > maximumJsonDepth) {
        fail("The document is nested too deeply");
    }
}

bool JsonReader::nextElement(bool first) {
    const char c = peek();
    if (c == ']') {
        ++cursor_;
        --depth_;
        return false;
    }
    if (!first) {
        if (c != ',') {
            fail("Expected a comma or the end of the array");
        }
        ++cursor_;
    }
    return true;
}

bool JsonReader::nextMember(bool first, std::string& key) {
    const char c = peek();
    if (c == '}') {
        ++cursor_;
        --depth_;
        return false;
    }
    if (!first) {
        if (c != ',') {
            fail("Expected a comma or the end of the object");
        }
        ++cursor_;
    }
    if (peek() != '"') {
        fail("Expected a key");
    }
    key = scanString();
    if (peek() != ':') {
        fail("Expected a colon");
    }
    ++cursor_;
    return true;
}

void JsonReader::skipSpace() {
    for (;;) {
        while (cursor_ != end_ &&
               (*cursor_ == ' ' || *cursor_ == '\n' || *cursor_ == '\r' || *cursor_ == '\t')) {
            ++cursor_;
        }
        if (cursor_ != end_) {
            return;
        }
        const char* token = end_;
        if (!refill(token)) {
            return;
        }
    }
}

char JsonReader::peek() {
    skipSpace();
    if (cursor_ == end_) {
        fail("Unexpected end of the document");
    }
    return *cursor_;
}

/// Gets more text behind what is there. Everything before `token` is given up; `token` and the cursor follow
/// the text when it moves.
bool JsonReader::refill(const char*& token) {
    if (atEnd_) {
        return false;
    }
    const auto kept = std::size_t(end_ - token);
    const auto done = std::size_t(cursor_ - token);
    consumed_ += std::size_t(token - base_);
    if (kept > buffer_.size() / 2) {
        std::vector<char> larger(buffer_.size() * 2);
        std::memcpy(larger.data(), token, kept);
        buffer_ = std::move(larger);
    } else if (kept > 0) {
        std::memmove(buffer_.data(), token, kept);
    }
    const std::size_t count = source_(buffer_.data() + kept, buffer_.size() - kept);
    atEnd_ = count == 0;
    base_ = token = buffer_.data();
    cursor_ = base_ + done;
    end_ = base_ + kept + count;
    return count > 0;
}

/// Sees to it that `count` bytes lie ahead of the cursor.
void JsonReader::ensure(std::size_t count, const char*& token) {
    while (std::size_t(end_ - cursor_) < count) {
        if (!refill(token)) {
            fail("Unexpected end of the document");
        }
    }
}

std::string_view JsonReader::scanNumber() {
    const char c = peek();
    if (c != '-' && !isDigit(c)) {
        mismatch("a number");
    }
    const char* token = cursor_;
    do {
        while (cursor_ != end_ && isPartOfNumber(*cursor_)) {
            ++cursor_;
        }
    } while (cursor_ == end_ && refill(token));
    const std::string_view text(token, std::size_t(cursor_ - token));
    if (!isNumber(text)) {
        fail("Malformed number");
    }
    return text;
}

std::string_view JsonReader::scanString() {
    ++cursor_;
    const char* token = cursor_;
    bool isEscaped = false;
    for (;;) {
        cursor_ = endOfPlainText(cursor_, end_);
        ensure(1, token);
        const auto c = std::uint8_t(*cursor_);
        if (c == '"') {
            break;
        }
        if (c == '\\') {
            if (!isEscaped) {
                scratch_.clear();
                isEscaped = true;
            }
            scratch_.append(token, cursor_);
            scanEscape();
            token = cursor_;
        } else if (c < 0x20) {
            fail("Control character in a string");
        } else if (c >= 0x80) {
            scanCharacter(token);
        }
    }
    const char* const end = cursor_++;
    if (!isEscaped) {
        return {token, std::size_t(end - token)};
    }
    scratch_.append(token, end);
    return scratch_;
}

/// Steps over one character of several bytes.
void JsonReader::scanCharacter(const char*& token) {
    const UTF8Lead lead = utf8Lead(std::uint8_t(*cursor_));
    if (lead.length == 0) {
        fail("Malformed UTF-8");
    }
    ensure(lead.length, token);
    for (std::size_t i = 1; i < lead.length; ++i) {
        const auto byte = std::uint8_t(cursor_[i]);
        const bool fine = i == 1 ? byte >= lead.secondLow && byte <= lead.secondHigh : (byte & 0xc0) == 0x80;
        if (!fine) {
            fail("Malformed UTF-8");
        }
    }
    cursor_ += lead.length;
}

/// Steps over one escape and appends what it stands for.
void JsonReader::scanEscape() {
    const char* token = cursor_;
    ensure(2, token);
    constexpr std::string_view letters = "\"\\/bfnrt";
    constexpr std::string_view meanings = "\"\\/\b\f\n\r\t";
    const char letter = cursor_[1];
    if (letter == 'u') {
        std::uint32_t c = scanHex();
        if (c >= 0xd800 && c <= 0xdbff) {
            token = cursor_;
            ensure(2, token);
            const std::uint32_t low = cursor_[0] == '\\' && cursor_[1] == 'u' ? scanHex() : 0;
            if (low < 0xdc00 || low > 0xdfff) {
                fail("Half of a surrogate pair");
            }
            c = 0x10000 + ((c - 0xd800) << 10) + (low - 0xdc00);
        } else if (c >= 0xdc00 && c <= 0xdfff) {
            fail("Half of a surrogate pair");
        }
        appendUTF8(scratch_, c);
        return;
    }
    const std::size_t found = letters.find(letter);
    if (found == std::string_view::npos) {
        fail("Unknown escape");
    }
    scratch_ += meanings[found];
    cursor_ += 2;
}

/// Steps over "\uXXXX".
std::uint32_t JsonReader::scanHex() {
    const char* token = cursor_;
    ensure(6, token);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(cursor_ + 2, cursor_ + 6, value, 16);
    if (error != std::errc() || end != cursor_ + 6) {
        fail("Malformed escape");
    }
    cursor_ += 6;
    return value;
}

void JsonReader::expectWord(std::string_view word) {
    const char* token = cursor_;
    ensure(word.size(), token);
    if (std::string_view(cursor_, word.size()) != word) {
        fail("Unexpected character");
    }
    cursor_ += word.size();
}

void JsonReader::fail(const char* reason) const {
    const std::size_t offset = consumed_ + std::size_t(cursor_ - base_);
    throw JsonError(JsonErrorKind::malformed, fmt::format("{} at byte {}.", reason, offset));
}

/// Malformed text is reported as that, also where its beginning is no value of the type asked for.
void JsonReader::mismatch(const char* expected) {
    skipValue();
    throw JsonError(JsonErrorKind::typeMismatch, fmt::format("Expected {}.", expected));
}

void read(JsonReader& reader, bool& value) {
    value = reader.readBool();
}

void read(JsonReader& reader, double& value) {
    value = reader.readNumber();
}

void read(JsonReader& reader, std::int64_t& value) {
    value = reader.readInteger();
}

void read(JsonReader& reader, std::string& value) {
    value = reader.readString();
}

void read(JsonReader& reader, Vec2& value) {
    reader.readRecord(JsonReader::required("x", value.x), JsonReader::required("y", value.y));
}

} // namespace tavrin
