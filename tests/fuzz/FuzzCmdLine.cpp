// The command-line parser, fed whole command lines as a browser or a user could start the host with.

#include "host/CmdLineParser.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // The parser reads a C string: everything after an embedded NUL is out of its sight.
    const std::string line(reinterpret_cast<const char*>(data), size);
    for (const bool caseSensitive : {false, true})
    {
        CCmdLineParser parser(nullptr, caseSensitive);
        const bool anyKey = parser.Parse(line.c_str());
        FUZZ_CHECK(anyKey == !parser.Keys().empty());
        for (const auto& [key, value] : parser.Keys())
        {
            FUZZ_CHECK(parser.HasKey(key.c_str()));
            FUZZ_CHECK(parser.GetValue(key.c_str()) == value);
            FUZZ_CHECK(key.size() <= line.size() && value.size() <= line.size());
        }
        FUZZ_CHECK(!parser.HasKey(""));
    }
    return 0;
}
