#pragma once
// IRegistry over the Win32 registry API.

#include "config/IRegistry.h"

class CRegistryWin : public IRegistry
{
public:
    RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key) override;
    RegResult CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                        std::uint32_t* disposition) override;
    RegResult CloseKey(RegHandle key) override;
    RegResult QueryValueCount(RegHandle key, std::uint32_t& count) override;
    RegResult EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize, std::uint32_t* type,
                        std::uint8_t* data, std::uint32_t* dataSize) override;
    RegResult QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,
                         std::uint32_t* size) override;
    RegResult SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,
                       std::uint32_t size) override;
    RegResult DeleteValue(RegHandle key, const char* name) override;
    RegResult DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags) override;
    RegResult OpenKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                std::uintptr_t transaction) override;
    RegResult CreateKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                  std::uint32_t* disposition, std::uintptr_t transaction) override;
    RegResult DeleteKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t viewFlags,
                                  std::uintptr_t transaction) override;
};
