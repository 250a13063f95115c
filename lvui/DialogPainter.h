#pragma once
// The GDI drawing of the dialogs: the card with its band and lock, boxes, the waiting indicator and the buttons.
// Every function leaves the DC's selections as it found them and frees what it made.

#include "PageContent.h"
#include "Theme.h"

#include <windows.h>

#include <string>

namespace lvui
{
class CDialogFonts;

enum class BoxState
{
    Normal,
    Focused,
    Error,
};

// The card: its background, a thin border, the band with the lock and the product's name (mirrored right to left).
void PaintCard(HDC dc, const RECT& client, const CDialogFonts& fonts, const Palette& palette, bool rightToLeft);
// A rounded box filled with `fill` and outlined with `border`.
void PaintBox(HDC dc, const RECT& box, COLORREF fill, COLORREF border, long zoom);
// The frame around a text entry, in its state's colour.
void PaintField(HDC dc, const RECT& box, BoxState state, const Palette& palette, long zoom);
// A round sign in the error colour with an exclamation mark, filling `box` (square).
void PaintErrorSign(HDC dc, const RECT& box, const Palette& palette);
// The waiting indicator: a ring of dots, the brightest at `phase` (0..7).
void PaintSpinner(HDC dc, const RECT& box, int phase, const Palette& palette);
// An owner-drawn button of the given role; its window text is the label, wrapped when it needs more than one line.
void PaintButton(const DRAWITEMSTRUCT& item, ButtonRole role, HFONT font, long zoom, const Palette& palette,
                 bool rightToLeft);
// A window's text, UTF-16.
std::wstring WindowText(HWND window);
} // namespace lvui
