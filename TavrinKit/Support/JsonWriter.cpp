#include "TavrinKit/Support/JsonWriter.h"

#include <cmath>

#include "TavrinKit/Support/JsonText.h"

namespace tavrin {
namespace {

constexpr std::size_t pieceSize = std::size_t(1) << 16;

} // namespace

JsonWriter::JsonWriter(Sink sink) : sink_(std::move(sink)) {}

void JsonWriter::write(bool value) {
    text_ += value ? "true" : "false";
}

void JsonWriter::write(double value) {
    if (!std::isfinite(value)) {
        throw JsonError(JsonErrorKind::notEncodable, "A number is not finite.");
    }
    text_ += Json(value).dump();
    handOn(pieceSize);
}

void JsonWriter::write(std::int64_t value) {
    text_ += std::to_string(value);
}

void JsonWriter::write(std::string_view text) {
    const char* const end = text.data() + text.size();
    if (endOfPlainText(text.data(), end) == end) {
        text_ += '"';
        text_ += text;
        text_ += '"';
    } else {
        try {
            text_ += Json(std::string(text)).dump();
        } catch (const nlohmann::json::exception& error) {
            throw JsonError(JsonErrorKind::notEncodable, error.what());
        }
    }
    handOn(pieceSize);
}

void JsonWriter::finish() {
    text_ += '\n';
    handOn(0);
}

void JsonWriter::open(char bracket) {
    text_ += bracket;
    depth_ += 1;
    isEmpty_ = true;
}

void JsonWriter::close(char bracket) {
    depth_ -= 1;
    if (!isEmpty_) {
        newLine();
    }
    text_ += bracket;
    isEmpty_ = false;
}

void JsonWriter::item() {
    if (!isEmpty_) {
        text_ += ',';
    }
    newLine();
    isEmpty_ = false;
}

void JsonWriter::newLine() {
    text_ += '\n';
    text_.append(2 * depth_, ' ');
}

void JsonWriter::handOn(std::size_t threshold) {
    if (text_.size() >= threshold && !text_.empty()) {
        sink_(text_);
        text_.clear();
    }
}

} // namespace tavrin
