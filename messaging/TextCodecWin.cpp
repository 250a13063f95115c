#include "messaging/TextCodecWin.h"

#include <windows.h>

#include <vector>

std::u16string CTextCodecWin::AnsiToWide(const char* text)
{
    const int length = ::MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (length <= 1)
        return std::u16string();
    std::vector<wchar_t> wide(static_cast<std::size_t>(length), L'\0');
    if (::MultiByteToWideChar(CP_ACP, 0, text, -1, wide.data(), length) == 0)
        return std::u16string();
    return std::u16string(reinterpret_cast<const char16_t*>(wide.data()), static_cast<std::size_t>(length - 1));
}

int CTextCodecWin::Utf8Length(const std::u16string& wide)
{
    return ::WideCharToMultiByte(CP_UTF8, 0, reinterpret_cast<const wchar_t*>(wide.c_str()), -1, nullptr, 0, nullptr,
                                 nullptr);
}

std::uint32_t CTextCodecWin::LastError()
{
    return ::GetLastError();
}

int CTextCodecWin::WideToUtf8(const std::u16string& wide, char* buffer, int size)
{
    return ::WideCharToMultiByte(CP_UTF8, 0, reinterpret_cast<const wchar_t*>(wide.data()),
                                 static_cast<int>(wide.size()), buffer, size, nullptr, nullptr);
}
