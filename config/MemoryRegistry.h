#pragma once
// An in-memory registry behind IRegistry, with the three predefined roots, case-insensitive key and value names and
// the 32-bit view of HKEY_LOCAL_MACHINE\Software redirected under Wow6432Node as on 64-bit Windows. It is where the
// portable code runs when there is no system registry (tests, fuzzing, tools), and it records the calls made.

#include "config/IRegistry.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

class CMemoryRegistry : public IRegistry
{
public:
    struct Value
    {
        std::uint32_t type = 0;
        std::vector<std::uint8_t> data;
        std::string name; // as it was first written
    };

    CMemoryRegistry();

    // EnumValue lists values in the order of their upper-cased names, as Wine lists them.
    LVBHO_IREGISTRY_OVERRIDES

    // Direct access for arranging and checking, by full path ("HKLM\Software\Kavrin\Lumivar", "HKCU\...").
    void SetString(const std::string& path, const std::string& name, const std::string& text);
    void SetDword(const std::string& path, const std::string& name, std::uint32_t value);
    void SetRaw(const std::string& path, const std::string& name, std::uint32_t type, std::vector<std::uint8_t> data);
    bool HasKey(const std::string& path) const;
    const Value* FindValue(const std::string& path, const std::string& name) const;

    // With transactions "available", the transacted calls act as the plain ones (and are logged as such);
    // otherwise they answer kRegNotAvailable, as on a system that lacks them.
    void SetTransactedAvailable(bool available) { m_transactedAvailable = available; }
    // Every call, in order: "open HKLM\Software\X", "close HKLM\Software\X", "create ...", "delete ...".
    const std::vector<std::string>& Calls() const { return m_calls; }
    std::size_t OpenHandleCount() const { return m_handles.size(); }

private:
    struct Node
    {
        std::string name;
        std::map<std::string, std::unique_ptr<Node>> children; // by upper-cased name
        std::map<std::string, Value> values;                   // by upper-cased name
    };

    Node* Resolve(RegHandle parent, const char* subKey, std::uint32_t access, bool create, bool& created,
                  std::string& path);
    Node* NodeFor(RegHandle key, std::string* path = nullptr) const;
    Node* FindPath(const std::string& path) const;
    Node& MakePath(const std::string& path);
    RegHandle NewHandle(Node* node, const std::string& path);

    std::map<RegHandle, std::unique_ptr<Node>> m_roots;
    struct OpenKeyEntry
    {
        Node* node;
        std::string path;
    };
    std::map<RegHandle, OpenKeyEntry> m_handles;
    RegHandle m_nextHandle = 0x1000;
    bool m_transactedAvailable = false;
    std::vector<std::string> m_calls;
};
