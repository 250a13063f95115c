#include "messaging/Utf8Name.h"

#include <cstdint>
#include <vector>

namespace
{
constexpr std::uint32_t kErrorInsufficientBuffer = 122;

bool IsContinuation(unsigned char byte)
{
    return byte >= 128 && byte <= 191;
}

// Length of the well-formed sequence starting at `p`, or 0 when there is none.
std::size_t SequenceLength(const unsigned char* p)
{
    const unsigned char lead = p[0];
    if (lead == 9 || lead == 10 || lead == 13 || (lead >= 32 && lead <= 126))
        return 1;
    if (lead >= 194 && lead <= 223)
        return IsContinuation(p[1]) ? 2 : 0;
    if (lead >= 224 && lead <= 239)
    {
        const unsigned char second = p[1];
        const bool ok = lead == 224   ? second >= 160 && second <= 191
                        : lead == 237 ? second >= 128 && second <= 159
                                      : IsContinuation(second);
        return ok && IsContinuation(p[2]) ? 3 : 0;
    }
    if (lead >= 240 && lead <= 244)
    {
        const unsigned char second = p[1];
        const bool ok = lead == 240   ? second >= 144 && second <= 191
                        : lead == 244 ? second >= 128 && second <= 143
                                      : IsContinuation(second);
        return ok && IsContinuation(p[2]) && IsContinuation(p[3]) ? 4 : 0;
    }
    return 0;
}

CPortableTextCodec g_portableCodec;
ITextCodec* g_processCodec = &g_portableCodec;
} // namespace

bool IsUtf8Text(const char* text)
{
    // Each check of a continuation byte stops at the terminating NUL, so the scan never passes it.
    const auto* p = reinterpret_cast<const unsigned char*>(text);
    while (*p != 0)
    {
        const std::size_t length = SequenceLength(p);
        if (length == 0)
            return false;
        p += length;
    }
    return true;
}

bool ToUtf8Name(ITextCodec& codec, const char* text, std::string& result)
{
    result.clear();
    if (text == nullptr)
        return false;
    if (IsUtf8Text(text))
    {
        result = text;
        return true;
    }

    const std::u16string wide = codec.AnsiToWide(text);
    if (wide.empty())
        return true;
    const int length = codec.Utf8Length(wide);
    if (codec.LastError() != kErrorInsufficientBuffer)
        return false;
    if (length <= 0)
        return false;
    std::vector<char> buffer(static_cast<std::size_t>(length) + 1, '\0');
    const int written = codec.WideToUtf8(wide, buffer.data(), length + 1);
    if (written <= 0)
        return false;
    result.assign(buffer.data(), static_cast<std::size_t>(written));
    return true;
}

ITextCodec& ProcessTextCodec()
{
    return *g_processCodec;
}

void SetProcessTextCodec(ITextCodec* codec)
{
    g_processCodec = codec ? codec : &g_portableCodec;
}
