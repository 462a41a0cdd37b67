#pragma once

#include "TavrinKit/Project/EditsDocument.h"

namespace tavrin::test {

/// A document in which every key is there, and no value is its default.
inline EditsDocument fullEdits() {
    EditsDocument document;
    TimelineModel& timeline = document.timeline;
    const UUID group = UUID::make();
    const TimelineClip clip{
        .sourceID = "a", .sourceRange = {1, 2}, .timelineRange = {3, 4}, .lane = 2, .takeGroupID = group};
    const ClipTake take{.sourceID = "b", .sourceRange = {5, 6}, .label = "second"};
    timeline.videoTrack = {{clip}, {{group, clip.id, {take}, take.id, take.id}}};
    timeline.trimRange = ClipTimeRange{0.5, 9.25};
    timeline.cropTrack.region = {0.1, 0.2, 0.3, 0.4};
    timeline.speedTrack.regions = {{.startTime = 1, .endTime = 2, .speed = PlaybackSpeed::x025},
                                   {.startTime = 2, .endTime = 3, .speed = PlaybackSpeed::x175}};
    timeline.zoomTrack.segments = {{.startTime = 1,
                                    .endTime = 2,
                                    .focus = {0.5, 700},
                                    .scale = 2,
                                    .enabled = false,
                                    .mode = ZoomMode::manual,
                                    .transitionStyle = ZoomTransitionStyle::snappy}};
    timeline.cursorTrack.style = {1.5,
                                  CursorSmoothingPreset::high,
                                  false,
                                  ClickHighlightStyle::halo,
                                  3,
                                  CursorBodyStyle::touch,
                                  0.5,
                                  0.6,
                                  CursorEndBehavior::loopTail,
                                  0.7,
                                  true,
                                  CursorGlyphSelectionMode::manual,
                                  CursorGlyphKind::zoomOut,
                                  0.8,
                                  0.1,
                                  CursorTrailStyle::dynamic,
                                  0.2,
                                  0.3,
                                  0.4};
    timeline.framingTrack.style = {
        1, 2, {0.3, 4, 5, 6}, BackgroundStyle::wallpaper(BuiltInWallpaperStyle::graphite)};
    timeline.watermarkTrack.style = {true, WatermarkKind::image,    " x ", "/logo.png", 0.5, 0.3,
                                     0.1,  WatermarkAnchor::center, false};
    timeline.cameraPiPTrack.style = {true,
                                     CameraPiPAnchor::topLeft,
                                     0.3,
                                     0.1,
                                     0.2,
                                     0.4,
                                     0.5,
                                     6,
                                     CameraPiPShape::circle,
                                     CameraPiPLayoutMode::focusAware,
                                     0.1,
                                     CameraPiPBackgroundTreatment::glow};
    timeline.motionBlurStyle.intensity = 0.5;
    timeline.typingTrack.style = {false, 0.5, 2, 0.7, 0.6, 3};
    timeline.annotationTrack.regions = {
        {.startTime = 1,
         .endTime = 2,
         .type = AnnotationType::figure,
         .content = "c",
         .imagePath = "  ",
         .position = {0.1, 0.2},
         .size = {0.5, 0.6},
         .style = {"#1", "#2", "#3", 20, AnnotationFontWeight::semibold, AnnotationTextAlignment::trailing, 1,
                   2, 0.3},
         .zIndex = 4,
         .figure = AnnotationFigureData{AnnotationFigureShape::circle, AnnotationArrowDirection::downLeft}}};
    timeline.extraAudioTrack.regions = {{.startTime = 1, .endTime = 2, .filePath = " a.wav ", .volume = 0.5}};
    timeline.audioMix.setStyle({-3, true, 1, 2, NoiseReductionLevel::medium}, AudioTrackRole::camera);
    timeline.audioMix.setStyle({4, false, 3, 4, NoiseReductionLevel::low}, AudioTrackRole::system);
    document.audioRouting = {{AudioTrackRole::camera, AudioTrackRole::system}, true};
    document.exportSettings.selectedAspect = ExportAspectPreset::vertical3x4;
    return document;
}

} // namespace tavrin::test
