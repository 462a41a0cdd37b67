#pragma once

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
    using enum CursorGlyphKind;
    static constexpr auto names = namedCases<CursorGlyphKind>({
        {arrow, "arrow"},
        {pointingHand, "pointingHand"},
        {crosshair, "crosshair"},
        {iBeam, "iBeam"},
        {openHand, "openHand"},
        {closedHand, "closedHand"},
        {resizeHorizontal, "resizeHorizontal"},
        {resizeVertical, "resizeVertical"},
        {contextualMenu, "contextualMenu"},
        {alias, "alias"},
        {copy, "copy"},
        {notAllowed, "notAllowed"},
        {zoomIn, "zoomIn"},
        {zoomOut, "zoomOut"},
        {resizeDiagonalNWSE, "resizeDiagonalNWSE"},
        {resizeDiagonalNESW, "resizeDiagonalNESW"},
    });
};

} // namespace tavrin
