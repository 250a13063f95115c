#include "config/MemoryRegistry.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <iterator>

namespace
{
std::string Upper(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    return text;
}

std::vector<std::string> SplitPath(const std::string& path)
{
    std::vector<std::string> parts;
    std::string part;
    for (char c : path)
    {
        if (c == '\\')
        {
            if (!part.empty())
                parts.push_back(part);
            part.clear();
        }
        else
        {
            part += c;
        }
    }
    if (!part.empty())
        parts.push_back(part);
    return parts;
}

const char* RootName(RegHandle root)
{
    if (root == kHkeyLocalMachine)
        return "HKLM";
    if (root == kHkeyCurrentUser)
        return "HKCU";
    if (root == kHkeyClassesRoot)
        return "HKCR";
    return nullptr;
}

RegHandle RootFromName(const std::string& name)
{
    const std::string upper = Upper(name);
    if (upper == "HKLM" || upper == "HKEY_LOCAL_MACHINE")
        return kHkeyLocalMachine;
    if (upper == "HKCU" || upper == "HKEY_CURRENT_USER")
        return kHkeyCurrentUser;
    if (upper == "HKCR" || upper == "HKEY_CLASSES_ROOT")
        return kHkeyClassesRoot;
    return 0;
}
} // namespace

CMemoryRegistry::CMemoryRegistry()
{
    for (RegHandle root : {kHkeyClassesRoot, kHkeyCurrentUser, kHkeyLocalMachine})
    {
        auto node = std::make_unique<Node>();
        node->name = RootName(root);
        m_roots[root] = std::move(node);
    }
}

CMemoryRegistry::Node* CMemoryRegistry::NodeFor(RegHandle key, std::string* path) const
{
    auto root = m_roots.find(key);
    if (root != m_roots.end())
    {
        if (path)
            *path = root->second->name;
        return root->second.get();
    }
    auto open = m_handles.find(key);
    if (open == m_handles.end())
        return nullptr;
    if (path)
        *path = open->second.path;
    return open->second.node;
}

CMemoryRegistry::Node* CMemoryRegistry::Resolve(RegHandle parent, const char* subKey, std::uint32_t access, bool create,
                                                bool& created, std::string& path)
{
    created = false;
    Node* node = NodeFor(parent, &path);
    if (node == nullptr)
        return nullptr;
    std::vector<std::string> parts = SplitPath(subKey ? subKey : "");
    // A 64-bit process sees the 32-bit view of HKLM\Software under Wow6432Node.
    if (parent == kHkeyLocalMachine && (access & kKeyWow64_32Key) && !parts.empty() && Upper(parts[0]) == "SOFTWARE" &&
        (parts.size() < 2 || Upper(parts[1]) != "WOW6432NODE"))
        parts.insert(parts.begin() + 1, "Wow6432Node");
    for (const std::string& part : parts)
    {
        auto child = node->children.find(Upper(part));
        if (child == node->children.end())
        {
            if (!create)
                return nullptr;
            auto fresh = std::make_unique<Node>();
            fresh->name = part;
            child = node->children.emplace(Upper(part), std::move(fresh)).first;
            created = true;
        }
        node = child->second.get();
        path += "\\" + node->name;
    }
    return node;
}

RegHandle CMemoryRegistry::NewHandle(Node* node, const std::string& path)
{
    const RegHandle handle = m_nextHandle;
    m_nextHandle += 4;
    m_handles[handle] = OpenKeyEntry{node, path};
    return handle;
}

RegResult CMemoryRegistry::OpenKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key)
{
    bool created = false;
    std::string path;
    Node* node = Resolve(parent, subKey, access, false, created, path);
    m_calls.push_back("open " + path);
    if (NodeFor(parent) == nullptr)
        return kRegInvalidHandle;
    if (node == nullptr)
        return kRegFileNotFound;
    key = NewHandle(node, path);
    return kRegOk;
}

