#include "Theme.h"

#include <atomic>
#include <cstring>

namespace lvui
{
namespace
{
std::atomic<int> g_forcedHighContrast{-1};

constexpr Palette kProductPalette{
    RGB(23, 50, 99),    // band
    RGB(255, 255, 255), // bandText
    RGB(96, 165, 250),  // bandAccent
    RGB(37, 99, 235),   // brand
    RGB(30, 64, 175),   // brandPressed
    RGB(255, 255, 255), // brandText
    RGB(255, 255, 255), // card
    RGB(184, 192, 204), // cardBorder
    RGB(17, 24, 39),    // ink
    RGB(55, 65, 81),    // body
    RGB(100, 108, 122), // muted
    RGB(241, 245, 249), // chip
    RGB(203, 213, 225), // chipBorder
    RGB(148, 163, 184), // fieldBorder
    RGB(255, 255, 255), // buttonFace
    RGB(17, 24, 39),    // buttonText
    RGB(203, 213, 225), // buttonBorder
    RGB(226, 232, 240), // buttonPressed
    RGB(37, 99, 235),   // quietText
    RGB(239, 246, 255), // quietPressed
    RGB(156, 163, 175), // disabled
    RGB(185, 28, 28),   // error
    RGB(254, 242, 242), // errorBack
    RGB(248, 180, 180), // errorBorder
    RGB(255, 255, 255), // errorMark
    RGB(219, 228, 240), // spinnerTrack
};

// Text on window background, framed in the text colour; the main action in the highlight colours, the others in
// the button colours, the text-only ones in the text colour (the hot-track colour is not always readable on the
// window colour). No colour of the product's own is left.
Palette SystemPalette()
{
    const COLORREF window = ::GetSysColor(COLOR_WINDOW);
    const COLORREF text = ::GetSysColor(COLOR_WINDOWTEXT);
    const COLORREF highlight = ::GetSysColor(COLOR_HIGHLIGHT);
    const COLORREF highlightText = ::GetSysColor(COLOR_HIGHLIGHTTEXT);
    const COLORREF face = ::GetSysColor(COLOR_BTNFACE);
    const COLORREF faceText = ::GetSysColor(COLOR_BTNTEXT);
    const COLORREF gray = ::GetSysColor(COLOR_GRAYTEXT);
    return Palette{
        window,        // band
        text,          // bandText
        text,          // bandAccent
        highlight,     // brand
        highlight,     // brandPressed
        highlightText, // brandText
        window,        // card
        text,          // cardBorder
        text,          // ink
        text,          // body
        text,          // muted
        window,        // chip
        text,          // chipBorder
        text,          // fieldBorder
        face,          // buttonFace
        faceText,      // buttonText
        faceText,      // buttonBorder
        highlight,     // buttonPressed
        text,          // quietText
        face,          // quietPressed
        gray,          // disabled
        text,          // error
        window,        // errorBack
        text,          // errorBorder
        window,        // errorMark
        window,        // spinnerTrack
    };
}
bool IsHighContrast()
{
    const int forced = g_forcedHighContrast.load();
    if (forced >= 0)
        return forced != 0;
    HIGHCONTRASTW settings{};
    settings.cbSize = sizeof(settings);
    return ::SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(settings), &settings, 0) &&
           (settings.dwFlags & HCF_HIGHCONTRASTON) != 0;
}
} // namespace

Palette CurrentPalette()
{
    return IsHighContrast() ? SystemPalette() : kProductPalette;
}

bool operator==(const Palette& left, const Palette& right)
{
    return std::memcmp(&left, &right, sizeof(Palette)) == 0; // COLORREFs only: no padding
}

void ForceHighContrast(int mode)
{
    g_forcedHighContrast.store(mode < 0 ? -1 : (mode != 0 ? 1 : 0));
}
} // namespace lvui
