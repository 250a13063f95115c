#include "tools/regdoctor/ReadOnlyRegistry.h"

RegResult CReadOnlyRegistry::OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key)
{
    if ((access & ~(kKeyRead | kKeyWow64Res)) != 0)
        return Refuse();
    // The host is a 64-bit program, so a key a borrowed helper opens without a view is the 64-bit view's; said
    // explicitly, the doctor sees what the host sees whatever its own build.
    if ((access & kKeyWow64Res) == 0)
        access |= kKeyWow64_64Key;
    return m_inner.OpenKey(parent, subKey, access, key);
}

RegResult CReadOnlyRegistry::CreateKey(RegHandle, const char*, std::uint32_t, RegHandle&, std::uint32_t*)
{
    return Refuse();
}

RegResult CReadOnlyRegistry::CloseKey(RegHandle key)
{
    return m_inner.CloseKey(key);
}

RegResult CReadOnlyRegistry::QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,
                                        std::uint32_t* size)
{
    return m_inner.QueryValue(key, name, type, data, size);
}

RegResult CReadOnlyRegistry::SetValue(RegHandle, const char*, std::uint32_t, const std::uint8_t*, std::uint32_t)
{
    return Refuse();
}

RegResult CReadOnlyRegistry::DeleteValue(RegHandle, const char*)
{
    return Refuse();
}

RegResult CReadOnlyRegistry::QueryValueCount(RegHandle key, std::uint32_t& count)
{
    return m_inner.QueryValueCount(key, count);
}

RegResult CReadOnlyRegistry::EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize,
                                       std::uint32_t* type, std::uint8_t* data, std::uint32_t* dataSize)
{
    return m_inner.EnumValue(key, index, name, nameSize, type, data, dataSize);
}

RegResult CReadOnlyRegistry::DeleteKey(RegHandle, const char*, std::uint32_t)
{
    return Refuse();
}

RegResult CReadOnlyRegistry::OpenKeyTransacted(RegHandle, const char*, std::uint32_t, RegHandle&, std::uintptr_t)
{
    return kRegNotAvailable;
}

RegResult CReadOnlyRegistry::CreateKeyTransacted(RegHandle, const char*, std::uint32_t, RegHandle&, std::uint32_t*,
                                                 std::uintptr_t)
{
    return Refuse();
}

RegResult CReadOnlyRegistry::DeleteKeyTransacted(RegHandle, const char*, std::uint32_t, std::uintptr_t)
{
    return Refuse();
}
