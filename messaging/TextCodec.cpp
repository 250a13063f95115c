#include "messaging/TextCodec.h"

namespace
{
thread_local std::uint32_t t_lastError = 0;

// Windows-1252 bytes 0x80 to 0x9F; the five undefined ones map to the same C1 code point, as Windows does.
constexpr char16_t kCp1252High[32] = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,
};

std::string EncodeUtf8(const std::u16string& wide)
{
    std::string out;
    for (std::size_t i = 0; i < wide.size(); ++i)
    {
        std::uint32_t c = wide[i];
        if (c >= 0xD800 && c <= 0xDBFF && i + 1 < wide.size() && wide[i + 1] >= 0xDC00 && wide[i + 1] <= 0xDFFF)
            c = 0x10000 + ((c - 0xD800) << 10) + (wide[++i] - 0xDC00);
        else if (c >= 0xD800 && c <= 0xDFFF)
            c = 0xFFFD;
        if (c < 0x80)
            out += static_cast<char>(c);
        else if (c < 0x800)
        {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
        else if (c < 0x10000)
        {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
        else
        {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}
} // namespace

std::u16string CPortableTextCodec::AnsiToWide(const char* text)
{
    std::u16string wide;
    for (const char* p = text; *p; ++p)
    {
        const auto byte = static_cast<unsigned char>(*p);
        wide += byte >= 0x80 && byte <= 0x9F ? kCp1252High[byte - 0x80] : static_cast<char16_t>(byte);
    }
    return wide;
}

int CPortableTextCodec::Utf8Length(const std::u16string& wide)
{
    // The whole-string query counts the terminator.
    return static_cast<int>(EncodeUtf8(wide).size()) + 1;
}

std::uint32_t CPortableTextCodec::LastError()
{
    return t_lastError;
}

int CPortableTextCodec::WideToUtf8(const std::u16string& wide, char* buffer, int size)
{
    const std::string utf8 = EncodeUtf8(wide);
    if (size < static_cast<int>(utf8.size()))
        return 0;
    utf8.copy(buffer, utf8.size());
    return static_cast<int>(utf8.size());
}

void CPortableTextCodec::SetLastError(std::uint32_t error)
{
    t_lastError = error;
}
