#pragma once
// An IRegistry that lets reads through and refuses every change, so that the doctor cannot alter what it examines,
// whatever a helper it borrows from the host asks for. Keys open only for reading: an access mask asking for more
// than KEY_READ and a view flag is refused too, and one without a view flag gets the 64-bit view's, as the 64-bit
// host would see. A refusal answers ERROR_ACCESS_DENIED and is counted.

#include "config/IRegistry.h"

#include <cstddef>

class CReadOnlyRegistry : public IRegistry
{
public:
    explicit CReadOnlyRegistry(IRegistry& inner) : m_inner(inner) {}

    RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key) override;
    RegResult CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                        std::uint32_t* disposition) override;
    RegResult CloseKey(RegHandle key) override;
    RegResult QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,
                         std::uint32_t* size) override;
    RegResult SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,
                       std::uint32_t size) override;
    RegResult DeleteValue(RegHandle key, const char* name) override;
    RegResult QueryValueCount(RegHandle key, std::uint32_t& count) override;
    RegResult EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize, std::uint32_t* type,
                        std::uint8_t* data, std::uint32_t* dataSize) override;
    RegResult DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags) override;
    // The transacted forms answer as on a system without them; the doctor never binds a transaction.
    RegResult OpenKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                std::uintptr_t transaction) override;
    RegResult CreateKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                  std::uint32_t* disposition, std::uintptr_t transaction) override;
    RegResult DeleteKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t viewFlags,
                                  std::uintptr_t transaction) override;

    std::size_t RefusedCount() const noexcept { return m_refused; }

private:
    RegResult Refuse() noexcept
    {
        ++m_refused;
        return kRegAccessDenied;
    }

    IRegistry& m_inner;
    std::size_t m_refused = 0;
};
