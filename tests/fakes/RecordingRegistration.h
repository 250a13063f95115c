#pragma once
// Records the registration operations in the order they are called.

#include "registration/IRegistrationOperations.h"

#include <string>
#include <vector>

class CRecordingRegistration : public IRegistrationOperations
{
public:
    int RegisterNativeApp(const std::string& extensionId) override
    {
        return Record("RegisterNativeApp(" + extensionId + ")");
    }
    int UnRegisterNativeApp() override { return Record("UnRegisterNativeApp"); }
    int RegisterChromeGPO() override { return Record("RegisterChromeGPO"); }
    int UnRegisterChromeGPO() override { return Record("UnRegisterChromeGPO"); }
    int RegisterFFBHO() override { return Record("RegisterFFBHO"); }
    int UnRegisterFFBHO() override { return Record("UnRegisterFFBHO"); }
    int InstallChromeBHO() override { return Record("InstallChromeBHO"); }
    int CheckBHOInstalled() override { return Record("CheckBHOInstalled"); }
    int RegisterChromeBHO(int reg) override { return Record("RegisterChromeBHO(" + std::to_string(reg) + ")"); }

    // Shared with the platform double, so that COM calls and operations land in one sequence.
    std::vector<std::string>* m_calls = &m_ownCalls;

private:
    int Record(const std::string& call)
    {
        m_calls->push_back(call);
        return 0; // the entry must not look at it
    }
    std::vector<std::string> m_ownCalls;
};
