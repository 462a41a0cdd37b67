#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// Writes one JSON document piece by piece, for documents too large for a tree. Gives the same bytes as
/// `encodeJson`, as long as the members of each object are written in the order of their keys.
class JsonWriter {
public:
    using Sink = std::function<void(std::string_view)>;

    /// @param sink  gets the text in pieces of up to some ten thousand bytes; its exceptions pass through
    explicit JsonWriter(Sink sink);

    /// @throws JsonError for a number that is not finite or text that is not UTF-8
    void write(bool value);
    void write(double value);
    void write(std::int64_t value);
    void write(std::string_view text);

    /// `body` writes the members, each with `member`.
    template <typename Body>
    void object(Body body) {
        open('{');
        body();
        close('}');
    }
    template <typename Body>
    void member(std::string_view key, Body body) {
        item();
        write(key);
        text_ += ": ";
        body();
    }
    /// `body` writes the elements, each with `element`.
    template <typename Body>
    void array(Body body) {
        open('[');
        body();
        close(']');
    }
    template <typename Body>
    void element(Body body) {
        item();
        body();
    }

    /// The line end behind the document, and what has not been handed on yet.
    void finish();

private:
    void open(char bracket);
    void close(char bracket);
    void item();
    void newLine();
    void handOn(std::size_t threshold);

    Sink sink_;
    std::string text_;
    std::size_t depth_ = 0;
    bool isEmpty_ = true; ///< nothing has been written since the last bracket was opened
};

} // namespace tavrin
