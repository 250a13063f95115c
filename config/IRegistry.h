#pragma once
// The registry as the Win32 calls see it: handles, access masks, value types and Win32 error codes.
// Portable: the Windows build binds it to the real API (RegistryWin), tests and other hosts to CMemoryRegistry.

#include <cstdint>

using RegHandle = std::uintptr_t; // an HKEY's value; 0 is "no key"
using RegResult = std::int32_t;   // a Win32 error code, as RegOpenKeyExA returns it

constexpr RegResult kRegOk = 0;
constexpr RegResult kRegFileNotFound = 2;
constexpr RegResult kRegAccessDenied = 5;
constexpr RegResult kRegInvalidHandle = 6;
constexpr RegResult kRegInvalidData = 13;
constexpr RegResult kRegInvalidParameter = 87;
constexpr RegResult kRegCallNotImplemented = 120;
constexpr RegResult kRegMoreData = 234;
constexpr RegResult kRegNoMoreItems = 259;

// The predefined roots, with the values Windows gives them (sign-extended on 64-bit).
constexpr RegHandle kHkeyClassesRoot = static_cast<RegHandle>(static_cast<std::intptr_t>(INT32_C(-2147483647) - 1));
constexpr RegHandle kHkeyCurrentUser = kHkeyClassesRoot + 1;
constexpr RegHandle kHkeyLocalMachine = kHkeyClassesRoot + 2;

constexpr std::uint32_t kRegSz = 1;
constexpr std::uint32_t kRegExpandSz = 2;
constexpr std::uint32_t kRegBinary = 3;
constexpr std::uint32_t kRegDword = 4;

constexpr std::uint32_t kKeyRead = 0x20019;
constexpr std::uint32_t kKeyWrite = 0x20006;
constexpr std::uint32_t kKeyReadWrite = 0x2001F;
constexpr std::uint32_t kKeyAllAccess = 0xF003F;
constexpr std::uint32_t kKeyWow64_64Key = 0x100;
constexpr std::uint32_t kKeyWow64_32Key = 0x200;
constexpr std::uint32_t kKeyWow64Res = 0x300;

class IRegistry
{
public:
    virtual ~IRegistry() = default;

    // RegOpenKeyExA. `key` is untouched unless the call returns kRegOk.
    virtual RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key) = 0;
    // RegCreateKeyExA with class 0, options 0 and no security; `disposition` may be null.
    virtual RegResult CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                std::uint32_t* disposition) = 0;
    virtual RegResult CloseKey(RegHandle key) = 0;
    // RegQueryValueExA: `type` and `data` may be null; `size` is in/out as in the Win32 call.
    virtual RegResult QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,
                                 std::uint32_t* size) = 0;
    virtual RegResult SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,
                               std::uint32_t size) = 0;
    virtual RegResult DeleteValue(RegHandle key, const char* name) = 0;
    // RegQueryInfoKeyA's count of values.
    virtual RegResult QueryValueCount(RegHandle key, std::uint32_t& count) = 0;
    // RegEnumValueA: the value at `index`. `nameSize` is in/out in characters (without the NUL on the way out);
    // `type`, `data` and `dataSize` may be null, `dataSize` in/out in bytes as in the Win32 call.
    virtual RegResult EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize,
                                std::uint32_t* type, std::uint8_t* data, std::uint32_t* dataSize) = 0;
    // RegDeleteKeyExA with the view flags where the system has it, RegDeleteKeyA otherwise.
    virtual RegResult DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags) = 0;

    // The transacted forms. They answer kRegNotAvailable when the system lacks the function.
    static constexpr RegResult kRegNotAvailable = 1;
    virtual RegResult OpenKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                        std::uintptr_t transaction) = 0;
    virtual RegResult CreateKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                          std::uint32_t* disposition, std::uintptr_t transaction) = 0;
    virtual RegResult DeleteKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t viewFlags,
                                          std::uintptr_t transaction) = 0;
};

// Declares every IRegistry operation as an override, in a class that implements them all.
#define LVBHO_IREGISTRY_OVERRIDES                                                                                      \
    RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key) override;            \
    RegResult CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,                    \
                        std::uint32_t* disposition) override;                                                          \
    RegResult CloseKey(RegHandle key) override;                                                                        \
    RegResult QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,                     \
                         std::uint32_t* size) override;                                                                \
    RegResult SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,                  \
                       std::uint32_t size) override;                                                                   \
    RegResult DeleteValue(RegHandle key, const char* name) override;                                                   \
    RegResult QueryValueCount(RegHandle key, std::uint32_t& count) override;                                           \
    RegResult EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize, std::uint32_t* type,  \
                        std::uint8_t* data, std::uint32_t* dataSize) override;                                         \
    RegResult DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags) override;                       \
    RegResult OpenKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,            \
                                std::uintptr_t transaction) override;                                                  \
    RegResult CreateKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,          \
                                  std::uint32_t* disposition, std::uintptr_t transaction) override;                    \
    RegResult DeleteKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t viewFlags,                       \
                                  std::uintptr_t transaction) override;
