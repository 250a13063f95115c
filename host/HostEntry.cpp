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

// The registration switches, in their fixed order. In an either/or group the first switch wins over the second;
// a group that ends the process ends it after its own work; the Group Policy object needs a COM apartment.
struct SwitchGroup
{
    const char* on;
    const char* off; // nullptr: a switch of its own
    bool apartment;
    bool exitsAtOnce;
    void (*run)(IRegistrationOperations& registration, bool on);
};

constexpr SwitchGroup kSwitchGroups[] = {
    {"RegisterNativeApp", "UnRegisterNativeApp", false, false,
     [](IRegistrationOperations& r, bool on) { on ? r.RegisterNativeApp(std::string()) : r.UnRegisterNativeApp(); }},
    {"RegisterChromeGPO", "UnRegisterChromeGPO", true, false,
     [](IRegistrationOperations& r, bool on) { on ? r.RegisterChromeGPO() : r.UnRegisterChromeGPO(); }},
    {"RegisterFFBHO", "UnRegisterFFBHO", false, false,
     [](IRegistrationOperations& r, bool on) { on ? r.RegisterFFBHO() : r.UnRegisterFFBHO(); }},
    {"InstallChromeBHO", nullptr, false, true, [](IRegistrationOperations& r, bool) { r.InstallChromeBHO(); }},
    {"CheckBHOInstalled", nullptr, false, true, [](IRegistrationOperations& r, bool) { r.CheckBHOInstalled(); }},
    {"RegisterChromeBHO", "UnRegisterChromeBHO", false, false,
     [](IRegistrationOperations& r, bool on) { r.RegisterChromeBHO(on ? 1 : 0); }},
};

// Runs the switches the command line names. False when it names none: the process is the browser's host then.
bool RunRegistrationSwitches(IHostPlatform& platform, const CCmdLineParser& parser,
                             const RegistrationFor& registrationFor, const ProductInfo& product)
{
    IRegistrationOperations* registration = nullptr;
    for (const SwitchGroup& group : kSwitchGroups)
    {
        const bool on = parser.HasKey(group.on);
        if (!on && !(group.off && parser.HasKey(group.off)))
            continue;
        if (!registration)
            registration = &registrationFor(product);
        if (group.apartment)
            WithApartment(platform, [&] { group.run(*registration, on); });
        else
            group.run(*registration, on);
        if (group.exitsAtOnce)
            break;
    }
    return registration != nullptr;
}
} // namespace

int RunHostEntry(IHostPlatform& platform, IRegistry& registry, const HostModes& modes, ProcessValues& values)
{
    if (!platform.HasModuleHandle())
    {
        platform.WriteRawOutput("Fatal Error: GetModuleHandle failed\n");
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

    if (RunRegistrationSwitches(platform, parser, modes.registrationFor, values.product))
        return 0;

    values.chromeImmersive = IsProcessImmersive(platform.ImmersiveQuery(), "chrome.exe");

    const bool owed = platform.ComInitialize(true);
    modes.runMessaging(values);
    if (owed)
        platform.ComUninitialize();
    return 0;
}
