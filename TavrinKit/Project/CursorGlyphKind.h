#pragma once

#include <array>
#include <string_view>
#include <utility>

#include "TavrinKit/Support/Json.h"

namespace tavrin {

/// The cursor shapes that Tavrin can draw by itself.
enum class CursorGlyphKind {
    arrow,
    pointingHand,
    crosshair,
    iBeam,
    openHand,
    closedHand,
    resizeHorizontal,
    resizeVertical,
    contextualMenu,
    alias,
    copy,
    notAllowed,
    zoomIn,
    zoomOut,
    resizeDiagonalNWSE,
    resizeDiagonalNESW,
};

template <>
struct EnumNames<CursorGlyphKind> {
    static constexpr std::array<std::pair<CursorGlyphKind, std::string_view>, 16> names{{
        {CursorGlyphKind::arrow, "arrow"},
        {CursorGlyphKind::pointingHand, "pointingHand"},
        {CursorGlyphKind::crosshair, "crosshair"},
        {CursorGlyphKind::iBeam, "iBeam"},
        {CursorGlyphKind::openHand, "openHand"},
        {CursorGlyphKind::closedHand, "closedHand"},
        {CursorGlyphKind::resizeHorizontal, "resizeHorizontal"},
        {CursorGlyphKind::resizeVertical, "resizeVertical"},
        {CursorGlyphKind::contextualMenu, "contextualMenu"},
        {CursorGlyphKind::alias, "alias"},
        {CursorGlyphKind::copy, "copy"},
        {CursorGlyphKind::notAllowed, "notAllowed"},
        {CursorGlyphKind::zoomIn, "zoomIn"},
        {CursorGlyphKind::zoomOut, "zoomOut"},
        {CursorGlyphKind::resizeDiagonalNWSE, "resizeDiagonalNWSE"},
        {CursorGlyphKind::resizeDiagonalNESW, "resizeDiagonalNESW"},
    }};
};

} // namespace tavrin
