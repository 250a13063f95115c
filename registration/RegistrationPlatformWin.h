#pragma once
// Registration's operating-system side: the current directory, files, the user's folders and language, Chrome
// and the local Group Policy object.

#include "registration/IRegistrationPlatform.h"

class CRegistrationPlatformWin : public IRegistrationPlatform
{
public:
    std::string CurrentDirectory() override;
    bool WriteFile(const std::string& name, const std::string& text) override;
    bool LocalAppDataFolder(std::string& path) override;
    std::vector<FolderEntry> ListFolder(const std::string& path) override;
    std::string PreferredUiLanguage() override;
    void OpenInChrome(const std::string& address) override;
    std::unique_ptr<IPolicyStore> CreatePolicyStore() override;
};
