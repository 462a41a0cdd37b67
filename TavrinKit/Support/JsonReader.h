#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Reads one JSON document token by token, for documents too large for a tree.
///
/// As strict as `parseJson`: the same grammar, UTF-8 and depth limit, the same errors with their paths, and
/// as there the last of several equal keys holds, and a null counts as a missing key. After an error the
/// reader is of no more use. A record is read by a function `read(JsonReader&, T&)`, most simply by handing
/// its fields to `readRecord`.
class JsonReader {
public:
    /// Fills the buffer, in part or whole, and returns how much; 0 at the end.
    using Source = std::function<std::size_t(char* buffer, std::size_t size)>;

    explicit JsonReader(Source source);
    /// @param text  must live as long as the reader
    explicit JsonReader(std::string_view text);

    /// @throws JsonError, as all that follow, for malformed text or another type
    [[nodiscard]] bool readBool();
    [[nodiscard]] double readNumber();
    [[nodiscard]] std::int64_t readInteger();
    /// @return valid until the next call
    [[nodiscard]] std::string_view readString();
    /// Any value, with all that is in it.
    [[nodiscard]] Json readTree();
    void skipValue();
    /// Takes a null if that is what comes next.
    [[nodiscard]] bool readNull();

    /// Calls `element(index)` before each element, which must be read or skipped there.
    template <typename Element>
    void readArray(Element element) {
        enter('[');
        for (std::size_t index = 0; nextElement(index == 0); ++index) {
            try {
                element(index);
            } catch (const JsonError& error) {
                if (error.kind() == JsonErrorKind::malformed) {
                    throw;
                }
                rethrowBelow(error, "[" + std::to_string(index) + "]");
            }
        }
    }

    /// Calls `member(key)` before each member's value, which must be read or skipped there.
    /// The key is valid for the time of the call.
    template <typename Member>
    void readObject(Member member) {
        enter('{');
        std::string key;
        for (bool first = true; nextMember(first, key); first = false) {
            try {
                member(std::string_view(key));
            } catch (const JsonError& error) {
                if (error.kind() == JsonErrorKind::malformed) {
                    throw;
                }
                rethrowBelow(error, key);
            }
        }
    }

    template <typename T>
    struct Field {
        const char* key;
        T* value;
        bool isRequired;
    };
    template <typename T>
    [[nodiscard]] static Field<T> required(const char* key, T& value) {
        return {key, &value, true};
    }
    /// A missing key leaves the value as it is; a null resets it.
    template <typename T>
    [[nodiscard]] static Field<T> tolerated(const char* key, T& value) {
        return {key, &value, false};
    }

    /// Reads an object into its fields; unknown keys are skipped.
    template <typename... T>
    void readRecord(Field<T>... fields) {
        std::uint32_t seen = 0;
        readObject([&](std::string_view key) {
            std::uint32_t bit = 1;
            const bool known = (readIf(key, fields, seen, bit) || ...);
            if (!known) {
                skipValue();
            }
        });
        std::uint32_t bit = 1;
        (assertSeen(fields.key, (seen & std::exchange(bit, bit << 1)) != 0 || !fields.isRequired), ...);
    }

    /// @throws JsonError unless the document ends here
    void finish();

private:
    template <typename T>
    bool readIf(std::string_view key, const Field<T>& field, std::uint32_t& seen, std::uint32_t& bit) {
        const std::uint32_t mine = bit;
        bit <<= 1;
        if (key != field.key) {
            return false;
        }
        if (readNull()) {
            seen &= ~mine;
            if (!field.isRequired) {
                *field.value = T{};
            }
        } else {
            read(*this, *field.value);
            seen |= mine;
        }
        return true;
    }
    static void assertSeen(const char* key, bool fine);

    void enter(char open);
    bool nextElement(bool first);
    bool nextMember(bool first, std::string& key);

    void skipSpace();
    [[nodiscard]] char peek();
    void assertNumberIsNext();
    bool refill(const char*& token);
    void ensure(std::size_t count, const char*& token);
    [[nodiscard]] std::string_view scanNumber();
    [[nodiscard]] std::string_view scanString();
    void scanCharacter(const char*& token);
    void scanEscape();
    [[nodiscard]] std::uint32_t scanHex();
    void expectWord(std::string_view word);
    [[noreturn]] void fail(const char* reason) const;
    [[noreturn]] void mismatch(const char* expected);

    Source source_;
    std::vector<char> buffer_; ///< empty for a text in memory
    const char* cursor_ = nullptr;
    const char* end_ = nullptr;
    std::size_t consumed_ = 0;   ///< bytes of the document in front of the buffer
    const char* base_ = nullptr; ///< where the buffer starts
    bool atEnd_ = false;
    int depth_ = 0;
    std::string scratch_; ///< a string with escapes, undone
};

void read(JsonReader& reader, bool& value);
void read(JsonReader& reader, double& value);
void read(JsonReader& reader, std::int64_t& value);
void read(JsonReader& reader, std::string& value);
void read(JsonReader& reader, Vec2& value);

template <NamedEnum E>
void read(JsonReader& reader, E& value) {
    const std::string_view text = reader.readString();
    if (const auto found = enumNamed<E>(text)) {
        value = *found;
    } else {
        throw JsonError(JsonErrorKind::typeMismatch, "Unknown case \"" + std::string(text) + "\".");
    }
}

template <typename T>
void read(JsonReader& reader, std::optional<T>& value) {
    read(reader, value.emplace());
}

template <typename T>
void read(JsonReader& reader, std::vector<T>& values) {
    values.clear();
    reader.readArray([&](std::size_t) { read(reader, values.emplace_back()); });
}

} // namespace tavrin
