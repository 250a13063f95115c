#include "messaging/AsciiText.h"

namespace
{
char LowerAscii(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

constexpr const char* kWhiteSpace = " \t\r\n\v\f";
} // namespace

std::string ToUpperAscii(std::string text)
{
    for (char& c : text)
        if (c >= 'a' && c <= 'z')
            c = static_cast<char>(c - 'a' + 'A');
    return text;
}

std::string ToLowerAscii(std::string text)
{
    for (char& c : text)
        c = LowerAscii(c);
    return text;
}

bool EqualsIgnoringAsciiCase(const std::string& a, const std::string& b)
{
    if (a.size() != b.size())
        return false;
    for (std::size_t i = 0; i < a.size(); ++i)
        if (LowerAscii(a[i]) != LowerAscii(b[i]))
            return false;
    return true;
}

std::string TrimWhiteSpace(const std::string& text)
{
    const std::size_t first = text.find_first_not_of(kWhiteSpace);
    if (first == std::string::npos)
        return std::string();
    return text.substr(first, text.find_last_not_of(kWhiteSpace) - first + 1);
}
