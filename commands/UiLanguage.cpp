#include "commands/UiLanguage.h"

const char* UiLanguageName(std::uint16_t languageId)
{
    const unsigned primary = languageId & 0x3FFu;
    const unsigned sub = languageId >> 10;
    switch (primary)
    {
    case 1:
        return "Arabic";
    case 2:
        return "Bulgarian";
    case 4:
        if (sub == 1 || sub == 3)
            return "TChinese";
        // Macau (5) is answered as simplified Chinese on purpose.
        if (sub == 2 || sub == 4 || sub == 5)
            return "SChinese";
        return "English";
    case 5:
        return "Czech";
    case 6:
        return "Danish";
    case 7:
        return "German";
    case 8:
        return "Greek";
    case 10:
        return "Spanish";
    case 11:
        return "Finnish";
    case 12:
        return "French";
    case 13:
        return "Hebrew";
    case 14:
        return "Hungarian";
    case 16:
        return "Italian";
    case 17:
        return "Japanese";
    case 18:
        return "Korean";
    case 19:
        return "Dutch";
    case 20:
        return "Norwegian";
    case 21:
        return "Polish";
    case 22:
        if (sub == 1)
            return "Brazilian";
        if (sub == 2)
            return "Portuguese";
        return "English";
    case 24:
        return "Romanian";
    case 25:
        return "Russian";
    case 26:
        return sub == 2 || sub == 9 ? "Serbian" : "Croatian";
    case 27:
        return "Slovak";
    case 29:
        return "Swedish";
    case 31:
        return "Turkish";
    case 33:
        return "Indonesian";
    case 36:
        return "Slovenian";
    case 37:
        return "Estonian";
    case 38:
        return "Latvian";
    case 39:
        return "Lithuanian";
    default:
        return "English";
    }
}
