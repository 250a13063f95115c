#include "host/HostEntry.h"

#include "config/ProductSettings.h"
#include "host/CmdLineParser.h"

namespace
{
// Runs `work` between CoInitialize and CoUninitialize.
template <typename Work>
void WithApartment(IHostPlatform& platform, Work work)
{
    const bool owed = platform.ComInitialize(false);
    work();
    if (owed)
        platform.ComUninitialize();
}

// The switch groups, in their fixed order. Returns true when the process is to exit at once.
bool RunRegistrationSwitches(IHostPlatform& platform, const CCmdLineParser& parser,
                             IRegistrationOperations& registration, bool& anySwitch)
{
    // In each either/or group the register switch wins over the unregister switch.
    if (parser.HasKey("RegisterNativeApp"))
    {
        anySwitch = true;
        registration.RegisterNativeApp(std::string());
    }
    else if (parser.HasKey("UnRegisterNativeApp"))
    {
        anySwitch = true;
        registration.UnRegisterNativeApp();
    }

    if (parser.HasKey("RegisterChromeGPO"))
    {
        anySwitch = true;
        WithApartment(platform, [&] { registration.RegisterChromeGPO(); });
    }
    else if (parser.HasKey("UnRegisterChromeGPO"))
    {
        anySwitch = true;
        WithApartment(platform, [&] { registration.UnRegisterChromeGPO(); });
    }

    if (parser.HasKey("RegisterFFBHO"))
    {
        anySwitch = true;
        registration.RegisterFFBHO();
    }
    else if (parser.HasKey("UnRegisterFFBHO"))
    {
        anySwitch = true;
        registration.UnRegisterFFBHO();
    }

    if (parser.HasKey("InstallChromeBHO"))
    {
        registration.InstallChromeBHO();
        return true;
    }
    if (parser.HasKey("CheckBHOInstalled"))
    {
        registration.CheckBHOInstalled();
        return true;
    }

    if (parser.HasKey("RegisterChromeBHO"))
    {
        anySwitch = true;
        registration.RegisterChromeBHO(1);
    }
    else if (parser.HasKey("UnRegisterChromeBHO"))
    {
        anySwitch = true;
        registration.RegisterChromeBHO(0);
    }
    return false;
}
} // namespace

int RunHostEntry(IHostPlatform& platform, IRegistry& registry, IRegistrationOperations& registration,
                 ProcessValues& values)
{
    if (!platform.HasModuleHandle())
    {
        platform.WriteRawOutput("Fatal Error: GetModuleHandle failed\n");
        return 1;
    }
    if (!platform.InitFramework())
    {
        platform.WriteRawOutput("Fatal Error: MFC initialization failed\n");
        return 1;
    }
    platform.SetSystemDefaultThreadLocale();

    const std::string commandLine = platform.CommandLine();
    const CCmdLineParser parser(commandLine.c_str(), false);

    // Looked for before any switch: registration needs an installed product too.
    CProductSettings settings(registry);
    if (!settings.Load(values.product))
    {
        platform.WriteRawOutput(kNotInstalledMessage);
        return 0;
    }

    bool anySwitch = false;
    if (RunRegistrationSwitches(platform, parser, registration, anySwitch))
        return 0;
    if (anySwitch)
        return 0;

    values.chromeImmersive = IsProcessImmersive(platform.ImmersiveQuery(), "chrome.exe");

    const bool owed = platform.ComInitialize(true);
    platform.RunMainHandler(values);
    if (owed)
        platform.ComUninitialize();
    return 0;
}
