#pragma once
// The registration operations where this build has none: every operation reports failure (0), which the entry
// does not look at, so a switch still keeps the host out of the message loop and exits 0.

#include "registration/IRegistrationOperations.h"

class CUnavailableRegistration : public IRegistrationOperations
{
public:
    int RegisterNativeApp(const std::string&) override { return 0; }
    int UnRegisterNativeApp() override { return 0; }
    int RegisterChromeGPO() override { return 0; }
    int UnRegisterChromeGPO() override { return 0; }
    int RegisterFFBHO() override { return 0; }
    int UnRegisterFFBHO() override { return 0; }
    int InstallChromeBHO() override { return 0; }
    int CheckBHOInstalled() override { return 0; }
    int RegisterChromeBHO(int) override { return 0; }
};
