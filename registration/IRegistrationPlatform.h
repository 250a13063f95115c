#pragma once
// What registration needs from the operating system besides the registry.

#include "registration/IPolicyStore.h"

#include <memory>
#include <string>
#include <vector>

struct FolderEntry
{
    std::string name;
    bool isFolder = false;
};

class IRegistrationPlatform
{
public:
    virtual ~IRegistrationPlatform() = default;
    // GetCurrentDirectoryA: the installer starts the host in its install folder.
    virtual std::string CurrentDirectory() = 0;
    // Creates or truncates the file `name` in the current directory and writes `text`; false when it cannot.
    [[nodiscard]] virtual bool WriteFile(const std::string& name, const std::string& text) = 0;
    // The user's local application data folder; false when it cannot be resolved.
    [[nodiscard]] virtual bool LocalAppDataFolder(std::string& path) = 0;
    // The entries of `path` ("." and ".." included, as the system lists them); empty when it cannot be read.
    virtual std::vector<FolderEntry> ListFolder(const std::string& path) = 0;
    // The user's first preferred user interface language ("en-US"), or empty.
    virtual std::string PreferredUiLanguage() = 0;
    // Starts Chrome, maximised, with `address` as its argument; the outcome is not looked at.
    virtual void OpenInChrome(const std::string& address) = 0;
    // A new handle to the local Group Policy object.
    virtual std::unique_ptr<IPolicyStore> CreatePolicyStore() = 0;
};
