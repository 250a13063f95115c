#pragma once
// What the registration switches do. Each returns 1 for success and 0 for failure; the entry does not look at it.

#include <string>

class IRegistrationOperations
{
public:
    virtual ~IRegistrationOperations() = default;
    // The Chrome host manifest and its key, then the Firefox ones. An empty id lets the edition choose.
    virtual int RegisterNativeApp(const std::string& extensionId) = 0;
    virtual int UnRegisterNativeApp() = 0;
    // The Chrome force-install policy; called between CoInitialize and CoUninitialize.
    virtual int RegisterChromeGPO() = 0;
    virtual int UnRegisterChromeGPO() = 0;
    virtual int RegisterFFBHO() = 0;
    virtual int UnRegisterFFBHO() = 0;
    virtual int InstallChromeBHO() = 0;
    virtual int CheckBHOInstalled() = 0;
    // 1 registers the Chrome external extension, 0 unregisters it.
    virtual int RegisterChromeBHO(int reg) = 0;
};
