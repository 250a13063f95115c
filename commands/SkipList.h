#pragma once
// The skip list: sites the extension is told to leave alone. Entries are the string values "1" to "N" of
// HKLM and HKCU\SOFTWARE\Kavrin\Lumivar\SkipListForLvBho (64-bit view), upper-cased.

#include "config/IRegistry.h"

#include <cstdint>
#include <string>
#include <vector>

inline constexpr const char* kSkipListKey = "SOFTWARE\\Kavrin\\Lumivar\\SkipListForLvBho";
// Each value is read into a buffer of this many bytes; a longer one is not read at all.
inline constexpr std::uint32_t kSkipListValueSize = 260;

// The entries under `root`, in the order the host reads them. The values are asked for by number, "1" to the key's
// value count, not enumerated: a gap loses the highest entries, and values of other names still count. Each entry
// ends at its first NUL and is upper-cased (ASCII letters only). A missing key gives none.
std::vector<std::string> ReadSkipList(IRegistry& registry, RegHandle root);
