// The UTF-8 validator in front of the JSON library, and the conversion it guards, fed any bytes a page can send.
//
// Checked on every input: the validator agrees with an independent decoder; text it accepts passes through
// unchanged; whatever the conversion produces is well-formed UTF-8.

#include "messaging/Utf8Name.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // Both functions read a C string: the text ends at the first NUL.
    const std::string text(reinterpret_cast<const char*>(data), size);
    const char* terminated = text.c_str();
    const std::string seen(terminated);

    const bool valid = IsUtf8Text(terminated);
    FUZZ_CHECK(valid == IsWellFormedUtf8(seen, false));

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
        FUZZ_CHECK(IsWellFormedUtf8(result, true));
    }
    std::string none;
    FUZZ_CHECK(!ToUtf8Name(codec, nullptr, none) && none.empty());
    return 0;
}
