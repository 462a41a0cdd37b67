#pragma once

#include <map>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

enum class AudioTrackRole { system, microphone, camera };
enum class NoiseReductionLevel { off, low, medium, high };

/// All keys are required in JSON.
struct AudioTrackStyle {
    double gainDB = 0; ///< -24...24
    bool muted = false;
    double fadeInSeconds = 0;  ///< 0...10
    double fadeOutSeconds = 0; ///< 0...10
    NoiseReductionLevel noiseReductionLevel = NoiseReductionLevel::off;

    [[nodiscard]] AudioTrackStyle normalized() const;

    friend bool operator==(const AudioTrackStyle&, const AudioTrackStyle&) = default;
};

/// How loud the recorded sounds are. In JSON the styles are a flat list: role, style, role, style.
struct AudioMixState {
    std::map<AudioTrackRole, AudioTrackStyle> trackStyles{};

    /// The default style for a role that has none.
    [[nodiscard]] AudioTrackStyle style(AudioTrackRole role) const;
    void setStyle(const AudioTrackStyle& style, AudioTrackRole role);

    friend bool operator==(const AudioMixState&, const AudioMixState&) = default;
};

template <>
struct EnumNames<AudioTrackRole> {
    using enum AudioTrackRole;
    static constexpr auto names = namedCases<AudioTrackRole>({
        {system, "system"},
        {microphone, "microphone"},
        {camera, "camera"},
    });
};

template <>
struct EnumNames<NoiseReductionLevel> {
    using enum NoiseReductionLevel;
    static constexpr auto names = namedCases<NoiseReductionLevel>({
        {off, "off"},
        {low, "low"},
        {medium, "medium"},
        {high, "high"},
    });
};

void encode(Json& json, const AudioMixState& value);
void decode(const Json& json, AudioMixState& value);

template <>
struct JsonRecord<AudioTrackStyle> {
    static void fields(auto& keys, auto& value) {
        keys.required("gainDB", value.gainDB);
        keys.required("muted", value.muted);
        keys.required("fadeInSeconds", value.fadeInSeconds);
        keys.required("fadeOutSeconds", value.fadeOutSeconds);
        keys.required("noiseReductionLevel", value.noiseReductionLevel);
    }
};

} // namespace tavrin
