// The UTF-8 validator in front of the JSON library, and the conversion it guards, fed any bytes a page can send.
//
// Checked on every input: the validator agrees with an independent decoder; text it accepts passes through
// unchanged; whatever the conversion produces is well-formed UTF-8.

#include "messaging/Utf8Name.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace
{
// The validator's rule, written out plainly: TAB, LF, CR and printable ASCII, or a scalar value above 127 in its
// shortest form (no surrogates, nothing above U+10FFFF).
bool Reference(const std::string& text, bool allowControls)
{
    std::size_t i = 0;
    while (i < text.size())
    {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80)
        {
            const bool printable = lead >= 32 && lead <= 126;
            if (!printable && !allowControls && lead != 9 && lead != 10 && lead != 13)
                return false;
            ++i;
            continue;
        }
        std::size_t length = 0;
        std::uint32_t value = 0;
        if ((lead & 0xE0) == 0xC0)
            length = 2, value = lead & 0x1Fu;
        else if ((lead & 0xF0) == 0xE0)
            length = 3, value = lead & 0x0Fu;
        else if ((lead & 0xF8) == 0xF0)
            length = 4, value = lead & 0x07u;
        else
            return false;
        if (i + length > text.size())
            return false;
        for (std::size_t k = 1; k < length; ++k)
        {
            const auto next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
                return false;
            value = (value << 6) | (next & 0x3Fu);
        }
        static const std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
        if (value < kSmallest[length] || value > 0x10FFFF || (value >= 0xD800 && value <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Both functions read a C string: the text ends at the first NUL.
    const std::string text(reinterpret_cast<const char*>(data), size);
    const char* terminated = text.c_str();
    const std::string seen(terminated);

    const bool valid = IsUtf8Text(terminated);
    FUZZ_CHECK(valid == Reference(seen, false));

    CPortableTextCodec codec;
    for (const std::uint32_t lastError : {0u, 122u})
    {
        CPortableTextCodec::SetLastError(lastError);
        std::string result = "stale";
        const bool converted = ToUtf8Name(codec, terminated, result);
        if (valid)
            FUZZ_CHECK(converted && result == seen);
        else if (!converted)
            FUZZ_CHECK(result.empty());
        FUZZ_CHECK(Reference(result, true));
    }
    std::string none;
    FUZZ_CHECK(!ToUtf8Name(codec, nullptr, none) && none.empty());
    return 0;
}
