#include "DialogFonts.h"

#include "Theme.h"

#include <cstring>

namespace lvui
{
namespace
{
// Tahoma is in every Windows and in Wine; the font mapper falls back to the dialog font if it is missing.
HFONT MakeFont(int pixels, bool bold, long zoom)
{
    LOGFONTA font{};
    font.lfHeight = -Scale(pixels, zoom);
    font.lfWeight = bold ? FW_BOLD : FW_NORMAL;
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfOutPrecision = OUT_TT_PRECIS;
    font.lfQuality = CLEARTYPE_QUALITY;
    font.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
    std::strcpy(font.lfFaceName, "Tahoma");
    return ::CreateFontIndirectA(&font);
}
} // namespace

CDialogFonts::CDialogFonts(long zoom)
    : m_zoom(zoom), m_wordmark(MakeFont(metric::kWordmarkFont, true, zoom)),
      m_title(MakeFont(metric::kTitleFont, true, zoom)), m_domain(MakeFont(metric::kDomainFont, true, zoom)),
      m_body(MakeFont(metric::kBodyFont, false, zoom)), m_bodyBold(MakeFont(metric::kBodyFont, true, zoom)),
      m_note(MakeFont(metric::kNoteFont, false, zoom)), m_button(MakeFont(metric::kButtonFont, true, zoom)),
      m_field(MakeFont(metric::kFieldFont, false, zoom))
{
}
} // namespace lvui
