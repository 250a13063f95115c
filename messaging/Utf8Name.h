#pragma once
// Normalisation of narrow texts to UTF-8 before they reach the JSON library.

#include "messaging/TextCodec.h"

#include <string>

// True when every byte sequence up to the terminating NUL is TAB, LF, CR, printable ASCII or a well-formed UTF-8
// sequence (no overlong forms, no surrogates, nothing above U+10FFFF). Other control bytes and 127 are refused.
bool IsUtf8Text(const char* text);

// A UTF-8 text is taken as it is. Any other text is read in the ANSI code page and converted, but only when the
// thread's last error right after the UTF-8 length query is 122 (insufficient buffer); otherwise the result is
// empty. That condition is kept on purpose, although a successful length query does not itself set that error:
// in practice most texts that are not UTF-8 come out empty. Returns false for a null text or a failed conversion.
bool ToUtf8Name(ITextCodec& codec, const char* text, std::string& result);

// The codec the JSON messages use unless given another; the Windows entry installs the system's.
ITextCodec& ProcessTextCodec();
void SetProcessTextCodec(ITextCodec* codec);
