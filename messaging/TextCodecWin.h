#pragma once
// ITextCodec over MultiByteToWideChar, WideCharToMultiByte and GetLastError.

#include "messaging/TextCodec.h"

class CTextCodecWin : public ITextCodec
{
public:
    std::u16string AnsiToWide(const char* text) override;
    int Utf8Length(const std::u16string& wide) override;
    std::uint32_t LastError() override;
    int WideToUtf8(const std::u16string& wide, char* buffer, int size) override;
};
