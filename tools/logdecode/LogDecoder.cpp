#include "tools/logdecode/LogDecoder.h"

namespace
{
constexpr char kCarriageReturn = '\r';
constexpr char kLineFeed = '\n';
} // namespace

char UnscrambleLogByte(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    if (byte == 0 || byte == 9 || byte == 10)
        return c;
    return static_cast<char>(static_cast<unsigned char>(byte - 10));
}

std::string CLogDecoder::Feed(const char* data, std::size_t size)
{
    std::string text;
    text.reserve(size + 1);
    for (std::size_t i = 0; i < size; ++i)
    {
        const char c = data[i];
        if (m_heldCarriageReturn)
        {
            m_heldCarriageReturn = false;
            if (c != kLineFeed)
                text += UnscrambleLogByte(kCarriageReturn);
        }
        if (c == kCarriageReturn)
            m_heldCarriageReturn = true;
        else
            text += UnscrambleLogByte(c);
    }
    return text;
}

std::string CLogDecoder::Finish()
{
    if (!m_heldCarriageReturn)
        return std::string();
    m_heldCarriageReturn = false;
    return std::string(1, UnscrambleLogByte(kCarriageReturn));
}

std::string CLogDecoder::DecodeAll(const std::string& bytes)
{
    CLogDecoder decoder;
    std::string text = decoder.Feed(bytes.data(), bytes.size());
    text += decoder.Finish();
    return text;
}
