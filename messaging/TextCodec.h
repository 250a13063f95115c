#pragma once
// The conversions behind ToUtf8Name, as one seam: the system ANSI code page to UTF-16, UTF-16 to UTF-8, and the
// thread's last-error value that decides whether the conversion is carried out.

#include <cstdint>
#include <string>

class ITextCodec
{
public:
    virtual ~ITextCodec() = default;
    // MultiByteToWideChar(CP_ACP) of a NUL-terminated text, without the terminator.
    virtual std::u16string AnsiToWide(const char* text) = 0;
    // WideCharToMultiByte(CP_UTF8) length query of the whole string; returns the byte count with the terminator
    // (0 on failure).
    virtual int Utf8Length(const std::u16string& wide) = 0;
    // The thread's last-error value, read right after the length query.
    virtual std::uint32_t LastError() = 0;
    // Converts the characters (no terminator) into `buffer` of `size` bytes; returns the bytes written, 0 on failure.
    virtual int WideToUtf8(const std::u16string& wide, char* buffer, int size) = 0;
};

// A portable codec: Windows-1252 as the ANSI code page and a last-error value kept per thread, which the length
// query leaves alone as the system call does. Used where there is no Windows.
class CPortableTextCodec : public ITextCodec
{
public:
    std::u16string AnsiToWide(const char* text) override;
    int Utf8Length(const std::u16string& wide) override;
    std::uint32_t LastError() override;
    int WideToUtf8(const std::u16string& wide, char* buffer, int size) override;

    static void SetLastError(std::uint32_t error);
};
