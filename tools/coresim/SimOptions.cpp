#include "tools/coresim/SimOptions.h"

#include <cstddef>
#include <iterator>

bool ParseWord(const std::string& text, std::uint32_t& value)
{
    if (text.empty() || text.size() > 11)
        return false;
    const bool negative = text[0] == '-';
    const std::size_t first = negative ? 1 : 0;
    if (first == text.size())
        return false;
    std::uint64_t magnitude = 0;
    for (std::size_t i = first; i < text.size(); ++i)
    {
        if (text[i] < '0' || text[i] > '9')
            return false;
        magnitude = magnitude * 10 + static_cast<std::uint64_t>(text[i] - '0');
    }
    if (negative ? magnitude > 0x80000000ull : magnitude > 0xFFFFFFFFull)
        return false;
    value = negative ? static_cast<std::uint32_t>(0x100000000ull - magnitude) : static_cast<std::uint32_t>(magnitude);
    return true;
}

namespace
{
bool ParseSwitch(const std::string& text, bool& value)
{
    if (text != "0" && text != "1")
        return false;
    value = text == "1";
    return true;
}

bool ParseValidation(const std::string& text, SimValidation& value)
{
    if (text == "granted")
        value = SimValidation::Granted;
    else if (text == "denied")
        value = SimValidation::Denied;
    else if (text == "silent")
        value = SimValidation::Silent;
    else if (text == "none")
        value = SimValidation::None;
    else
        return false;
    return true;
}

bool ParseMiss(const std::string& text, SimMiss& value)
{
    if (text == "pending")
        value = SimMiss::Pending;
    else if (text == "fail")
        value = SimMiss::Fail;
    else
        return false;
    return true;
}
} // namespace

const char* ValidationName(SimValidation validation)
{
    constexpr const char* kNames[] = {"granted", "denied", "silent", "none"};
    const auto index = static_cast<std::size_t>(validation);
    return index < std::size(kNames) ? kNames[index] : "?";
}

const char* MissName(SimMiss miss)
{
    return miss == SimMiss::Pending ? "pending" : "fail";
}

bool ApplySetting(const std::string& name, const std::string& value, SimSettings& settings, std::string& error)
{
    SimSettings changed = settings;
    bool parsed = false;
    if (name == "notenrolled")
        parsed = ParseSwitch(value, changed.notEnrolled);
    else if (name == "validation")
        parsed = ParseValidation(value, changed.validation);
    else if (name == "miss")
        parsed = ParseMiss(value, changed.miss);
    else if (name == "missresult")
        parsed = ParseWord(value, changed.missResult);
    else if (name == "noprompt")
        parsed = ParseSwitch(value, changed.noPrompt);
    else if (name == "hold")
        parsed = ParseSwitch(value, changed.hold);
    else
    {
        error = "unknown setting " + name;
        return false;
    }
    if (!parsed)
    {
        error = "bad value for " + name + ": " + value;
        return false;
    }
    settings = changed;
    return true;
}

bool ParseCommandLine(const std::vector<std::string>& args, SimOptions& options, std::string& error)
{
    for (std::size_t i = 0; i < args.size(); ++i)
    {
        const std::string& arg = args[i];
        const bool hasValue = i + 1 < args.size();
        const std::string value = hasValue ? args[i + 1] : std::string();
        const auto needValue = [&]() {
            if (!hasValue)
                error = arg + " needs a value";
            return hasValue;
        };

        if (arg == "--help" || arg == "-h" || arg == "/?")
            options.help = true;
        else if (arg == "--not-enrolled")
            options.settings.notEnrolled = true;
        else if (arg == "--noprompt")
        {
            options.settings.noPrompt = true;
            options.noPromptGiven = true;
        }
        else if (arg == "--hold")
            options.settings.hold = true;
        else if (arg == "--vault" || arg == "--save-vault" || arg == "--log")
        {
            if (!needValue())
                return false;
            if (value.empty())
            {
                error = arg + " needs a file name";
                return false;
            }
            std::string& target = arg == "--vault" ? options.vaultFile
                                  : arg == "--log" ? options.logFile
                                                   : options.saveVaultFile;
            target = value;
            ++i;
        }
        else if (arg == "--validation")
        {
            if (!needValue())
                return false;
            if (!ParseValidation(value, options.settings.validation))
            {
                error = "--validation takes granted, denied, silent or none, not " + value;
                return false;
            }
            ++i;
        }
        else if (arg == "--miss")
        {
            if (!needValue())
                return false;
            if (!ParseMiss(value, options.settings.miss))
            {
                error = "--miss takes pending or fail, not " + value;
                return false;
            }
            ++i;
        }
        else if (arg == "--miss-result")
        {
            if (!needValue())
                return false;
            if (!ParseWord(value, options.settings.missResult))
            {
                error = "--miss-result takes a number, not " + value;
                return false;
            }
            ++i;
        }
        else
        {
            error = "unknown option " + arg;
            return false;
        }
    }
    return true;
}

const char* UsageText()
{
    return "SimLvEngine (stand-in core) - plays the core's side of the shared block, events and window.\n"
           "\n"
           "Usage: SimLvEngine.exe [options]\n"
           "  --vault FILE          load the vault from FILE (JSON) at start\n"
           "  --save-vault FILE     save the vault to FILE after each change\n"
           "  --log FILE            append one JSON object per line to FILE\n"
           "  --not-enrolled        report the user as not enrolled (flags bit 2)\n"
           "  --validation MODE     answer to LumivarDoValidateUser: granted (default), denied, silent, none\n"
           "  --miss MODE           look-up of an unknown site: pending (default) or fail\n"
           "  --miss-result N       result of a pending look-up (default 13)\n"
           "  --noprompt            answer request 9 with 12 (remember without a prompt)\n"
           "  --hold                record requests but answer them only on the stdin command release\n"
           "  --help                this text\n"
           "\n"
           "Stdin commands, one line each, each answered by one line starting with ok or error:\n"
           "  set notenrolled|validation|miss|missresult|noprompt|hold VALUE\n"
           "  vault add SITEKEY USER PASSWORD USERFIELD PASSFIELD [URL]\n"
           "  vault save FILE\n"
           "  push copydata DEVID STATUS STRDEVID MESSAGE [TEXT2]\n"
           "  push fill SITEKEY\n"
           "  release | dump | quit\n"
           "Words are separated by spaces; \"double quotes\" keep spaces, \"\" is an empty word, \\\" and \\\\ "
           "escape inside quotes.\n";
}
