#pragma once
// The core's view of the login data script: the field script (tag tokens joined by "+") and the value list (one
// string per token, in token order). The sim reads the script the host writes to store a login, and writes fill
// scripts in the very shape the host writes, which is the shape the host's reader pairs correctly:
//   field script  "<S>+<DCH>U<FV><SV><\FV><TAB>+<DCH>P<FV><SV><\FV>+<OK>+<QL>+"
//   value list    "", N, W, "<END>", L   (each NUL-terminated; 5 items)

#include "tools/coresim/SimVault.h"

#include <cstdint>
#include <string>
#include <vector>

inline constexpr const char* kTagStart = "<S>";
inline constexpr const char* kTagField = "<DCH>";
inline constexpr const char* kUserFieldSuffix = "<FV><SV><\\FV><TAB>";
inline constexpr const char* kPassFieldSuffix = "<FV><SV><\\FV>";
inline constexpr const char* kTagOk = "<OK>";
inline constexpr const char* kValueOk = "<END>";
inline constexpr const char* kTagUrl = "<QL>";

struct SimFillScript
{
    std::string fieldScript;
    std::string valueList; // the items back to back, each with its NUL
    std::uint32_t valueCount = 0;
};

SimFillScript BuildFillScript(const SimLogin& login);

// Reads a store script. Tokens are the non-empty texts between "+" and pair with `values` by position. The first
// field token ending in "<TAB>" names the user field, the first other field token the password field; "<QL>" carries
// the URL. Returns false, leaving `login` unchanged, when there is no password field token.
[[nodiscard]] bool ParseLoginScript(const std::string& fieldScript, const std::vector<std::string>& values,
                                    SimLogin& login);
