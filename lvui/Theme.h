#pragma once
// The dialogs' look in one place: colours, and every size as its value at zoom 100.

#include <windows.h>

namespace lvui
{
constexpr long kMinZoom = 25;
constexpr long kMaxZoom = 400;

// A size at zoom 100 made into pixels at `zoom`, rounded; a non-zero size never shrinks to nothing.
inline int Scale(int base, long zoom)
{
    const int scaled = ::MulDiv(base, static_cast<int>(zoom), 100);
    return (base > 0 && scaled < 1) ? 1 : scaled;
}

namespace colour
{
constexpr COLORREF kBand = RGB(23, 50, 99);          // header band
constexpr COLORREF kBandText = RGB(255, 255, 255);   // wordmark and lock on the band
constexpr COLORREF kBandAccent = RGB(96, 165, 250);  // line under the band
constexpr COLORREF kBrand = RGB(37, 99, 235);        // primary button, links, focus
constexpr COLORREF kBrandPressed = RGB(30, 64, 175); // primary button while pressed
constexpr COLORREF kCard = RGB(255, 255, 255);
constexpr COLORREF kCardBorder = RGB(184, 192, 204);
constexpr COLORREF kInk = RGB(17, 24, 39);      // titles, field text
constexpr COLORREF kBody = RGB(55, 65, 81);     // explanations
constexpr COLORREF kMuted = RGB(100, 108, 122); // reassurance and status lines
constexpr COLORREF kChip = RGB(241, 245, 249);  // the domain's box
constexpr COLORREF kChipBorder = RGB(203, 213, 225);
constexpr COLORREF kFieldBorder = RGB(148, 163, 184);
constexpr COLORREF kButtonBorder = RGB(203, 213, 225);
constexpr COLORREF kButtonPressed = RGB(226, 232, 240);
constexpr COLORREF kQuietPressed = RGB(239, 246, 255);
constexpr COLORREF kDisabled = RGB(156, 163, 175);
constexpr COLORREF kError = RGB(185, 28, 28);
constexpr COLORREF kErrorBack = RGB(254, 242, 242);
constexpr COLORREF kErrorBorder = RGB(248, 180, 180);
constexpr COLORREF kSpinnerTrack = RGB(219, 228, 240);
} // namespace colour

namespace metric
{
constexpr int kWidth = 360;      // the card at zoom 100 (GetOriginalWidth)
constexpr int kBandHeight = 44;  // header band
constexpr int kBandAccent = 2;   // line under the band
constexpr int kMargin = 22;      // left, right and bottom of the content
constexpr int kTopGap = 18;      // band to title
constexpr int kGapSmall = 6;     // title to the line under it
constexpr int kGap = 14;         // between blocks
constexpr int kGapLarge = 20;    // text to the buttons
constexpr int kChipHeight = 32;  // the domain's box
constexpr int kChipPad = 10;     // text inset in boxes and fields
constexpr int kFieldHeight = 36; // text entry box
constexpr int kStatusHeight = 30;
constexpr int kButtonHeight = 34;
constexpr int kQuietHeight = 30;
constexpr int kButtonGap = 10;
constexpr int kRowGap = 6;
constexpr int kRadius = 7; // corner rounding of buttons and boxes
constexpr int kSpinner = 34;
constexpr int kLockWidth = 16;
constexpr int kLockHeight = 20;

// Font heights in pixels at zoom 100.
constexpr int kWordmarkFont = 16;
constexpr int kTitleFont = 18;
constexpr int kDomainFont = 15;
constexpr int kBodyFont = 13;
constexpr int kNoteFont = 12;
constexpr int kButtonFont = 13;
constexpr int kFieldFont = 15;
} // namespace metric
} // namespace lvui
