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

void PaintCard(HDC dc, const RECT& client, const CDialogFonts& fonts)
{
    const long zoom = fonts.Zoom();
    FillSolid(dc, client, colour::kCard);

    RECT band = client;
    band.bottom = client.top + Scale(metric::kBandHeight, zoom);
    FillSolid(dc, band, colour::kBand);
    RECT accent = band;
    accent.top = band.bottom;
    accent.bottom = accent.top + Scale(metric::kBandAccent, zoom);
    FillSolid(dc, accent, colour::kBandAccent);

    const int margin = Scale(metric::kMargin, zoom);
    const int lockWidth = Scale(metric::kLockWidth, zoom);
    const int lockHeight = Scale(metric::kLockHeight, zoom);
    const int lockTop = band.top + (band.bottom - band.top - lockHeight) / 2;
    const RECT lock{band.left + margin, lockTop, band.left + margin + lockWidth, lockTop + lockHeight};
    PaintLock(dc, lock, colour::kBandText, colour::kBand);

    RECT wordmark = band;
    wordmark.left = lock.right + Scale(10, zoom);
    wordmark.right -= margin;
    CSelectObject selectFont(dc, fonts.Wordmark());
    ::SetBkMode(dc, TRANSPARENT);
    ::SetTextColor(dc, colour::kBandText);
    ::DrawTextA(dc, "Lumivar", -1, &wordmark, DT_LEFT | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX);

    CBrush border(::CreateSolidBrush(colour::kCardBorder));
    ::FrameRect(dc, &client, border.Get());
}

void PaintBox(HDC dc, const RECT& box, COLORREF fill, COLORREF border, long zoom)
{
    PaintRounded(dc, box, Scale(metric::kRadius, zoom), fill, border, 1);
}

void PaintField(HDC dc, const RECT& box, BoxState state, long zoom)
{
    const int radius = Scale(metric::kRadius, zoom);
    if (state == BoxState::Normal)
    {
        PaintRounded(dc, box, radius, colour::kCard, colour::kFieldBorder, 1);
        return;
    }
    const COLORREF border = state == BoxState::Error ? colour::kError : colour::kBrand;
    PaintRounded(dc, box, radius, colour::kCard, border, std::max(2, Scale(2, zoom)));
}

void PaintErrorSign(HDC dc, const RECT& box)
{
    const int size = box.right - box.left;
    PaintEllipse(dc, box.left, box.top, box.right, box.bottom, colour::kError);
    const int stroke = std::max(2, size / 7);
    const int centreX = box.left + size / 2;
    const RECT bar{centreX - stroke / 2, box.top + size * 2 / 9, centreX - stroke / 2 + stroke,
                   box.top + size * 11 / 18};
    FillSolid(dc, bar, colour::kCard);
    const RECT dot{bar.left, box.top + size * 13 / 18, bar.right, box.top + size * 13 / 18 + stroke};
    FillSolid(dc, dot, colour::kCard);
}

void PaintSpinner(HDC dc, const RECT& box, int phase)
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
        const COLORREF colour = Blend(colour::kBrand, colour::kSpinnerTrack, std::min(behind, 5), 5);
        const double angle = -3.14159265358979 / 2 + i * 2 * 3.14159265358979 / kDots;
        const int x = static_cast<int>(std::lround(centreX + radius * std::cos(angle) - dot / 2.0));
        const int y = static_cast<int>(std::lround(centreY + radius * std::sin(angle) - dot / 2.0));
        PaintEllipse(dc, x, y, x + dot, y + dot, colour);
    }
}

void PaintButton(const DRAWITEMSTRUCT& item, ButtonRole role, HFONT font, long zoom)
{
    HDC dc = item.hDC;
    const RECT& rect = item.rcItem;
    const bool pressed = (item.itemState & ODS_SELECTED) != 0;
    const bool focused = (item.itemState & ODS_FOCUS) != 0;
    const bool disabled = (item.itemState & ODS_DISABLED) != 0;
    const int radius = Scale(metric::kRadius, zoom);
    const int ring = std::max(2, Scale(2, zoom));

    FillSolid(dc, rect, colour::kCard);
    COLORREF text = colour::kInk;
    switch (role)
    {
    case ButtonRole::Primary: {
        const COLORREF fill = disabled ? colour::kDisabled : (pressed ? colour::kBrandPressed : colour::kBrand);
        PaintRounded(dc, rect, radius, fill, fill, 1);
        text = colour::kCard;
        if (focused)
        {
            // A white ring inside the fill: the blue itself already marks the button.
            RECT inner = rect;
            ::InflateRect(&inner, -ring, -ring);
            PaintOutline(dc, inner, std::max(2, radius - ring), colour::kCard, std::max(1, ring / 2));
        }
        break;
    }
    case ButtonRole::Secondary:
        PaintRounded(dc, rect, radius, pressed ? colour::kButtonPressed : colour::kCard,
                     focused ? colour::kBrand : colour::kButtonBorder, focused ? ring : 1);
        text = disabled ? colour::kDisabled : colour::kInk;
        break;
    case ButtonRole::Quiet:
        if (pressed || focused)
            PaintRounded(dc, rect, radius, pressed ? colour::kQuietPressed : colour::kCard,
                         focused ? colour::kBrand : colour::kQuietPressed, focused ? ring : 1);
        text = disabled ? colour::kDisabled : colour::kBrand;
        break;
    }

    char label[128] = {};
    ::GetWindowTextA(item.hwndItem, label, sizeof(label));
    RECT textRect = rect;
    ::InflateRect(&textRect, -Scale(6, zoom), 0);
    if (pressed)
        ::OffsetRect(&textRect, 0, 1);
    CSelectObject selectFont(dc, font);
    ::SetBkMode(dc, TRANSPARENT);
    ::SetTextColor(dc, text);
    ::DrawTextA(dc, label, -1, &textRect, DT_CENTER | DT_VCENTER | DT_SINGLELINE | DT_NOPREFIX | DT_END_ELLIPSIS);
}
} // namespace lvui
