#pragma once
// One value of an open key, read by its index: the two-step EnumValue read (the sizes first, then the data into a
// buffer of that size) in one place.

#include "config/IRegistry.h"

#include <cstdint>
#include <string>
#include <vector>

struct IndexedValue
{
    std::string name;
    std::uint32_t type = 0;
    // Empty when the data was longer than the caller's limit: the value is listed, its data is not read.
    std::vector<std::uint8_t> data;
    bool dataRead = false;
};

// The registry's own limit on a value name, in characters.
inline constexpr std::uint32_t kMaxRegValueName = 16383;

// False when the value at `index` cannot be read (there is none, or the key failed).
bool ReadValueAt(IRegistry& registry, RegHandle key, std::uint32_t index, std::uint32_t maxData, IndexedValue& value);
