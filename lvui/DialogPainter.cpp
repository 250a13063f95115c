#include "DialogPainter.h"

#include "DialogFonts.h"
#include "GdiObjects.h"
#include "Theme.h"

#include <algorithm>
#include <cmath>

namespace lvui
{
namespace
{
void FillSolid(HDC dc, const RECT& rect, COLORREF colour)
{
    CBrush brush(::CreateSolidBrush(colour));
    ::FillRect(dc, &rect, brush.Get());
}

void PaintRounded(HDC dc, const RECT& box, int radius, COLORREF fill, COLORREF border, int borderWidth)
{
    CBrush brush(::CreateSolidBrush(fill));
    CPen pen(::CreatePen(PS_INSIDEFRAME, borderWidth, border));
    CSelectObject selectBrush(dc, brush.Get());
    CSelectObject selectPen(dc, pen.Get());
    ::RoundRect(dc, box.left, box.top, box.right, box.bottom, radius, radius);
}

void PaintOutline(HDC dc, const RECT& box, int radius, COLORREF colour, int width)
{
    CPen pen(::CreatePen(PS_INSIDEFRAME, width, colour));
    CSelectObject selectBrush(dc, ::GetStockObject(NULL_BRUSH));
    CSelectObject selectPen(dc, pen.Get());
    ::RoundRect(dc, box.left, box.top, box.right, box.bottom, radius, radius);
}

void PaintEllipse(HDC dc, int left, int top, int right, int bottom, COLORREF colour)
{
    CBrush brush(::CreateSolidBrush(colour));
    CSelectObject selectBrush(dc, brush.Get());
    CSelectObject selectPen(dc, ::GetStockObject(NULL_PEN));
    // Without a pen the ellipse is one pixel smaller on the right and bottom.
    ::Ellipse(dc, left, top, right + 1, bottom + 1);
}

COLORREF Blend(COLORREF from, COLORREF to, int numerator, int denominator)
{
    auto mix = [&](int a, int b) { return a + (b - a) * numerator / denominator; };
    return RGB(mix(GetRValue(from), GetRValue(to)), mix(GetGValue(from), GetGValue(to)),
               mix(GetBValue(from), GetBValue(to)));
}

// A padlock in `box`: a shackle over a rounded body with a keyhole cut in the band's colour.
void PaintLock(HDC dc, const RECT& box, COLORREF colour, COLORREF hole)
{
    const int width = box.right - box.left;
    const int height = box.bottom - box.top;
    const int stroke = std::max(2, width / 6);
    const int bodyTop = box.top + height * 9 / 20;
    const int shackleInset = width / 6;

    CPen pen(::CreatePen(PS_INSIDEFRAME, stroke, colour));
    {
        CSelectObject selectBrush(dc, ::GetStockObject(NULL_BRUSH));
        CSelectObject selectPen(dc, pen.Get());
        const int shackleWidth = width - 2 * shackleInset;
        ::RoundRect(dc, box.left + shackleInset, box.top, box.right - shackleInset, bodyTop + shackleWidth,
                    shackleWidth, shackleWidth);
    }
    const RECT body{box.left, bodyTop, box.right, box.bottom};
    PaintRounded(dc, body, std::max(2, width / 5), colour, colour, 1);

    const int holeSize = std::max(2, width / 4);
    const int centreX = (box.left + box.right) / 2;
    const int holeTop = bodyTop + (box.bottom - bodyTop) / 4;
    PaintEllipse(dc, centreX - holeSize / 2, holeTop, centreX - holeSize / 2 + holeSize, holeTop + holeSize, hole);
    const int stemWidth = std::max(1, holeSize / 2);
    const RECT stem{centreX - stemWidth / 2, holeTop + holeSize / 2, centreX - stemWidth / 2 + stemWidth,
                    holeTop + holeSize * 2};
    FillSolid(dc, stem, hole);
}
} // namespace

void PaintCard(HDC dc, const RECT& client, const CDialogFonts& fonts, const Palette& palette, bool rightToLeft)
{
    const long zoom = fonts.Zoom();
    FillSolid(dc, client, palette.card);

    RECT band = client;
    band.bottom = client.top + Scale(metric::kBandHeight, zoom);
    FillSolid(dc, band, palette.band);
    RECT accent = band;
    accent.top = band.bottom;
    accent.bottom = accent.top + Scale(metric::kBandAccent, zoom);
    FillSolid(dc, accent, palette.bandAccent);

    const int margin = Scale(metric::kMargin, zoom);
    const int lockWidth = Scale(metric::kLockWidth, zoom);
    const int lockHeight = Scale(metric::kLockHeight, zoom);
    const int lockTop = band.top + (band.bottom - band.top - lockHeight) / 2;
    // Right to left, the lock and the name start at the right edge; the name itself reads left to right.
    const int lockLeft = rightToLeft ? band.right - margin - lockWidth : band.left + margin;
    const RECT lock{lockLeft, lockTop, lockLeft + lockWidth, lockTop + lockHeight};
    PaintLock(dc, lock, palette.bandText, palette.band);

    RECT wordmark = band;
    if (rightToLeft)
    {
        wordmark.left += margin;
        wordmark.right = lock.left - Scale(10, zoom);
    }
    else
    {
        wordmark.left = lock.right + Scale(10, zoom);
        wordmark.right -= margin;
    }
    CSelectObject selectFont(dc, fonts.Wordmark());
    ::SetBkMode(dc, TRANSPARENT);
    ::SetTextColor(dc, palette.bandText);
    ::DrawTextW(dc, L"Lumivar", -1, &wordmark,
                (rightToLeft ? DT_RIGHT : DT_LEFT) | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);

    CBrush border(::CreateSolidBrush(palette.cardBorder));
    ::FrameRect(dc, &client, border.Get());
}

void PaintBox(HDC dc, const RECT& box, COLORREF fill, COLORREF border, long zoom)
{
    PaintRounded(dc, box, Scale(metric::kRadius, zoom), fill, border, 1);
}

void PaintField(HDC dc, const RECT& box, BoxState state, const Palette& palette, long zoom)
{
    const int radius = Scale(metric::kRadius, zoom);
    if (state == BoxState::Normal)
    {
        PaintRounded(dc, box, radius, palette.card, palette.fieldBorder, 1);
        return;
    }
    const COLORREF border = state == BoxState::Error ? palette.error : palette.brand;
    PaintRounded(dc, box, radius, palette.card, border, std::max(2, Scale(2, zoom)));
}

void PaintErrorSign(HDC dc, const RECT& box, const Palette& palette)
{
    const int size = box.right - box.left;
    PaintEllipse(dc, box.left, box.top, box.right, box.bottom, palette.error);
    const int stroke = std::max(2, size / 7);
    const int centreX = box.left + size / 2;
    const RECT bar{centreX - stroke / 2, box.top + size * 2 / 9, centreX - stroke / 2 + stroke,
                   box.top + size * 11 / 18};
    FillSolid(dc, bar, palette.errorMark);
    const RECT dot{bar.left, box.top + size * 13 / 18, bar.right, box.top + size * 13 / 18 + stroke};
    FillSolid(dc, dot, palette.errorMark);
}

void PaintSpinner(HDC dc, const RECT& box, int phase, const Palette& palette)
{
    constexpr int kDots = 8;
    const int size = std::min(box.right - box.left, box.bottom - box.top);
    const int dot = std::max(3, size / 5);
    const double radius = (size - dot) / 2.0;
    const double centreX = box.left + size / 2.0;
    const double centreY = box.top + size / 2.0;
    for (int i = 0; i < kDots; ++i)
    {
        // Dot `phase` is the head; the ones behind it fade into the track colour.
        const int behind = ((phase - i) % kDots + kDots) % kDots;
        const COLORREF colour = Blend(palette.brand, palette.spinnerTrack, std::min(behind, 5), 5);
        const double angle = -3.14159265358979 / 2 + i * 2 * 3.14159265358979 / kDots;
        const int x = static_cast<int>(std::lround(centreX + radius * std::cos(angle) - dot / 2.0));
        const int y = static_cast<int>(std::lround(centreY + radius * std::sin(angle) - dot / 2.0));
        PaintEllipse(dc, x, y, x + dot, y + dot, colour);
    }
}

void PaintButton(const DRAWITEMSTRUCT& item, ButtonRole role, HFONT font, long zoom, const Palette& palette,
                 bool rightToLeft)
{
    HDC dc = item.hDC;
    const RECT& rect = item.rcItem;
    const bool pressed = (item.itemState & ODS_SELECTED) != 0;
    const bool focused = (item.itemState & ODS_FOCUS) != 0;
    const bool disabled = (item.itemState & ODS_DISABLED) != 0;
    const int radius = Scale(metric::kRadius, zoom);
    const int ring = std::max(2, Scale(2, zoom));

    FillSolid(dc, rect, palette.card);
    COLORREF text = palette.ink;
    switch (role)
    {
    case ButtonRole::Primary: {
        const COLORREF fill = disabled ? palette.disabled : (pressed ? palette.brandPressed : palette.brand);
        PaintRounded(dc, rect, radius, fill, fill, 1);
        text = palette.brandText;
        if (focused)
        {
            // A ring in the text's colour inside the fill: the fill itself already marks the button.
            RECT inner = rect;
            ::InflateRect(&inner, -ring, -ring);
            PaintOutline(dc, inner, std::max(2, radius - ring), palette.brandText, std::max(1, ring / 2));
        }
        break;
    }
    case ButtonRole::Secondary:
        PaintRounded(dc, rect, radius, pressed ? palette.buttonPressed : palette.buttonFace,
                     focused ? palette.brand : palette.buttonBorder, focused ? ring : 1);
        text = disabled ? palette.disabled : palette.buttonText;
        break;
    case ButtonRole::Quiet:
        if (pressed || focused)
            PaintRounded(dc, rect, radius, pressed ? palette.quietPressed : palette.card,
                         focused ? palette.brand : palette.quietPressed, focused ? ring : 1);
        text = disabled ? palette.disabled : palette.quietText;
        break;
    }

    const std::wstring label = WindowText(item.hwndItem);
    RECT textRect = rect;
    ::InflateRect(&textRect, -Scale(metric::kButtonTextInset, zoom), 0);
    CSelectObject selectFont(dc, font);
    // A label too long for one line wraps (the layout made the button tall enough); centred either way.
    const UINT format = DT_CENTER | DT_WORDBREAK | DT_NOPREFIX | (rightToLeft ? DT_RTLREADING : 0);
    RECT measured = textRect;
    ::DrawTextW(dc, label.c_str(), -1, &measured, format | DT_CALCRECT);
    const int textHeight = measured.bottom - measured.top;
    textRect.top += std::max(0L, (textRect.bottom - textRect.top - textHeight) / 2);
    if (pressed)
        ::OffsetRect(&textRect, 0, 1);
    ::SetBkMode(dc, TRANSPARENT);
    ::SetTextColor(dc, text);
    ::DrawTextW(dc, label.c_str(), -1, &textRect, format);
}

std::wstring WindowText(HWND window)
{
    const int length = ::GetWindowTextLengthW(window);
    if (length <= 0)
        return std::wstring();
    std::wstring text(static_cast<size_t>(length) + 1, L'\0');
    const int copied = ::GetWindowTextW(window, &text[0], length + 1);
    text.resize(static_cast<size_t>(std::max(0, copied)));
    return text;
}
} // namespace lvui
