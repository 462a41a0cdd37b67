#pragma once

#include "TavrinKit/Project/EditsDocument.h"

namespace tavrin::test {

/// A document in which every key is there, and no value is its default. The names in it are a contract with
/// every file that exists.
inline constexpr std::string_view fullEditsText = R"({
"timeline": {
    "videoTrack": {
        "clips": [{"id": "00000000-0000-4000-8000-000000000001", "sourceID": "a",
                   "sourceRange": {"startTime": 1.0, "endTime": 2.0},
                   "timelineRange": {"startTime": 3.0, "endTime": 4.0}, "lane": 2,
                   "takeGroupID": "00000000-0000-4000-8000-000000000002"}],
        "takeGroups": [{"id": "00000000-0000-4000-8000-000000000002",
                        "clipID": "00000000-0000-4000-8000-000000000001",
                        "takes": [{"id": "00000000-0000-4000-8000-000000000003", "sourceID": "b",
                                   "sourceRange": {"startTime": 5.0, "endTime": 6.0}, "label": "second"}],
                        "committedTakeID": "00000000-0000-4000-8000-000000000003",
                        "previewTakeID": "00000000-0000-4000-8000-000000000003"}]},
    "trimRange": {"startTime": 0.5, "endTime": 9.25},
    "cropTrack": {"region": {"x": 0.1, "y": 0.2, "width": 0.3, "height": 0.4}},
    "speedTrack": {"regions": [
        {"id": "00000000-0000-4000-8000-000000000004", "startTime": 1.0, "endTime": 2.0, "speed": 0.25},
        {"id": "00000000-0000-4000-8000-000000000005", "startTime": 2.0, "endTime": 3.0, "speed": 1.75}]},
    "zoomTrack": {"segments": [
        {"id": "00000000-0000-4000-8000-000000000006", "startTime": 1.0, "endTime": 2.0,
         "focus": {"x": 0.5, "y": 700.0}, "scale": 2.0, "enabled": false, "mode": "manual",
         "transitionStyle": "snappy"}]},
    "cursorTrack": {"style": {
        "sizeMultiplier": 1.5, "smoothing": "high", "hideWhenIdle": false, "clickHighlightStyle": "halo",
        "idleHideAfterSeconds": 3.0, "bodyStyle": "touch", "shakeReduction": 0.5,
        "glyphStabilizationSeconds": 0.6, "endBehavior": "loopTail", "endLoopDurationSeconds": 0.7,
        "hideDuringZoomSegments": true, "glyphSelectionMode": "manual", "selectedGlyph": "zoomOut",
        "clickHighlightDurationSeconds": 0.8, "clickHighlightIntensity": 0.1, "trailStyle": "dynamic",
        "trailLengthSeconds": 0.2, "trailIntensity": 0.3, "idleFadeDurationSeconds": 0.4}},
    "framingTrack": {"style": {
        "padding": 1.0, "cornerRadius": 2.0,
        "shadow": {"opacity": 0.3, "blurRadius": 4.0, "offsetX": 5.0, "offsetY": 6.0},
        "background": {"wallpaper": {"id": "graphite"}}}},
    "watermarkTrack": {"style": {
        "enabled": true, "kind": "image", "text": " x ", "imagePath": "/logo.png", "opacity": 0.5,
        "widthFraction": 0.3, "marginFraction": 0.1, "anchor": "center", "shadowEnabled": false}},
    "cameraPiPTrack": {"style": {
        "enabled": true, "anchor": "topLeft", "widthFraction": 0.3, "marginFraction": 0.1,
        "cornerRadiusFraction": 0.2, "shadowOpacity": 0.4, "borderOpacity": 0.5, "borderWidth": 6.0,
        "shape": "circle", "layoutMode": "focusAware", "focusReactionStrength": 0.1,
        "backgroundTreatment": "glow"}},
    "motionBlurStyle": {"intensity": 0.5},
    "typingTrack": {"style": {
        "enabled": false, "burstGapSeconds": 0.5, "holdDurationSeconds": 2.0, "fadeDurationSeconds": 0.7,
        "keyPopDurationSeconds": 0.6, "maxVisibleChips": 3}},
    "annotationTrack": {"regions": [
        {"id": "00000000-0000-4000-8000-000000000007", "startTime": 1.0, "endTime": 2.0, "type": "figure",
         "content": "c", "imagePath": "  ", "position": {"x": 0.1, "y": 0.2},
         "size": {"width": 0.5, "height": 0.6}, "zIndex": 4,
         "style": {"textColorHex": "#1", "fillColorHex": "#2", "strokeColorHex": "#3", "fontSize": 20.0,
                   "fontWeight": "semibold", "textAlignment": "trailing", "borderRadius": 1.0,
                   "strokeWidth": 2.0, "shadowOpacity": 0.3},
         "figure": {"shape": "circle", "direction": "downLeft"}}]},
    "extraAudioTrack": {"regions": [
        {"id": "00000000-0000-4000-8000-000000000008", "startTime": 1.0, "endTime": 2.0,
         "filePath": " a.wav ", "volume": 0.5}]},
    "audioMix": {"trackStyles": [
        "system", {"gainDB": 4.0, "muted": false, "fadeInSeconds": 3.0, "fadeOutSeconds": 4.0,
                   "noiseReductionLevel": "low"},
        "camera", {"gainDB": -3.0, "muted": true, "fadeInSeconds": 1.0, "fadeOutSeconds": 2.0,
                   "noiseReductionLevel": "medium"}]}},
"audioRouting": {"preferredRoles": ["camera", "system"], "normalizeBeforeMix": true},
"exportSettings": {"selectedAspect": "vertical3x4"}
})";

inline EditsDocument fullEdits() {
    return decodeDocument<EditsDocument>(fullEditsText);
}

} // namespace tavrin::test
