#pragma once
// A registry key object in the manner of the framework's CRegKey: it owns one open key, remembers the registry
// view it was opened in, and may be bound to a transaction manager. Every operation returns the Win32 code of the
// call it made; on failure the object is left as it was.

#include "config/IRegistry.h"

#include <cstdint>
#include <string>

// Routes key operations through a transaction when there is one. Without a transaction it falls back to the plain
// call if `fallback` is set, and otherwise answers 1, as it also does when the system lacks the transacted call.
class CRegTransactionManager
{
public:
    CRegTransactionManager(IRegistry& registry, std::uintptr_t transaction, bool fallback)
        : m_registry(registry), m_transaction(transaction), m_fallback(fallback)
    {
    }

    [[nodiscard]] RegResult OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key);
    [[nodiscard]] RegResult CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                      std::uint32_t* disposition);
    [[nodiscard]] RegResult DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags);

private:
    IRegistry& m_registry;
    std::uintptr_t m_transaction;
    bool m_fallback;
};

class CRegKey
{
public:
    explicit CRegKey(IRegistry& registry, CRegTransactionManager* transactionManager = nullptr) noexcept
        : m_registry(registry), m_transactionManager(transactionManager)
    {
    }
    CRegKey(const CRegKey&) = delete;
    CRegKey& operator=(const CRegKey&) = delete;
    ~CRegKey() { (void)Close(); }

    // On success any key held before is closed (only after the new one opened).
    [[nodiscard]] RegResult Open(RegHandle parent, const char* subKey, std::uint32_t access = kKeyReadWrite);
    [[nodiscard]] RegResult Create(RegHandle parent, const char* subKey, std::uint32_t access = kKeyReadWrite,
                                   std::uint32_t* disposition = nullptr);
    RegResult Close();

    // `size` is in bytes, in/out: set to 0 first, to the byte count read on success. A value that is not
    // REG_SZ or REG_EXPAND_SZ, or a non-empty one whose last byte is not NUL, gives 13.
    [[nodiscard]] RegResult QueryStringValue(const char* name, char* buffer, std::uint32_t& size);
    // Convenience over QueryStringValue with a buffer of `bufferSize` bytes; `value` is untouched on failure.
    [[nodiscard]] RegResult QueryStringValue(const char* name, std::string& value, std::uint32_t bufferSize = 1024);
    [[nodiscard]] RegResult QueryDWORDValue(const char* name, std::uint32_t& value);
    [[nodiscard]] RegResult SetDWORDValue(const char* name, std::uint32_t value);
    [[nodiscard]] RegResult SetStringValue(const char* name, const char* text);
    [[nodiscard]] RegResult DeleteValue(const char* name);
    [[nodiscard]] RegResult DeleteSubKey(const char* subKey);

    RegHandle Handle() const noexcept { return m_key; }
    std::uint32_t ViewFlags() const noexcept { return m_viewFlags; }

private:
    void Adopt(RegHandle key, std::uint32_t access);

    IRegistry& m_registry;
    CRegTransactionManager* m_transactionManager;
    RegHandle m_key = 0;
    std::uint32_t m_viewFlags = 0;
};
