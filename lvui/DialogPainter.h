#pragma once
// The GDI drawing of the dialogs: the card with its band and lock, boxes, the waiting indicator and the buttons.
// Every function leaves the DC's selections as it found them and frees what it made.

#include "PageContent.h"

#include <windows.h>

namespace lvui
{
class CDialogFonts;

enum class BoxState
{
    Normal,
    Focused,
    Error,
};

// The card: white, a thin border, the coloured band with the lock and the product's name.
void PaintCard(HDC dc, const RECT& client, const CDialogFonts& fonts);
// A rounded box filled with `fill` and outlined with `border`.
void PaintBox(HDC dc, const RECT& box, COLORREF fill, COLORREF border, long zoom);
// The frame around a text entry, in its state's colour.
void PaintField(HDC dc, const RECT& box, BoxState state, long zoom);
// A red round sign with an exclamation mark, filling `box` (square).
void PaintErrorSign(HDC dc, const RECT& box);
// The waiting indicator: a ring of dots, the brightest at `phase` (0..7).
void PaintSpinner(HDC dc, const RECT& box, int phase);
// An owner-drawn button of the given role.
void PaintButton(const DRAWITEMSTRUCT& item, ButtonRole role, HFONT font, long zoom);
} // namespace lvui
