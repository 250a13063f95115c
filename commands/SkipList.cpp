#include "commands/SkipList.h"

#include "config/RegKey.h"
#include "messaging/AsciiText.h"

#include <algorithm>
#include <cstring>

std::vector<std::string> ReadSkipList(IRegistry& registry, RegHandle root)
{
    std::vector<std::string> entries;
    CRegKey key(registry);
    if (key.Open(root, kSkipListKey, kKeyRead | kKeyWow64_64Key) != kRegOk)
        return entries;
    std::uint32_t count = 0;
    if (registry.QueryValueCount(key.Handle(), count) != kRegOk)
        return entries;
    for (std::uint32_t i = 1; i <= count; ++i)
    {
        const std::string name = std::to_string(i);
        std::uint8_t data[kSkipListValueSize] = {};
        std::uint32_t size = sizeof data;
        if (registry.QueryValue(key.Handle(), name.c_str(), nullptr, data, &size) != kRegOk)
            continue;
        const auto* text = reinterpret_cast<const char*>(data);
        const std::size_t length = std::min<std::uint32_t>(size, sizeof data);
        const void* end = std::memchr(text, '\0', length);
        entries.push_back(ToUpperAscii(
            std::string(text, end ? static_cast<std::size_t>(static_cast<const char*>(end) - text) : length)));
    }
    return entries;
}
