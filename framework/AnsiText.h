#pragma once
// Conversions between the host's narrow strings (the system ANSI code page) and the wide strings some Windows and
// COM calls take or give. Windows only.

#include <windows.h>

#include <string>

// Empty for a null or empty text, and when the conversion fails.
inline std::wstring WidenAnsi(const char* text)
{
    if (text == nullptr)
        return std::wstring();
    const int length = ::MultiByteToWideChar(CP_ACP, 0, text, -1, nullptr, 0);
    if (length <= 1)
        return std::wstring();
    std::wstring wide(static_cast<std::size_t>(length), L'\0');
    if (::MultiByteToWideChar(CP_ACP, 0, text, -1, &wide[0], length) != length)
        return std::wstring();
    wide.resize(static_cast<std::size_t>(length - 1));
    return wide;
}

// Empty for a null or empty text, and when the conversion fails.
inline std::string NarrowToAnsi(const wchar_t* text)
{
    if (text == nullptr)
        return std::string();
    const int length = ::WideCharToMultiByte(CP_ACP, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (length <= 1)
        return std::string();
    std::string narrow(static_cast<std::size_t>(length), '\0');
    if (::WideCharToMultiByte(CP_ACP, 0, text, -1, &narrow[0], length, nullptr, nullptr) != length)
        return std::string();
    narrow.resize(static_cast<std::size_t>(length - 1));
    return narrow;
}
