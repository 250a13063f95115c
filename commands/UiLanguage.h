#pragma once

#include <cstdint>

// The language name the extension expects for a Windows UI language id: the primary language is the low 10 bits,
// the sublanguage the bits above. Every primary language not known here is "English".
const char* UiLanguageName(std::uint16_t languageId);
