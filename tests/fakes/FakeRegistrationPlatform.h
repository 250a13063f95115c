#pragma once
// Registration's platform in memory: a current directory, written files, a folder tree, a language, the addresses
// Chrome was started with, and a policy store whose machine section is a key of the in-memory registry.

#include "config/MemoryRegistry.h"
#include "config/RegKey.h"
#include "registration/IRegistrationPlatform.h"

#include <map>
#include <set>
#include <string>
#include <vector>

class CFakePolicyStore : public IPolicyStore
{
public:
    CFakePolicyStore(IRegistry& registry, std::vector<std::string>& saves, bool opens, bool saveWorks)
        : m_key(registry), m_saves(saves), m_opens(opens), m_saveWorks(saveWorks)
    {
    }
    bool OpenMachinePolicy() override { return m_opens && m_key.Create(kHkeyCurrentUser, kMachineSection) == kRegOk; }
    RegHandle MachineKey() override { return m_key.Handle(); }
    bool Save(const char* toolGuid) override
    {
        m_saves.push_back(toolGuid);
        return m_saveWorks;
    }

    static constexpr const char* kMachineSection = "Software\\FakeGPO\\Machine";

private:
    CRegKey m_key;
    std::vector<std::string>& m_saves;
    bool m_opens;
    bool m_saveWorks;
};

class CFakeRegistrationPlatform : public IRegistrationPlatform
{
public:
    explicit CFakeRegistrationPlatform(IRegistry& registry) : m_registry(registry) {}

    std::string CurrentDirectory() override { return m_currentDirectory; }
    bool WriteFile(const std::string& name, const std::string& text) override
    {
        if (!m_filesWritable)
            return false;
        m_files[m_currentDirectory + "\\" + name] = text;
        return true;
    }
    bool LocalAppDataFolder(std::string& path) override
    {
        path = m_localAppData;
        return !m_localAppData.empty();
    }
    std::vector<FolderEntry> ListFolder(const std::string& path) override
    {
        m_listed.push_back(path);
        std::vector<FolderEntry> entries;
        if (m_folders.count(path) == 0)
            return entries;
        entries.push_back({".", true});
        entries.push_back({"..", true});
        const std::string prefix = path + "\\";
        for (const std::string& folder : m_folders)
            if (folder.size() > prefix.size() && folder.compare(0, prefix.size(), prefix) == 0 &&
                folder.find('\\', prefix.size()) == std::string::npos)
                entries.push_back({folder.substr(prefix.size()), true});
        for (const std::string& file : m_treeFiles)
            if (file.size() > prefix.size() && file.compare(0, prefix.size(), prefix) == 0 &&
                file.find('\\', prefix.size()) == std::string::npos)
                entries.push_back({file.substr(prefix.size()), false});
        return entries;
    }
    std::string PreferredUiLanguage() override { return m_language; }
    void OpenInChrome(const std::string& address) override { m_opened.push_back(address); }
    std::unique_ptr<IPolicyStore> CreatePolicyStore() override
    {
        return std::make_unique<CFakePolicyStore>(m_registry, m_saves, m_policyOpens, m_saveWorks);
    }

    // Adds a folder and every folder above it.
    void AddFolder(const std::string& path)
    {
        for (std::size_t at = path.find('\\'); at != std::string::npos; at = path.find('\\', at + 1))
            m_folders.insert(path.substr(0, at));
        m_folders.insert(path);
    }

    std::string m_currentDirectory = "C:\\Program Files\\Lumivar";
    bool m_filesWritable = true;
    std::map<std::string, std::string> m_files;
    std::string m_localAppData = "C:\\users\\u\\AppData\\Local";
    std::set<std::string> m_folders;
    std::set<std::string> m_treeFiles;
    std::vector<std::string> m_listed;
    std::string m_language = "en-US";
    std::vector<std::string> m_opened;
    bool m_policyOpens = true;
    bool m_saveWorks = true;
    std::vector<std::string> m_saves;

private:
    IRegistry& m_registry;
};