RegResult CMemoryRegistry::CreateKey(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                     std::uint32_t* disposition)
{
    bool created = false;
    std::string path;
    Node* node = Resolve(parent, subKey, access, true, created, path);
    m_calls.push_back("create " + path);
    if (node == nullptr)
        return kRegInvalidHandle;
    if (disposition)
        *disposition = created ? 1u : 2u; // REG_CREATED_NEW_KEY, REG_OPENED_EXISTING_KEY
    key = NewHandle(node, path);
    return kRegOk;
}

RegResult CMemoryRegistry::CloseKey(RegHandle key)
{
    auto open = m_handles.find(key);
    if (open == m_handles.end())
        return kRegInvalidHandle;
    m_calls.push_back("close " + open->second.path);
    m_handles.erase(open);
    return kRegOk;
}

RegResult CMemoryRegistry::QueryValueCount(RegHandle key, std::uint32_t& count)
{
    Node* node = NodeFor(key);
    if (node == nullptr)
        return kRegInvalidHandle;
    count = static_cast<std::uint32_t>(node->values.size());
    return kRegOk;
}

RegResult CMemoryRegistry::EnumValue(RegHandle key, std::uint32_t index, char* name, std::uint32_t* nameSize,
                                     std::uint32_t* type, std::uint8_t* data, std::uint32_t* dataSize)
{
    Node* node = NodeFor(key);
    if (node == nullptr)
        return kRegInvalidHandle;
    if (index >= node->values.size())
        return kRegNoMoreItems;
    const Value& value = std::next(node->values.begin(), index)->second;
    if (name == nullptr || nameSize == nullptr)
        return kRegInvalidParameter;
    if (*nameSize <= value.name.size())
        return kRegMoreData;
    std::copy(value.name.begin(), value.name.end(), name);
    name[value.name.size()] = '\0';
    *nameSize = static_cast<std::uint32_t>(value.name.size());
    if (type)
        *type = value.type;
    const auto length = static_cast<std::uint32_t>(value.data.size());
    if (data != nullptr)
    {
        if (dataSize == nullptr)
            return kRegInvalidParameter;
        if (*dataSize < length)
        {
            *dataSize = length;
            return kRegMoreData;
        }
        std::copy(value.data.begin(), value.data.end(), data);
    }
    if (dataSize)
        *dataSize = length;
    return kRegOk;
}

RegResult CMemoryRegistry::QueryValue(RegHandle key, const char* name, std::uint32_t* type, std::uint8_t* data,
                                      std::uint32_t* size)
{
    Node* node = NodeFor(key);
    if (node == nullptr)
        return kRegInvalidHandle;
    auto value = node->values.find(Upper(name ? name : ""));
    if (value == node->values.end())
        return kRegFileNotFound;
    const auto length = static_cast<std::uint32_t>(value->second.data.size());
    if (type)
        *type = value->second.type;
    if (data != nullptr)
    {
        if (size == nullptr)
            return kRegInvalidParameter;
        if (*size < length)
        {
            *size = length;
            return kRegMoreData;
        }
        std::copy(value->second.data.begin(), value->second.data.end(), data);
    }
    if (size)
        *size = length;
    return kRegOk;
}

RegResult CMemoryRegistry::SetValue(RegHandle key, const char* name, std::uint32_t type, const std::uint8_t* data,
                                    std::uint32_t size)
{
    Node* node = NodeFor(key);
    if (node == nullptr)
        return kRegInvalidHandle;
    Value& value = node->values[Upper(name ? name : "")];
    if (value.name.empty())
        value.name = name ? name : "";
    value.type = type;
    value.data.clear();
    if (data != nullptr)
        value.data.assign(data, data + size);
    return kRegOk;
}

RegResult CMemoryRegistry::DeleteValue(RegHandle key, const char* name)
{
    Node* node = NodeFor(key);
    if (node == nullptr)
        return kRegInvalidHandle;
    return node->values.erase(Upper(name ? name : "")) ? kRegOk : kRegFileNotFound;
}

