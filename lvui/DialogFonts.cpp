#include "DialogFonts.h"

#include "Theme.h"

#include <atomic>
#include <cwchar>

namespace lvui
{
namespace
{
// Windows' UI fonts for each script, best first: Segoe UI has Latin, Greek, Cyrillic, Arabic and Hebrew; the East
// Asian languages have UI fonts of their own. Tahoma and the older East Asian fonts are there on older systems.
const wchar_t* const kDefaultFaces[] = {L"Segoe UI", L"Tahoma", nullptr};
const wchar_t* const kJapaneseFaces[] = {L"Yu Gothic UI", L"Meiryo UI", L"MS UI Gothic", nullptr};
const wchar_t* const kKoreanFaces[] = {L"Malgun Gothic", L"Gulim", nullptr};
const wchar_t* const kSimplifiedFaces[] = {L"Microsoft YaHei UI", L"Microsoft YaHei", L"SimSun", nullptr};
const wchar_t* const kTraditionalFaces[] = {L"Microsoft JhengHei UI", L"Microsoft JhengHei", L"PMingLiU", nullptr};

const wchar_t* const* FacesFor(Script script)
{
    switch (script)
    {
    case Script::Japanese:
        return kJapaneseFaces;
    case Script::Korean:
        return kKoreanFaces;
    case Script::SimplifiedChinese:
        return kSimplifiedFaces;
    case Script::TraditionalChinese:
        return kTraditionalFaces;
    case Script::Default:
        break;
    }
    return kDefaultFaces;
}

int CALLBACK NoteFound(const LOGFONTW*, const TEXTMETRICW*, DWORD, LPARAM found)
{
    *reinterpret_cast<bool*>(found) = true;
    return 0;
}

bool IsInstalled(const wchar_t* face)
{
    LOGFONTW font{};
    font.lfCharSet = DEFAULT_CHARSET;
    std::wcsncpy(font.lfFaceName, face, LF_FACESIZE - 1);
    bool found = false;
    CWindowDc screen(nullptr);
    ::EnumFontFamiliesExW(screen.Get(), &font, &NoteFound, reinterpret_cast<LPARAM>(&found), 0);
    return found;
}

// The first of the script's faces that is installed; the first of all when none is (the font mapper then picks).
const wchar_t* FindFace(Script script)
{
    const wchar_t* const* faces = FacesFor(script);
    for (const wchar_t* const* face = faces; *face; ++face)
    {
        if (IsInstalled(*face))
            return *face;
    }
    return faces[0];
}

// FindFace, looked up once per script and process: the fonts are made anew at every change of page, and asking
// the system which fonts are installed is not free.
const wchar_t* FaceFor(Script script)
{
    static std::atomic<const wchar_t*> chosen[static_cast<int>(Script::TraditionalChinese) + 1] = {};
    std::atomic<const wchar_t*>& face = chosen[static_cast<int>(script)];
    const wchar_t* known = face.load();
    if (!known)
    {
        known = FindFace(script);
        face.store(known);
    }
    return known;
}

HFONT MakeFont(const wchar_t* face, int pixels, bool bold, long zoom)
{
    LOGFONTW font{};
    font.lfHeight = -Scale(pixels, zoom);
    font.lfWeight = bold ? FW_BOLD : FW_NORMAL;
    font.lfCharSet = DEFAULT_CHARSET;
    font.lfOutPrecision = OUT_TT_PRECIS;
    font.lfQuality = CLEARTYPE_QUALITY;
    font.lfPitchAndFamily = VARIABLE_PITCH | FF_SWISS;
    std::wcsncpy(font.lfFaceName, face, LF_FACESIZE - 1);
    return ::CreateFontIndirectW(&font);
}
} // namespace

// The wordmark is the product's name in Latin letters, in every language.
CDialogFonts::CDialogFonts(long zoom, Script script)
    : m_zoom(zoom), m_face(FaceFor(script)),
      m_wordmark(MakeFont(FaceFor(Script::Default), metric::kWordmarkFont, true, zoom)),
      m_title(MakeFont(m_face, metric::kTitleFont, true, zoom)),
      m_domain(MakeFont(m_face, metric::kDomainFont, true, zoom)),
      m_body(MakeFont(m_face, metric::kBodyFont, false, zoom)),
      m_bodyBold(MakeFont(m_face, metric::kBodyFont, true, zoom)),
      m_note(MakeFont(m_face, metric::kNoteFont, false, zoom)),
      m_button(MakeFont(m_face, metric::kButtonFont, true, zoom)),
      m_field(MakeFont(m_face, metric::kFieldFont, false, zoom))
{
}
} // namespace lvui
