// The debug switch ("lvDebugSupport") as anyone with access to the registry can set it, and the log line
// formatter that every entry passes through before it reaches the file.
//
// Checked on every input: the switch is on exactly when the value is empty or names the program; a line formatted
// again stays within the bounds its length and the field-width cap allow.

#include "config/DebugLog.h"
#include "tests/fuzz/FuzzCheck.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string input(reinterpret_cast<const char*>(data), size);
    // The input's first line is the program's log name, the rest the switch's value.
    const std::size_t newline = input.find('\n');
    const std::string logName = newline == std::string::npos ? "LVBHOHost" : input.substr(0, newline);
    const std::string value = newline == std::string::npos ? input : input.substr(newline + 1);

    const LogSwitch logSwitch = ParseLogSwitch(value, logName);
    FUZZ_CHECK(logSwitch.on == (value.empty() || value.find(logName) != std::string::npos));
    if (!logSwitch.on || value.empty())
        FUZZ_CHECK(logSwitch.level == 0xFFFFFFFF);

    // Every conversion expands to at most the capped width plus what a zero or null argument prints.
    const std::string formatted = FormatLogLineAgain(input);
    FUZZ_CHECK(formatted.size() <= (input.size() / 2 + 1) * (kMaxFieldWidth + 64));

    std::string scrambled = input;
    ScrambleLogLine(scrambled);
    FUZZ_CHECK(scrambled.size() == input.size());
    return 0;
}
