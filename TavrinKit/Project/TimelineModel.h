#pragma once

#include <optional>

#include "TavrinKit/Project/AnnotationTrack.h"
#include "TavrinKit/Project/AudioMixState.h"
#include "TavrinKit/Project/CameraPiPStyle.h"
#include "TavrinKit/Project/ClipTimeRange.h"
#include "TavrinKit/Project/CropRegion.h"
#include "TavrinKit/Project/CursorStyle.h"
#include "TavrinKit/Project/ExtraAudioTrack.h"
#include "TavrinKit/Project/FramingStyle.h"
#include "TavrinKit/Project/MotionBlurStyle.h"
#include "TavrinKit/Project/SpeedTrack.h"
#include "TavrinKit/Project/TypingStyle.h"
#include "TavrinKit/Project/VideoTrack.h"
#include "TavrinKit/Project/WatermarkStyle.h"
#include "TavrinKit/Project/ZoomTrack.h"
#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The complete description of an edit: which parts of the recording play, and how every effect looks.
///
/// Times are seconds on the recording's time line. Any key may be missing in JSON; a track that is there
/// must be complete as its own type says. The values here are the plain defaults; a new recording starts
/// with those of PremiumDefaults.h.
struct TimelineModel {
    VideoTrack videoTrack{};
    std::optional<ClipTimeRange> trimRange{};
    CropTrack cropTrack{};
    SpeedTrack speedTrack{};
    ZoomTrack zoomTrack{};
    CursorTrack cursorTrack{};
    FramingTrack framingTrack{};
    WatermarkTrack watermarkTrack{};
    CameraPiPTrack cameraPiPTrack{};
    MotionBlurStyle motionBlurStyle{};
    TypingTrack typingTrack{};
    AnnotationTrack annotationTrack{};
    ExtraAudioTrack extraAudioTrack{};
    AudioMixState audioMix{};

    friend bool operator==(const TimelineModel&, const TimelineModel&) = default;
};

template <>
struct JsonRecord<TimelineModel> {
    static void fields(auto& keys, auto& value) {
        keys.tolerated("videoTrack", value.videoTrack);
        keys.tolerated("trimRange", value.trimRange);
        keys.tolerated("cropTrack", value.cropTrack);
        keys.tolerated("speedTrack", value.speedTrack);
        keys.tolerated("zoomTrack", value.zoomTrack);
        keys.tolerated("cursorTrack", value.cursorTrack);
        keys.tolerated("framingTrack", value.framingTrack);
        keys.tolerated("watermarkTrack", value.watermarkTrack);
        keys.tolerated("cameraPiPTrack", value.cameraPiPTrack);
        keys.tolerated("motionBlurStyle", value.motionBlurStyle);
        keys.tolerated("typingTrack", value.typingTrack);
        keys.tolerated("annotationTrack", value.annotationTrack);
        keys.tolerated("extraAudioTrack", value.extraAudioTrack);
        keys.tolerated("audioMix", value.audioMix);
    }
};

} // namespace tavrin
