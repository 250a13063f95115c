#include "Catalogue.h"

#include "commands/UiLanguage.h"

#include <atomic>
#include <cstring>

extern "C" IMAGE_DOS_HEADER __ImageBase; // the catalogues are resources of LVUI.dll itself

namespace lvui
{
namespace
{
constexpr CatalogueLanguage kLanguages[] = {
    {"English", MAKELANGID(LANG_ENGLISH, SUBLANG_ENGLISH_US), false, Script::Default},
    {"Arabic", MAKELANGID(LANG_ARABIC, SUBLANG_NEUTRAL), true, Script::Default},
    {"Bulgarian", MAKELANGID(LANG_BULGARIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"TChinese", MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_TRADITIONAL), false, Script::TraditionalChinese},
    {"SChinese", MAKELANGID(LANG_CHINESE, SUBLANG_CHINESE_SIMPLIFIED), false, Script::SimplifiedChinese},
    {"Czech", MAKELANGID(LANG_CZECH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Danish", MAKELANGID(LANG_DANISH, SUBLANG_NEUTRAL), false, Script::Default},
    {"German", MAKELANGID(LANG_GERMAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Greek", MAKELANGID(LANG_GREEK, SUBLANG_NEUTRAL), false, Script::Default},
    {"Spanish", MAKELANGID(LANG_SPANISH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Finnish", MAKELANGID(LANG_FINNISH, SUBLANG_NEUTRAL), false, Script::Default},
    {"French", MAKELANGID(LANG_FRENCH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Hebrew", MAKELANGID(LANG_HEBREW, SUBLANG_NEUTRAL), true, Script::Default},
    {"Hungarian", MAKELANGID(LANG_HUNGARIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Italian", MAKELANGID(LANG_ITALIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Japanese", MAKELANGID(LANG_JAPANESE, SUBLANG_NEUTRAL), false, Script::Japanese},
    {"Korean", MAKELANGID(LANG_KOREAN, SUBLANG_NEUTRAL), false, Script::Korean},
    {"Dutch", MAKELANGID(LANG_DUTCH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Norwegian", MAKELANGID(LANG_NORWEGIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Polish", MAKELANGID(LANG_POLISH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Brazilian", MAKELANGID(LANG_PORTUGUESE, SUBLANG_PORTUGUESE_BRAZILIAN), false, Script::Default},
    {"Portuguese", MAKELANGID(LANG_PORTUGUESE, SUBLANG_PORTUGUESE), false, Script::Default},
    {"Romanian", MAKELANGID(LANG_ROMANIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Russian", MAKELANGID(LANG_RUSSIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Croatian", MAKELANGID(LANG_CROATIAN, SUBLANG_CROATIAN_CROATIA), false, Script::Default},
    {"Serbian", MAKELANGID(LANG_SERBIAN, SUBLANG_SERBIAN_LATIN), false, Script::Default},
    {"Slovak", MAKELANGID(LANG_SLOVAK, SUBLANG_NEUTRAL), false, Script::Default},
    {"Swedish", MAKELANGID(LANG_SWEDISH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Turkish", MAKELANGID(LANG_TURKISH, SUBLANG_NEUTRAL), false, Script::Default},
    {"Indonesian", MAKELANGID(LANG_INDONESIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Slovenian", MAKELANGID(LANG_SLOVENIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Estonian", MAKELANGID(LANG_ESTONIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Latvian", MAKELANGID(LANG_LATVIAN, SUBLANG_NEUTRAL), false, Script::Default},
    {"Lithuanian", MAKELANGID(LANG_LITHUANIAN, SUBLANG_NEUTRAL), false, Script::Default},
};

std::atomic<LANGID> g_chosenLanguage{0};

// String `id` exactly as `language`'s STRINGTABLE has it; false when it has none. A string table resource is a
// block of 16 counted UTF-16 strings; block n holds the ids 16 (n - 1) to 16 n - 1.
bool FindText(LANGID language, UINT id, std::wstring& text)
{
    HMODULE module = reinterpret_cast<HMODULE>(&__ImageBase);
    HRSRC block = ::FindResourceExW(module, MAKEINTRESOURCEW(6), MAKEINTRESOURCEW(id / 16 + 1), language);
    if (!block)
        return false;
    HGLOBAL loaded = ::LoadResource(module, block);
    const auto* words = static_cast<const WCHAR*>(loaded ? ::LockResource(loaded) : nullptr);
    if (!words)
        return false;
    const WCHAR* end = words + ::SizeofResource(module, block) / sizeof(WCHAR);
    for (UINT index = 0; index < id % 16; ++index)
    {
        if (words >= end)
            return false;
        words += 1 + *words;
    }
    if (words >= end || *words == 0 || words + 1 + *words > end)
        return false;
    text.assign(words + 1, *words);
    return true;
}
} // namespace

const CatalogueLanguage& LanguageFor(LANGID uiLanguage)
{
    const char* name = UiLanguageName(uiLanguage);
    for (const CatalogueLanguage& language : kLanguages)
    {
        if (std::strcmp(language.name, name) == 0)
            return language;
    }
    return kLanguages[0];
}

void SetActiveLanguage(LANGID uiLanguage)
{
    g_chosenLanguage.store(uiLanguage);
}

const CatalogueLanguage& ActiveLanguage()
{
    const LANGID chosen = g_chosenLanguage.load();
    return LanguageFor(chosen != 0 ? chosen : ::GetUserDefaultUILanguage());
}

std::wstring LoadText(const CatalogueLanguage& language, UINT id)
{
    std::wstring text;
    if (FindText(language.resource, id, text) || FindText(kLanguages[0].resource, id, text))
        return text;
    return std::wstring();
}

std::wstring Widen(const char* text)
{
    if (!text || !*text)
        return std::wstring();
    UINT codePage = CP_UTF8;
    int length = ::MultiByteToWideChar(codePage, MB_ERR_INVALID_CHARS, text, -1, nullptr, 0);
    if (length <= 0)
    {
        codePage = CP_ACP;
        length = ::MultiByteToWideChar(codePage, 0, text, -1, nullptr, 0);
    }
    if (length <= 0)
        return std::wstring();
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    ::MultiByteToWideChar(codePage, codePage == CP_UTF8 ? MB_ERR_INVALID_CHARS : 0, text, -1, &wide[0], length);
    wide.resize(static_cast<std::size_t>(length - 1));
    return wide;
}
} // namespace lvui
