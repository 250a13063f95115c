#pragma once
// The fonts of one dialog at one zoom, in the UI font that has the language's glyphs. Controls that were given one of
// them must be gone (or given another) before the object is destroyed.

#include "Catalogue.h"
#include "GdiObjects.h"

namespace lvui
{
class CDialogFonts
{
public:
    CDialogFonts(long zoom, Script script);

    long Zoom() const noexcept { return m_zoom; }
    HFONT Wordmark() const noexcept { return m_wordmark.Get(); }
    HFONT Title() const noexcept { return m_title.Get(); }
    HFONT Domain() const noexcept { return m_domain.Get(); }
    HFONT Body() const noexcept { return m_body.Get(); }
    HFONT BodyBold() const noexcept { return m_bodyBold.Get(); }
    HFONT Note() const noexcept { return m_note.Get(); }
    HFONT Button() const noexcept { return m_button.Get(); }
    HFONT Field() const noexcept { return m_field.Get(); }

private:
    long m_zoom;
    const wchar_t* m_face; // static storage: one of the script's face names
    CFont m_wordmark;
    CFont m_title;
    CFont m_domain;
    CFont m_body;
    CFont m_bodyBold;
    CFont m_note;
    CFont m_button;
    CFont m_field;
};
} // namespace lvui
