#include <stdexcept>

#include <gtest/gtest.h>

#include "Fixtures/TemporaryFolder.h"
#include "TavrinKit/Project/ProjectPackageValidationError.h"
#include "TavrinKit/Session/EditorSession.h"
#include "TavrinKit/Support/Files.h"

namespace tavrin {
namespace {

ZoomSegment zoom(double start, double end) {
    return {.startTime = start, .endTime = end, .focus = {0.9, 0.9}, .scale = 2};
}

EditorSession sessionWith(const EventTimeline& events = {}, ZoomTrack track = {}) {
    EditsDocument edits;
    edits.timeline.zoomTrack = std::move(track);
    return EditorSession(ProjectPackage("/nowhere", ProjectManifest{}),
                         std::make_shared<const EventTimeline>(events), edits);
}

EventTimeline clicksAt(const std::vector<double>& times) {
    std::vector<MouseEvent> events;
    for (const double time : times) {
        events.push_back({time, {0.3, 0.6}, MouseEventKind::clicked, 0});
    }
    return EventTimeline(events);
}

void setPadding(EditorSession& session, double padding) {
    session.mutateTimeline([&](TimelineModel& timeline) { timeline.framingTrack.style.padding = padding; });
}

double padding(const EditorSession& session) {
    return session.edits().timeline.framingTrack.style.padding;
}

TEST(EditorSession, WhatChangesNothingIsNoStepAndKeepsTheRedoHistory) {
    const ZoomTrack track{{zoom(5, 6), zoom(1, 2)}};
    EditorSession session = sessionWith({}, track);
    setPadding(session, 1);
    ASSERT_TRUE(session.undo());
    const UUID unknown = UUID::make();
    setPadding(session, padding(session));
    session.setZoomMode(unknown, ZoomMode::manual);
    session.setSelectedExportAspect(std::nullopt);
    session.applyAutoZoom({}, AutoZoomConfig::standard(), AutoZoomApplyStrategy::mergeNonDestructive);
    EXPECT_FALSE(session.canUndo());
    EXPECT_TRUE(session.canRedo());
    EXPECT_EQ(session.edits().timeline.zoomTrack, track);
    setPadding(session, 2);
    EXPECT_FALSE(session.canRedo());
}

TEST(EditorSession, KeepsAHundredStepsAndNoneOfAChangeThatThrows) {
    EditorSession session = sessionWith();
    for (int i = 1; i <= 101; ++i) {
        setPadding(session, 100 + i);
    }
    EXPECT_THROW(session.mutateTimeline([](TimelineModel& timeline) {
        timeline.framingTrack.style.padding = 9;
        throw std::runtime_error("half-way");
    }),
                 std::runtime_error);
    EXPECT_EQ(padding(session), 201);
    int steps = 0;
    while (session.undo()) {
        ++steps;
    }
    EXPECT_EQ(steps, 100);
    EXPECT_EQ(padding(session), 101);
}

TEST(EditorSession, OperationsChangeWhatTheyName) {
    const ZoomSegment first = zoom(1, 2);
    EditorSession session = sessionWith({}, {{first, zoom(5, 6), first}});
    EditsDocument expected = session.edits();
    ZoomTrack& track = expected.timeline.zoomTrack;
    session.setZoomMode(first.id, ZoomMode::manual);
    track.segments[0].mode = ZoomMode::manual;
    session.setSelectedExportAspect(ExportAspectPreset::square1x1);
    expected.exportSettings.selectedAspect = ExportAspectPreset::square1x1;
    session.setAudioStyle({.gainDB = 3}, AudioTrackRole::camera);
    expected.timeline.audioMix.trackStyles[AudioTrackRole::camera].gainDB = 3;
    session.disableZoomSegment(first.id);
    track.segments[0].enabled = false;
    EXPECT_EQ(session.edits(), expected);
    session.deleteZoomSegment(first.id);
    EXPECT_EQ(session.edits().timeline.zoomTrack.segments.size(), 1U);
}

TEST(EditorSession, GeneratedZoomsMergeOrReplaceAsOneStep) {
    const ZoomTrack own{{zoom(20, 22)}};
    const AutoZoomConfig config = AutoZoomConfig::standard();
    EditorSession session = sessionWith(clicksAt({3, 10}), own);
    session.applyAutoZoom({}, config, AutoZoomApplyStrategy::mergeNonDestructive);
    const ZoomTrack merged = session.edits().timeline.zoomTrack;
    ASSERT_EQ(merged.segments.size(), 3U);
    EXPECT_EQ(merged.segments[2], own.segments[0]);
    session.applyAutoZoom({}, config, AutoZoomApplyStrategy::mergeNonDestructive);
    EXPECT_EQ(session.edits().timeline.zoomTrack, merged);
    EXPECT_TRUE(session.undo());
    EXPECT_FALSE(session.canUndo());
    EXPECT_EQ(session.edits().timeline.zoomTrack, own);

    session.applyAutoZoom({}, config, AutoZoomApplyStrategy::replaceTrack);
    EXPECT_EQ(session.edits().timeline.zoomTrack.segments.size(), 2U);
}

TEST(EditorSession, OpensWhatWasSavedAndNoBrokenPackage) {
    const test::TemporaryFolder folder;
    ProjectPackage package(folder / "take", ProjectManifest{});
    package.createDirectoriesIfNeeded();
    writeFileAtomically(package.screenURL(), "pictures");
    package.saveManifest();
    package.saveEvents(clicksAt({1, 2}));
    package.saveEdits({});
    EditorSession session = EditorSession::open(package);
    EXPECT_EQ(session.events(), clicksAt({1, 2}));
    setPadding(session, 77);
    EXPECT_EQ(EditorSession::open(package).edits(), EditsDocument());
    session.save();
    EXPECT_EQ(EditorSession::open(package).edits(), session.edits());

    std::filesystem::remove(package.eventsURL());
    EXPECT_THROW((void)EditorSession::open(package), ProjectPackageValidationError);
}

} // namespace
} // namespace tavrin
