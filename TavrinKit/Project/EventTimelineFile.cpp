#include "TavrinKit/Project/EventTimelineFile.h"

#include <algorithm>
#include <functional>
#include <unordered_map>

namespace tavrin {

// The functions that `readRecord` finds by the type of a field stand in this namespace, not in a nameless
// one.

static void read(JsonReader& reader, MouseEvent& value) {
    reader.readRecord(
        JsonReader::required("timestamp", value.timestamp), JsonReader::required("location", value.location),
        JsonReader::required("kind", value.kind), JsonReader::tolerated("button", value.button));
}

static void read(JsonReader& reader, KeyEvent& value) {
    reader.readRecord(JsonReader::required("timestamp", value.timestamp),
                      JsonReader::required("displayText", value.displayText),
                      JsonReader::required("modifiers", value.modifiers),
                      JsonReader::required("contentKind", value.contentKind),
                      JsonReader::required("isRepeat", value.isRepeat));
}

namespace {

/// A cursor appearance as the text has it.
struct AppearanceText {
    std::string identifier;
    std::string png; ///< base64
    Vec2 hotSpot;
    Vec2 pixelSize;

    friend bool operator==(const AppearanceText&, const AppearanceText&) = default;
};

void read(JsonReader& reader, AppearanceText& value) {
    reader.readRecord(
        JsonReader::required("identifier", value.identifier), JsonReader::required("pngData", value.png),
        JsonReader::required("hotSpot", value.hotSpot), JsonReader::required("pixelSize", value.pixelSize));
}

/// Makes one appearance of all texts that are equal.
class AppearancePool {
public:
    /// What is at hand to read the next text into.
    AppearanceText text;

    CursorAppearance take() {
        if (last_ != nullptr && last_->text == text) {
            return last_->appearance;
        }
        const std::size_t hash =
            std::hash<std::string>()(text.identifier) * 31 + std::hash<std::string>()(text.png);
        const auto [first, end] = entries_.equal_range(hash);
        auto found = std::find_if(first, end, [&](const auto& entry) { return entry.second.text == text; });
        if (found == end) {
            found = entries_.emplace(hash, Entry{text, decoded()});
        }
        last_ = &found->second;
        return last_->appearance;
    }

private:
    struct Entry {
        AppearanceText text;
        CursorAppearance appearance;
    };

    [[nodiscard]] CursorAppearance decoded() const {
        Bytes png;
        if (!base64Decode(text.png, png)) {
            throw JsonError(JsonErrorKind::typeMismatch, "Expected base64 data.", "pngData");
        }
        return {text.identifier, std::move(png), text.hotSpot, text.pixelSize};
    }

    std::unordered_multimap<std::size_t, Entry> entries_;
    const Entry* last_ = nullptr;
};

struct PooledAppearance {
    CursorAppearance appearance;
    AppearancePool* pool = nullptr;
};

void read(JsonReader& reader, PooledAppearance& value) {
    read(reader, value.pool->text);
    value.appearance = value.pool->take();
}

struct PooledCursorStates {
    std::vector<CursorStateEvent> states;
};

void read(JsonReader& reader, PooledCursorStates& value) {
    AppearancePool pool;
    value.states.clear();
    reader.readArray([&](std::size_t) {
        CursorStateEvent event;
        PooledAppearance pooled{{}, &pool};
        reader.readRecord(JsonReader::required("timestamp", event.timestamp),
                          JsonReader::required("location", event.location),
                          JsonReader::required("visible", event.visible),
                          JsonReader::required("appearance", pooled));
        event.appearance = std::move(pooled.appearance);
        value.states.push_back(std::move(event));
    });
}

void write(JsonWriter& writer, Vec2 value) {
    writer.object([&] {
        writer.member("x", [&] { writer.write(value.x); });
        writer.member("y", [&] { writer.write(value.y); });
    });
}

void write(JsonWriter& writer, const MouseEvent& event) {
    writer.object([&] {
        if (event.button) {
            writer.member("button", [&] { writer.write(*event.button); });
        }
        writer.member("kind", [&] { writer.write(nameOf(event.kind)); });
        writer.member("location", [&] { write(writer, event.location); });
        writer.member("timestamp", [&] { writer.write(event.timestamp); });
    });
}

void write(JsonWriter& writer, const KeyEvent& event) {
    writer.object([&] {
        writer.member("contentKind", [&] { writer.write(nameOf(event.contentKind)); });
        writer.member("displayText", [&] { writer.write(std::string_view(event.displayText)); });
        writer.member("isRepeat", [&] { writer.write(event.isRepeat); });
        writer.member("modifiers", [&] {
            writer.array([&] {
                for (const KeyModifier modifier : event.modifiers) {
                    writer.element([&] { writer.write(nameOf(modifier)); });
                }
            });
        });
        writer.member("timestamp", [&] { writer.write(event.timestamp); });
    });
}

/// Turns each image into base64 once for a run of states that share it.
class AppearanceWriter {
public:
    explicit AppearanceWriter(JsonWriter& writer) : writer_(&writer) {}

