#pragma once
// What the fuzz targets share: a check that stops the run with a message when a property of the code under test
// does not hold, so that libFuzzer keeps the input that broke it, and a reference UTF-8 decoder.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#define FUZZ_CHECK(condition)                                                                                          \
    do                                                                                                                 \
    {                                                                                                                  \
        if (!(condition))                                                                                              \
        {                                                                                                              \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #condition);                         \
            std::abort();                                                                                              \
        }                                                                                                              \
    } while (false)

// Well-formed UTF-8, decoded independently of the host's own validator: scalar values in their shortest form, no
// surrogates, nothing above U+10FFFF. Below 128, with `allowControls` false only TAB, LF, CR and printable ASCII.
inline bool IsWellFormedUtf8(const std::string& text, bool allowControls)
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
