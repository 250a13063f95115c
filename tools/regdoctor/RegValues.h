#pragma once
// Reading a key's values for the report, and turning registry data and narrow texts into JSON.

#include "config/IRegistry.h"

#include <json/json.h>

#include <cstdint>
#include <string>
#include <vector>

struct RegValueData
{
    std::string name;
    std::uint32_t type = 0;
    std::vector<std::uint8_t> data;
};

// Every value of an open key, in enumeration order; stops at the first enumeration error.
std::vector<RegValueData> ReadAllValues(IRegistry& registry, RegHandle key);

// "REG_SZ", "REG_DWORD", ..., or "type N".
std::string TypeName(std::uint32_t type);
// The text of a string value up to its first NUL.
std::string TextOf(const std::vector<std::uint8_t>& data);
// {"name", "type", "data"}: text for the string types, a number for REG_DWORD, hex bytes for the rest.
Json::Value ValueToJson(const RegValueData& value);

// A narrow text as UTF-8 for the report: UTF-8 as it is, anything else read in the ANSI code page.
std::string Utf8(const std::string& text);
// "HKLM\SOFTWARE\...": the path as the program asks for it, whatever view redirects it to.
std::string KeyPath(RegHandle root, const std::string& subKey);
