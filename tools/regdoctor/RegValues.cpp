#include "tools/regdoctor/RegValues.h"

#include "config/ValueAt.h"
#include "messaging/Utf8Name.h"
#include "tools/regdoctor/LookupOrder.h"

#include <cstdio>
#include <cstring>

namespace
{
constexpr std::uint32_t kMaxValueData = 64 * 1024;
constexpr std::uint32_t kRegMultiSz = 7;
constexpr std::uint32_t kRegQword = 11;
constexpr std::size_t kMaxHexBytes = 64;

std::uint64_t LittleEndian(const std::vector<std::uint8_t>& data, std::size_t bytes)
{
    std::uint64_t value = 0;
    for (std::size_t i = bytes; i-- > 0;)
        value = (value << 8) | data[i];
    return value;
}
} // namespace

std::vector<RegValueData> ReadAllValues(IRegistry& registry, RegHandle key)
{
    std::vector<RegValueData> values;
    std::uint32_t count = 0;
    if (registry.QueryValueCount(key, count) != kRegOk)
        return values;
    for (std::uint32_t index = 0; index < count; ++index)
    {
        // Data beyond the limit is not read; the value is still listed, with no data.
        IndexedValue read;
        if (!ReadValueAt(registry, key, index, kMaxValueData, read))
            break;
        RegValueData value;
        value.name = std::move(read.name);
        value.type = read.type;
        value.data = std::move(read.data);
        values.push_back(std::move(value));
    }
    return values;
}

std::string TypeName(std::uint32_t type)
{
    switch (type)
    {
    case 0:
        return "REG_NONE";
    case kRegSz:
        return "REG_SZ";
    case kRegExpandSz:
        return "REG_EXPAND_SZ";
    case kRegBinary:
        return "REG_BINARY";
    case kRegDword:
        return "REG_DWORD";
    case kRegMultiSz:
        return "REG_MULTI_SZ";
    case kRegQword:
        return "REG_QWORD";
    default:
        return "type " + std::to_string(type);
    }
}

std::string TextOf(const std::vector<std::uint8_t>& data)
{
    const auto* text = reinterpret_cast<const char*>(data.data());
    const void* nul = data.empty() ? nullptr : std::memchr(text, '\0', data.size());
    return std::string(text, nul ? static_cast<std::size_t>(static_cast<const char*>(nul) - text) : data.size());
}

Json::Value ValueToJson(const RegValueData& value)
{
    Json::Value json(Json::objectValue);
    json["name"] = Utf8(value.name);
    json["type"] = TypeName(value.type);
    if (value.type == kRegSz || value.type == kRegExpandSz)
    {
        json["data"] = Utf8(TextOf(value.data));
    }
    else if (value.type == kRegDword && value.data.size() == 4)
    {
        json["data"] = static_cast<Json::UInt>(LittleEndian(value.data, 4));
    }
    else if (value.type == kRegQword && value.data.size() == 8)
    {
        json["data"] = static_cast<Json::UInt64>(LittleEndian(value.data, 8));
    }
    else
    {
        std::string hex;
        for (std::size_t i = 0; i < value.data.size() && i < kMaxHexBytes; ++i)
        {
            char byte[4];
            std::snprintf(byte, sizeof byte, i == 0 ? "%02x" : " %02x", value.data[i]);
            hex += byte;
        }
        if (value.data.size() > kMaxHexBytes)
            hex += " ...";
        json["data"] = hex;
    }
    return json;
}

std::string Utf8(const std::string& text)
{
    if (IsUtf8Text(text.c_str()))
        return text;
    ITextCodec& codec = ProcessTextCodec();
    const std::u16string wide = codec.AnsiToWide(text.c_str());
    const int length = codec.Utf8Length(wide);
    if (wide.empty() || length <= 0)
        return std::string();
    std::vector<char> buffer(static_cast<std::size_t>(length) + 1, '\0');
    const int written = codec.WideToUtf8(wide, buffer.data(), length + 1);
    return written > 0 ? std::string(buffer.data(), static_cast<std::size_t>(written)) : std::string();
}

std::string KeyPath(RegHandle root, const std::string& subKey)
{
    return std::string(HiveName(root)) + "\\" + subKey;
}
