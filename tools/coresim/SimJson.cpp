#include "tools/coresim/SimJson.h"

#include <cstdio>

std::string JsonQuote(const std::string& bytes)
{
    std::string out = "\"";
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte == '"')
            out += "\\\"";
        else if (byte == '\\')
            out += "\\\\";
        else if (byte == '\n')
            out += "\\n";
        else if (byte == '\r')
            out += "\\r";
        else if (byte == '\t')
            out += "\\t";
        else if (byte < 0x20 || byte >= 0x7F)
        {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(byte));
            out += escaped;
        }
        else
            out += c;
    }
    out += '"';
    return out;
}

std::string BytesToUtf8(const std::string& bytes)
{
    std::string out;
    out.reserve(bytes.size());
    for (const char c : bytes)
    {
        const auto byte = static_cast<unsigned char>(c);
        if (byte < 0x80)
        {
            out += c;
            continue;
        }
        out += static_cast<char>(0xC0 | (byte >> 6));
        out += static_cast<char>(0x80 | (byte & 0x3F));
    }
    return out;
}

namespace
{
// The length of the well-formed UTF-8 sequence at `i` and its code point; 0 when there is none.
std::size_t DecodeUtf8(const std::string& text, std::size_t i, std::uint32_t& codePoint)
{
    const auto lead = static_cast<unsigned char>(text[i]);
    std::size_t length = 0;
    std::uint32_t minimum = 0;
    if (lead >= 0xC2 && lead <= 0xDF)
    {
        length = 2;
        codePoint = lead & 0x1Fu;
        minimum = 0x80;
    }
    else if (lead >= 0xE0 && lead <= 0xEF)
    {
        length = 3;
        codePoint = lead & 0x0Fu;
        minimum = 0x800;
    }
    else if (lead >= 0xF0 && lead <= 0xF4)
    {
        length = 4;
        codePoint = lead & 0x07u;
        minimum = 0x10000;
    }
    else
        return 0;

    if (i + length > text.size())
        return 0;
    for (std::size_t k = 1; k < length; ++k)
    {
        const auto next = static_cast<unsigned char>(text[i + k]);
        if ((next & 0xC0) != 0x80)
            return 0;
        codePoint = (codePoint << 6) | (next & 0x3Fu);
    }
    if (codePoint < minimum || codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        return 0;
    return length;
}
} // namespace

std::string Utf8ToBytes(const std::string& text)
{
    std::string out;
    out.reserve(text.size());
    std::size_t i = 0;
    while (i < text.size())
    {
        if (static_cast<unsigned char>(text[i]) < 0x80)
        {
            out += text[i++];
            continue;
        }
        std::uint32_t codePoint = 0;
        const std::size_t length = DecodeUtf8(text, i, codePoint);
        if (length == 0)
        {
            out += text[i++];
            continue;
        }
        out += codePoint <= 0xFF ? static_cast<char>(codePoint) : '?';
        i += length;
    }
    return out;
}

void CJsonLine::AddName(const char* name)
{
    if (!m_members.empty())
        m_members += ',';
    m_members += JsonQuote(name);
    m_members += ':';
}

CJsonLine& CJsonLine::AddString(const char* name, const std::string& value)
{
    AddName(name);
    m_members += JsonQuote(value);
    return *this;
}

CJsonLine& CJsonLine::AddUnsigned(const char* name, std::uint64_t value)
{
    AddName(name);
    m_members += std::to_string(value);
    return *this;
}

CJsonLine& CJsonLine::AddInt(const char* name, std::int64_t value)
{
    AddName(name);
    m_members += std::to_string(value);
    return *this;
}

CJsonLine& CJsonLine::AddBool(const char* name, bool value)
{
    AddName(name);
    m_members += value ? "true" : "false";
    return *this;
}

CJsonLine& CJsonLine::AddStrings(const char* name, const std::vector<std::string>& values)
{
    AddName(name);
    m_members += '[';
    for (std::size_t i = 0; i < values.size(); ++i)
    {
        if (i != 0)
            m_members += ',';
        m_members += JsonQuote(values[i]);
    }
    m_members += ']';
    return *this;
}
