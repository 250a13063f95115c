#include "config/RegistryWin.h"

#include <windows.h>

namespace
{
HKEY ToHkey(RegHandle handle)
{
    return reinterpret_cast<HKEY>(handle);
}

RegHandle FromHkey(HKEY key)
{
    return reinterpret_cast<RegHandle>(key);
}

using RegDeleteKeyExAFn = LONG(WINAPI*)(HKEY, LPCSTR, REGSAM, DWORD);
using RegOpenKeyTransactedAFn = LONG(WINAPI*)(HKEY, LPCSTR, DWORD, REGSAM, PHKEY, HANDLE, PVOID);
using RegCreateKeyTransactedAFn = LONG(WINAPI*)(HKEY, LPCSTR, DWORD, LPSTR, DWORD, REGSAM, const LPSECURITY_ATTRIBUTES,
                                                PHKEY, LPDWORD, HANDLE, PVOID);
using RegDeleteKeyTransactedAFn = LONG(WINAPI*)(HKEY, LPCSTR, REGSAM, DWORD, HANDLE, PVOID);

// Looked up in the already loaded Advapi32.dll; null where the system lacks it.
template <typename Fn>
Fn LookUp(const char* name)
{
    HMODULE advapi = ::GetModuleHandleA("Advapi32.dll");
    if (advapi == nullptr)
        return nullptr;
    return reinterpret_cast<Fn>(reinterpret_cast<void*>(::GetProcAddress(advapi, name)));
}
} // namespace

RegResult CRegistryWin::OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key)
{
    HKEY opened = nullptr;
    const LONG result = ::RegOpenKeyExA(ToHkey(parent), subKey, 0, access, &opened);
    if (result == ERROR_SUCCESS)
        key = FromHkey(opened);
    return result;
}

RegResult CRegistryWin::CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                  std::uint32_t* disposition)
{
    HKEY created = nullptr;
    DWORD how = 0;
    const LONG result = ::RegCreateKeyExA(ToHkey(parent), subKey, 0, nullptr, 0, access, nullptr, &created, &how);
    if (result == ERROR_SUCCESS)
    {
        key = FromHkey(created);
        if (disposition)
            *disposition = how;
    }
    return result;
}

RegResult CRegistryWin::CloseKey(RegHandle key)
{
    return ::RegCloseKey(ToHkey(key));
}

RegResult CRegistryWin::QueryValueCount(RegHandle key, std::uint32_t& count)
{
    DWORD values = 0;
    const LONG result = ::RegQueryInfoKeyA(ToHkey(key), nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values,
                                           nullptr, nullptr, nullptr, nullptr);
    if (result == ERROR_SUCCESS)
        count = values;
    return result;
}

RegResult CRegistryWin::EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize,
                                  std::uint32_t* type, std::uint8_t* data, std::uint32_t* dataSize)
{
    DWORD nameChars = nameSize ? *nameSize : 0;
    DWORD valueType = 0;
    DWORD bytes = dataSize ? *dataSize : 0;
    const LONG result =
        ::RegEnumValueA(ToHkey(key), index, name, &nameChars, nullptr, &valueType, data, dataSize ? &bytes : nullptr);
    if (nameSize)
        *nameSize = nameChars;
    if (type)
        *type = valueType;
    if (dataSize)
        *dataSize = bytes;
    return result;
}

RegResult CRegistryWin::QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,
                                   std::uint32_t* size)
{
    DWORD valueType = 0;
    DWORD bytes = size ? *size : 0;
    const LONG result = ::RegQueryValueExA(ToHkey(key), name, nullptr, &valueType, data, size ? &bytes : nullptr);
    if (type)
        *type = valueType;
    if (size)
        *size = bytes;
    return result;
}

RegResult CRegistryWin::SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,
                                 std::uint32_t size)
{
    return ::RegSetValueExA(ToHkey(key), name, 0, type, data, size);
}

RegResult CRegistryWin::DeleteValue(RegHandle key, const char* name)
{
    return ::RegDeleteValueA(ToHkey(key), name);
}

RegResult CRegistryWin::DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags)
{
    // Looked up once per process: systems before Vista x64 have only RegDeleteKeyA.
    static const RegDeleteKeyExAFn deleteKeyEx = LookUp<RegDeleteKeyExAFn>("RegDeleteKeyExA");
    if (deleteKeyEx != nullptr)
        return deleteKeyEx(ToHkey(parent), subKey, viewFlags, 0);
    return ::RegDeleteKeyA(ToHkey(parent), subKey);
}

RegResult CRegistryWin::OpenKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                          std::uintptr_t transaction)
{
    const auto open = LookUp<RegOpenKeyTransactedAFn>("RegOpenKeyTransactedA");
    if (open == nullptr)
        return kRegNotAvailable;
    HKEY opened = nullptr;
    const LONG result =
        open(ToHkey(parent), subKey, 0, access, &opened, reinterpret_cast<HANDLE>(transaction), nullptr);
    if (result == ERROR_SUCCESS)
        key = FromHkey(opened);
    return result;
}

RegResult CRegistryWin::CreateKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                            std::uint32_t* disposition, std::uintptr_t transaction)
{
    const auto create = LookUp<RegCreateKeyTransactedAFn>("RegCreateKeyTransactedA");
    if (create == nullptr)
        return kRegNotAvailable;
    HKEY created = nullptr;
    DWORD how = 0;
    const LONG result = create(ToHkey(parent), subKey, 0, nullptr, 0, access, nullptr, &created, &how,
                               reinterpret_cast<HANDLE>(transaction), nullptr);
    if (result == ERROR_SUCCESS)
    {
        key = FromHkey(created);
        if (disposition)
            *disposition = how;
    }
    return result;
}

RegResult CRegistryWin::DeleteKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t viewFlags,
                                            std::uintptr_t transaction)
{
    const auto remove = LookUp<RegDeleteKeyTransactedAFn>("RegDeleteKeyTransactedA");
    if (remove == nullptr)
        return kRegNotAvailable;
    return remove(ToHkey(parent), subKey, viewFlags, 0, reinterpret_cast<HANDLE>(transaction), nullptr);
}
