#include "config/RegKey.h"

#include <cstring>
#include <vector>

RegResult CRegTransactionManager::OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key)
{
    if (m_transaction != 0)
        return m_registry.OpenKeyTransacted(parent, subKey, access, key, m_transaction);
    if (m_fallback)
        return m_registry.OpenKey(parent, subKey, access, key);
    return IRegistry::kRegNotAvailable;
}

RegResult CRegTransactionManager::CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                            std::uint32_t* disposition)
{
    if (m_transaction != 0)
        return m_registry.CreateKeyTransacted(parent, subKey, access, key, disposition, m_transaction);
    if (m_fallback)
        return m_registry.CreateKey(parent, subKey, access, key, disposition);
    return IRegistry::kRegNotAvailable;
}

RegResult CRegTransactionManager::DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags)
{
    if (m_transaction != 0)
        return m_registry.DeleteKeyTransacted(parent, subKey, viewFlags, m_transaction);
    if (m_fallback)
        return m_registry.DeleteKey(parent, subKey, viewFlags);
    return IRegistry::kRegNotAvailable;
}

void CRegKey::Adopt(RegHandle key, std::uint32_t access)
{
    (void)Close();
    m_key = key;
    m_viewFlags = access & kKeyWow64Res;
}

RegResult CRegKey::Open(RegHandle parent, const char* subKey, std::uint32_t access)
{
    RegHandle key = 0;
    const RegResult result = m_transactionManager ? m_transactionManager->OpenKey(parent, subKey, access, key)
                                                  : m_registry.OpenKey(parent, subKey, access, key);
    if (result == kRegOk)
        Adopt(key, access);
    return result;
}

RegResult CRegKey::Create(RegHandle parent, const char* subKey, std::uint32_t access, std::uint32_t* disposition)
{
    RegHandle key = 0;
    const RegResult result = m_transactionManager
                                 ? m_transactionManager->CreateKey(parent, subKey, access, key, disposition)
                                 : m_registry.CreateKey(parent, subKey, access, key, disposition);
    if (result == kRegOk)
        Adopt(key, access);
    return result;
}

RegResult CRegKey::Close()
{
    if (m_key == 0)
        return kRegOk;
    const RegResult result = m_registry.CloseKey(m_key);
    m_key = 0;
    m_viewFlags = 0;
    return result;
}

RegResult CRegKey::QueryStringValue(const char* name, char* buffer, std::uint32_t& size)
{
    std::uint32_t type = 0;
    std::uint32_t bytes = size;
    const RegResult result = m_registry.QueryValue(m_key, name, &type, reinterpret_cast<std::uint8_t*>(buffer), &bytes);
    size = 0;
    if (result != kRegOk)
        return result;
    if (type != kRegSz && type != kRegExpandSz)
        return kRegInvalidData;
    if (buffer != nullptr)
    {
        if (bytes != 0 && buffer[bytes - 1] != '\0')
            return kRegInvalidData;
        if (bytes == 0)
            buffer[0] = '\0';
    }
    size = bytes;
    return kRegOk;
}

RegResult CRegKey::QueryStringValue(const char* name, std::string& value, std::uint32_t bufferSize)
{
    std::vector<char> buffer(bufferSize + 1u, '\0');
    std::uint32_t size = bufferSize;
    const RegResult result = QueryStringValue(name, buffer.data(), size);
    if (result == kRegOk)
        value.assign(buffer.data());
    return result;
}

RegResult CRegKey::QueryDWORDValue(const char* name, std::uint32_t& value)
{
    std::uint32_t type = 0;
    std::uint32_t read = 0;
    std::uint32_t size = sizeof(read);
    const RegResult result = m_registry.QueryValue(m_key, name, &type, reinterpret_cast<std::uint8_t*>(&read), &size);
    if (result != kRegOk)
        return result;
    if (type != kRegDword || size != sizeof(read))
        return kRegInvalidData;
    value = read;
    return kRegOk;
}

RegResult CRegKey::SetDWORDValue(const char* name, std::uint32_t value)
{
    return m_registry.SetValue(m_key, name, kRegDword, reinterpret_cast<const std::uint8_t*>(&value), sizeof(value));
}

RegResult CRegKey::SetStringValue(const char* name, const char* text)
{
    if (text == nullptr)
        return kRegInvalidParameter;
    return m_registry.SetValue(m_key, name, kRegSz, reinterpret_cast<const std::uint8_t*>(text),
                               static_cast<std::uint32_t>(std::strlen(text) + 1));
}

RegResult CRegKey::DeleteValue(const char* name)
{
    return m_registry.DeleteValue(m_key, name);
}

RegResult CRegKey::DeleteSubKey(const char* subKey)
{
    if (m_transactionManager)
        return m_transactionManager->DeleteKey(m_key, subKey, m_viewFlags);
    return m_registry.DeleteKey(m_key, subKey, m_viewFlags);
}