RegResult CMemoryRegistry::DeleteKey(RegHandle parent, const char* subKey, std::uint32_t viewFlags)
{
    std::string parentPath;
    if (NodeFor(parent, &parentPath) == nullptr)
        return kRegInvalidHandle;
    std::vector<std::string> parts = SplitPath(subKey ? subKey : "");
    if (parts.empty())
        return kRegAccessDenied;
    const std::string leaf = parts.back();
    parts.pop_back();
    std::string parentSub;
    for (const std::string& part : parts)
        parentSub += (parentSub.empty() ? "" : "\\") + part;
    bool created = false;
    std::string path;
    Node* owner = Resolve(parent, parentSub.c_str(), viewFlags, false, created, path);
    m_calls.push_back("delete " + path + "\\" + leaf);
    if (owner == nullptr)
        return kRegFileNotFound;
    auto child = owner->children.find(Upper(leaf));
    if (child == owner->children.end())
        return kRegFileNotFound;
    if (!child->second->children.empty())
        return kRegAccessDenied;
    for (auto it = m_handles.begin(); it != m_handles.end();)
        it = it->second.node == child->second.get() ? m_handles.erase(it) : std::next(it);
    owner->children.erase(child);
    return kRegOk;
}

RegResult CMemoryRegistry::OpenKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access, RegHandle& key,
                                             std::uintptr_t)
{
    if (!m_transactedAvailable)
        return kRegNotAvailable;
    m_calls.emplace_back("transacted");
    return OpenKey(parent, subKey, access, key);
}

RegResult CMemoryRegistry::CreateKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t access,
                                               RegHandle& key, std::uint32_t* disposition, std::uintptr_t)
{
    if (!m_transactedAvailable)
        return kRegNotAvailable;
    m_calls.emplace_back("transacted");
    return CreateKey(parent, subKey, access, key, disposition);
}

RegResult CMemoryRegistry::DeleteKeyTransacted(RegHandle parent, const char* subKey, std::uint32_t viewFlags,
                                               std::uintptr_t)
{
    if (!m_transactedAvailable)
        return kRegNotAvailable;
    m_calls.emplace_back("transacted");
    return DeleteKey(parent, subKey, viewFlags);
}

CMemoryRegistry::Node* CMemoryRegistry::FindPath(const std::string& path) const
{
    std::vector<std::string> parts = SplitPath(path);
    if (parts.empty())
        return nullptr;
    auto root = m_roots.find(RootFromName(parts[0]));
    if (root == m_roots.end())
        return nullptr;
    Node* node = root->second.get();
    for (std::size_t i = 1; i < parts.size() && node; ++i)
    {
        auto child = node->children.find(Upper(parts[i]));
        node = child == node->children.end() ? nullptr : child->second.get();
    }
    return node;
}

CMemoryRegistry::Node& CMemoryRegistry::MakePath(const std::string& path)
{
    std::vector<std::string> parts = SplitPath(path);
    Node* node = m_roots.at(RootFromName(parts.at(0))).get();
    for (std::size_t i = 1; i < parts.size(); ++i)
    {
        auto& child = node->children[Upper(parts[i])];
        if (!child)
        {
            child = std::make_unique<Node>();
            child->name = parts[i];
        }
        node = child.get();
    }
    return *node;
}

void CMemoryRegistry::SetString(const std::string& path, const std::string& name, const std::string& text)
{
    std::vector<std::uint8_t> data(text.begin(), text.end());
    data.push_back(0);
    SetRaw(path, name, kRegSz, std::move(data));
}

void CMemoryRegistry::SetDword(const std::string& path, const std::string& name, std::uint32_t value)
{
    std::vector<std::uint8_t> data(4);
    std::memcpy(data.data(), &value, 4);
    SetRaw(path, name, kRegDword, std::move(data));
}

void CMemoryRegistry::SetRaw(const std::string& path, const std::string& name, std::uint32_t type,
                             std::vector<std::uint8_t> data)
{
    MakePath(path).values[Upper(name)] = Value{type, std::move(data), name};
}

bool CMemoryRegistry::HasKey(const std::string& path) const
{
    return FindPath(path) != nullptr;
}

const CMemoryRegistry::Value* CMemoryRegistry::FindValue(const std::string& path, const std::string& name) const
{
    const Node* node = FindPath(path);
    if (node == nullptr)
        return nullptr;
    auto value = node->values.find(Upper(name));
    return value == node->values.end() ? nullptr : &value->second;
}
