#pragma once
// The dialogs' texts in the user's language. LVUI.dll carries one STRINGTABLE per language (lvui/lang/<Name>.rc,
// with its LANGUAGE statement); the dialogs speak the language that "GetLang" names for the user's UI language, and
// English for any other. UI thread only, apart from SetActiveLanguage.

#include <windows.h>

#include <string>

namespace lvui
{
// Which UI fonts have a language's glyphs.
enum class Script
{
    Default, // Latin, Greek, Cyrillic, Arabic, Hebrew: Segoe UI has them all
    Japanese,
    Korean,
    SimplifiedChinese,
    TraditionalChinese,
};

struct CatalogueLanguage
{
    const char* name; // as "GetLang" names it
    LANGID resource;  // the LANGUAGE of its STRINGTABLE
    bool rightToLeft;
    Script script;
};

// The catalogue for a Windows UI language id (GetUserDefaultUILanguage): the one "GetLang" names, else English.
const CatalogueLanguage& LanguageFor(LANGID uiLanguage);

// The language the dialogs show from their next showing: `uiLanguage` (0: the user's UI language).
void SetActiveLanguage(LANGID uiLanguage);
const CatalogueLanguage& ActiveLanguage();

// String `id` (IDS_*) of `language`'s catalogue; English's when that catalogue lacks it, "" when both do.
std::wstring LoadText(const CatalogueLanguage& language, UINT id);

// `text` (UTF-8, or the ANSI code page when it is not valid UTF-8) as UTF-16.
std::wstring Widen(const char* text);
} // namespace lvui