    void write(const CursorAppearance& appearance) {
        if (!appearance.sharesDataWith(last_) || png_.empty()) {
            last_ = appearance;
            png_ = base64Encode(appearance.pngData());
        }
        writer_->object([&] {
            writer_->member("hotSpot", [&] { tavrin::write(*writer_, appearance.hotSpot()); });
            writer_->member("identifier", [&] { writer_->write(std::string_view(appearance.identifier())); });
            writer_->member("pixelSize", [&] { tavrin::write(*writer_, appearance.pixelSize()); });
            writer_->member("pngData", [&] { writer_->write(std::string_view(png_)); });
        });
    }

private:
    JsonWriter* writer_;
    CursorAppearance last_;
    std::string png_;
};

void write(JsonWriter& writer, const CursorStateEvent& event, AppearanceWriter& appearances) {
    writer.object([&] {
        writer.member("appearance", [&] { appearances.write(event.appearance); });
        writer.member("location", [&] { write(writer, event.location); });
        writer.member("timestamp", [&] { writer.write(event.timestamp); });
        writer.member("visible", [&] { writer.write(event.visible); });
    });
}

template <typename Event, typename... Context>
void writeList(JsonWriter& writer, std::string_view key, const std::vector<Event>& events,
               Context&... context) {
    writer.member(key, [&] {
        writer.array([&] {
            for (const Event& event : events) {
                writer.element([&] { write(writer, event, context...); });
            }
        });
    });
}

} // namespace

EventTimeline readEventTimeline(JsonReader& reader) {
    std::vector<MouseEvent> mouseEvents;
    std::vector<KeyEvent> keyEvents;
    PooledCursorStates cursorStates;
    reader.readRecord(JsonReader::tolerated("mouseEvents", mouseEvents),
                      JsonReader::tolerated("keyEvents", keyEvents),
                      JsonReader::tolerated("cursorStates", cursorStates));
    reader.finish();
    return EventTimeline(std::move(mouseEvents), std::move(keyEvents), std::move(cursorStates.states));
}

void writeEventTimeline(JsonWriter& writer, const EventTimeline& timeline) {
    AppearanceWriter appearances(writer);
    writer.object([&] {
        writeList(writer, "cursorStates", timeline.cursorStates(), appearances);
        writeList(writer, "keyEvents", timeline.keyEvents());
        writeList(writer, "mouseEvents", timeline.mouseEvents());
    });
    writer.finish();
}

EventTimeline decodeEventTimeline(std::string_view text) {
    JsonReader reader(text);
    return readEventTimeline(reader);
}

std::string encodeEventTimeline(const EventTimeline& timeline) {
    std::string text;
    JsonWriter writer([&](std::string_view piece) { text += piece; });
    writeEventTimeline(writer, timeline);
    return text;
}

} // namespace tavrin
