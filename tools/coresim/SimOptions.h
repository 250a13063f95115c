#pragma once
// The sim's behaviour switches, from the command line at start and from `set` commands on stdin later.

#include <cstdint>
#include <string>
#include <vector>

// How the sim answers the user-validation message.
enum class SimValidation
{
    Granted, // acknowledge, then granted
    Denied,  // acknowledge, then denied
    Silent,  // acknowledge only
    None,    // nothing at all
};

// How the sim answers a page look-up (request 8) for a site the vault does not hold.
enum class SimMiss
{
    Pending, // leave a cancellable request open, result `missResult`
    Fail,    // result 0, flags 0
};

struct SimSettings
{
    bool notEnrolled = false;
    SimValidation validation = SimValidation::Granted;
    SimMiss miss = SimMiss::Pending;
    std::uint32_t missResult = 13;
    bool noPrompt = false;
    bool hold = false;
};

struct SimOptions
{
    SimSettings settings;
    bool noPromptGiven = false; // --noprompt wins over the vault file's "noPrompt"
    std::string vaultFile;
    std::string saveVaultFile;
    std::string logFile;
    bool help = false;
};

// Parses the arguments after the program name. On failure `error` says why (the caller exits with code 2).
[[nodiscard]] bool ParseCommandLine(const std::vector<std::string>& args, SimOptions& options, std::string& error);

// Applies `set <name> <value>`: notenrolled 0|1, validation granted|denied|silent|none, miss pending|fail,
// missresult N, noprompt 0|1, hold 0|1. `settings` is unchanged on failure.
[[nodiscard]] bool ApplySetting(const std::string& name, const std::string& value, SimSettings& settings,
                                std::string& error);

// A decimal number from -2147483648 to 4294967295, negative ones taken as their 32-bit two's complement.
[[nodiscard]] bool ParseWord(const std::string& text, std::uint32_t& value);

const char* ValidationName(SimValidation validation);
const char* MissName(SimMiss miss);

// The --help text.
const char* UsageText();
