// The two ways a request text is parsed, fed any bytes a page can send: reading a text in place, with its long
// strings taken out first, must give the message that reading a copy gives.
//
// Checked on every input, with every string counting as long, with strings of four bytes or more, and with the
// host's own length: both parses succeed or fail together, and when they succeed the messages are the same.

#include "messaging/JsonCppWrapper.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);

    JsonCPPWrapper reference;
    const bool parsed = reference.Parse(text.c_str());
    std::string expected;
    if (parsed)
        reference.ToString(expected);

    for (const std::size_t longString : {std::size_t{0}, std::size_t{4}, kLongJsonString})
    {
        JsonCPPWrapper inPlace;
        std::string buffer = text;
        FUZZ_CHECK(inPlace.ParseInPlace(buffer, longString) == parsed);
        std::string seen;
        if (parsed)
            FUZZ_CHECK(inPlace.ToString(seen) == expected);
    }
    return 0;
}
