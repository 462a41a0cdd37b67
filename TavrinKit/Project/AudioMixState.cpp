#include "TavrinKit/Project/AudioMixState.h"

#include <string>

#include "TavrinKit/Project/Normalizing.h"

namespace tavrin {
namespace {

/// Decodes one element of a list, so that an error names its place.
template <typename T>
T decodeElement(const Json& list, std::size_t index) {
    try {
        T value{};
        decode(list[index], value);
        return value;
    } catch (const JsonError& error) {
        rethrowBelow(error, "[" + std::to_string(index) + "]");
    }
}

/// The flat list of pairs.
struct AlternatingStyles {
    std::map<AudioTrackRole, AudioTrackStyle> styles;
};

void encode(Json& json, const AlternatingStyles& value) {
    json = Json::array();
    for (const auto& [role, style] : value.styles) {
        encode(json.emplace_back(), role);
        encode(json.emplace_back(), style);
    }
}

void decode(const Json& json, AlternatingStyles& value) {
    if (!json.is_array() || json.size() % 2 != 0) {
        throw JsonError(JsonErrorKind::typeMismatch, "Expected a list of roles, each followed by its style.");
    }
    value.styles.clear();
    for (std::size_t i = 0; i < json.size(); i += 2) {
        value.styles[decodeElement<AudioTrackRole>(json, i)] = decodeElement<AudioTrackStyle>(json, i + 1);
    }
}

} // namespace

AudioTrackStyle AudioTrackStyle::normalized() const {
    AudioTrackStyle result = *this;
    result.gainDB = clampedTo(gainDB, -24, 24);
    result.fadeInSeconds = clampedTo(fadeInSeconds, 0, 10);
    result.fadeOutSeconds = clampedTo(fadeOutSeconds, 0, 10);
    return result;
}

AudioTrackStyle AudioMixState::style(AudioTrackRole role) const {
    const auto found = trackStyles.find(role);
    return found == trackStyles.end() ? AudioTrackStyle{} : found->second;
}

void AudioMixState::setStyle(const AudioTrackStyle& style, AudioTrackRole role) {
    trackStyles[role] = style;
}

void encode(Json& json, const AudioMixState& value) {
    JsonObjectWriter(json).put("trackStyles", AlternatingStyles{value.trackStyles});
}

void decode(const Json& json, AudioMixState& value) {
    value.trackStyles = JsonObject(json).required<AlternatingStyles>("trackStyles").styles;
}

} // namespace tavrin
