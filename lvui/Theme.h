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

// Every colour the dialogs use. The normal look is the product's own; in Windows high-contrast mode every colour
// is a system colour, so that the user's scheme decides them all.
struct Palette
{
    COLORREF band;         // header band
    COLORREF bandText;     // wordmark and lock on the band
    COLORREF bandAccent;   // line under the band
    COLORREF brand;        // primary button, focus rings, the spinner's head
    COLORREF brandPressed; // primary button while pressed
    COLORREF brandText;    // text on the primary button
    COLORREF card;         // the dialog's background
    COLORREF cardBorder;
    COLORREF ink;   // titles, field text
    COLORREF body;  // explanations
    COLORREF muted; // reassurance and status lines
    COLORREF chip;  // the domain's box
    COLORREF chipBorder;
    COLORREF fieldBorder;
    COLORREF buttonFace; // secondary buttons
    COLORREF buttonText;
    COLORREF buttonBorder;
    COLORREF buttonPressed;
    COLORREF quietText; // text-only buttons
    COLORREF quietPressed;
    COLORREF disabled;
    COLORREF error; // "Wrong PIN" text and sign, the field's frame after a wrong PIN
    COLORREF errorBack;
    COLORREF errorBorder;
    COLORREF errorMark; // the exclamation mark inside the sign
    COLORREF spinnerTrack;
};

// The look for now: system colours while high contrast is on (SPI_GETHIGHCONTRAST, or as forced by
// LvUiSetHighContrast), the product's own otherwise.
Palette CurrentPalette();
bool operator==(const Palette& left, const Palette& right);
// -1 follows Windows, 0 and 1 force high contrast off or on.
void ForceHighContrast(int mode);

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
constexpr int kButtonTextInset = 8; // the label's least distance from a button's sides
constexpr int kRowGap = 6;
constexpr int kLabelGap = 4; // a field's label to its box
constexpr int kRadius = 7;   // corner rounding of buttons and boxes
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
