#include "config/ValueAt.h"

bool ReadValueAt(IRegistry& registry, RegHandle key, std::uint32_t index, std::uint32_t maxData, IndexedValue& value)
{
    std::vector<char> name(kMaxRegValueName + 1);
    std::uint32_t nameSize = kMaxRegValueName + 1;
    std::uint32_t dataSize = 0;
    if (registry.EnumValue(key, index, name.data(), &nameSize, nullptr, nullptr, &dataSize) != kRegOk)
        return false;
    value.dataRead = dataSize <= maxData;
    // One byte more than the data, so that a string without its terminator still reads whole.
    std::vector<std::uint8_t> data(value.dataRead ? dataSize + 1 : 0);
    std::uint32_t readSize = static_cast<std::uint32_t>(data.size());
    nameSize = kMaxRegValueName + 1;
    if (registry.EnumValue(key, index, name.data(), &nameSize, &value.type, value.dataRead ? data.data() : nullptr,
                           value.dataRead ? &readSize : nullptr) != kRegOk)
        return false;
    data.resize(value.dataRead ? readSize : 0);
    value.name.assign(name.data(), nameSize);
    value.data = std::move(data);
    return true;
}
