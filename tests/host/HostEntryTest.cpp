#include "host/HostEntry.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeHostPlatform.h"
#include "tests/fakes/RecordingRegistration.h"

#include <gtest/gtest.h>

namespace
{
struct EntryRun
{
    explicit EntryRun(const std::string& arguments, bool installed = true)
    {
        if (installed)
        {
            registry.SetString("HKLM\\Software\\Kavrin\\Lumivar", "InstallDir", "C:\\Lumivar\\");
            registry.SetDword("HKLM\\Software\\Kavrin\\Lumivar", "OEM", 55);
        }
        platform.m_commandLine = "\"C:\\Lumivar\\LVBHOHost.exe\" " + arguments;
        registration.m_calls = &platform.m_calls;
    }

    int Run()
    {
        const HostModes modes{[this](const ProductInfo& product) -> IRegistrationOperations& {
                                  madeFor.push_back(product.oem);
                                  return registration;
                              },
                              [this](ProcessValues& seen) {
                                  platform.m_calls.push_back("MainHandler");
                                  valuesSeen = seen;
                              }};
        return RunHostEntry(platform, registry, modes, values);
    }

    // The calls after the thread locale was set.
    std::vector<std::string> Work() const
    {
        return std::vector<std::string>(platform.m_calls.begin() + 1, platform.m_calls.end());
    }

    CMemoryRegistry registry;
    CFakeHostPlatform platform;
    CRecordingRegistration registration;
    ProcessValues values;
    ProcessValues valuesSeen; // what messaging mode was given
    std::vector<int> madeFor; // the edition of each product the registration was made for
};

using Calls = std::vector<std::string>;
} // namespace

TEST(HostEntryTest, NoSwitchRunsTheMessageLoopInTheMultithreadedApartment)
{
    EntryRun run("chrome-extension://abcdefghijklmnopabcdefghijklmnop/");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ((Calls{"SetThreadLocale", "CoInitializeEx", "MainHandler", "CoUninitialize"}), run.platform.m_calls);
    EXPECT_EQ("", run.platform.m_output);
    EXPECT_EQ(55, run.valuesSeen.product.oem);
}

TEST(HostEntryTest, NotInstalledPrintsTheMessageAndExitsZeroInEveryMode)
{
    for (const char* arguments :
         {"", "-RegisterNativeApp", "-InstallChromeBHO", "-CheckBHOInstalled", "chrome-extension://x/"})
    {
        EntryRun run(arguments, false);

        EXPECT_EQ(0, run.Run()) << arguments;

        EXPECT_EQ("Lumivar not found", run.platform.m_output) << arguments;
        EXPECT_EQ((Calls{"SetThreadLocale"}), run.platform.m_calls) << arguments;
    }
}

TEST(HostEntryTest, MissingModuleHandleIsFatal)
{
    EntryRun run("");
    run.platform.m_hasModuleHandle = false;

    EXPECT_EQ(1, run.Run());

    EXPECT_EQ("Fatal Error: GetModuleHandle failed\n", run.platform.m_output);
    EXPECT_TRUE(run.platform.m_calls.empty());
}

TEST(HostEntryTest, TheRegistrationIsMadeOnceForTheProductJustLoaded)
{
    EntryRun run("-RegisterNativeApp -RegisterFFBHO");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ(std::vector<int>{55}, run.madeFor);
}

TEST(HostEntryTest, WithoutASwitchNoRegistrationIsMade)
{
    EntryRun run("chrome-extension://abc/");

    EXPECT_EQ(0, run.Run());

    EXPECT_TRUE(run.madeFor.empty());
}

TEST(HostEntryTest, RegisterAndUnregisterNativeAppTogetherRegisterOnly)
{
    EntryRun run("-RegisterNativeApp -UnRegisterNativeApp");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ((Calls{"RegisterNativeApp()"}), run.Work());
}

TEST(HostEntryTest, EachUnregisterSwitchAlone)
{
    EXPECT_EQ((Calls{"UnRegisterNativeApp"}), [] {
        EntryRun r("/UnRegisterNativeApp");
        r.Run();
        return r.Work();
    }());
    EXPECT_EQ((Calls{"CoInitialize", "UnRegisterChromeGPO", "CoUninitialize"}), [] {
        EntryRun r("-UnRegisterChromeGPO");
        r.Run();
        return r.Work();
    }());
    EXPECT_EQ((Calls{"UnRegisterFFBHO"}), [] {
        EntryRun r("-UnRegisterFFBHO");
        r.Run();
        return r.Work();
    }());
    EXPECT_EQ((Calls{"RegisterChromeBHO(0)"}), [] {
        EntryRun r("-UnRegisterChromeBHO");
        r.Run();
        return r.Work();
    }());
}

TEST(HostEntryTest, ChromePolicyRunsInsideItsOwnApartment)
{
    EntryRun run("-RegisterChromeGPO");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ((Calls{"CoInitialize", "RegisterChromeGPO", "CoUninitialize"}), run.Work());
}

TEST(HostEntryTest, FirefoxThenChromeInstallExitsBeforeChromeRegistration)
{
    EntryRun run("-RegisterFFBHO -InstallChromeBHO -RegisterChromeBHO");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ((Calls{"RegisterFFBHO", "InstallChromeBHO"}), run.Work());
}

TEST(HostEntryTest, CheckInstalledExitsAtOnce)
{
    EntryRun run("-CheckBHOInstalled -RegisterChromeBHO");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ((Calls{"CheckBHOInstalled"}), run.Work());
}

TEST(HostEntryTest, InstallWinsOverCheck)
{
    EntryRun run("-CheckBHOInstalled -InstallChromeBHO");

    run.Run();

    EXPECT_EQ((Calls{"InstallChromeBHO"}), run.Work());
}

TEST(HostEntryTest, AllGroupsCombineInTheirFixedOrder)
{
    EntryRun run("/RegisterChromeBHO /RegisterFFBHO /RegisterChromeGPO /RegisterNativeApp");

    EXPECT_EQ(0, run.Run());

    EXPECT_EQ((Calls{"RegisterNativeApp()", "CoInitialize", "RegisterChromeGPO", "CoUninitialize", "RegisterFFBHO",
                     "RegisterChromeBHO(1)"}),
              run.Work());
}

TEST(HostEntryTest, SwitchesAreFoundWhateverTheirCase)
{
    EntryRun run("-registerffbho");

    run.Run();

    EXPECT_EQ((Calls{"RegisterFFBHO"}), run.Work());
}

TEST(HostEntryTest, OtherKeysEnterTheMessageLoop)
{
    EntryRun run("-Register -verbose /x:1");

    run.Run();

    EXPECT_EQ((Calls{"CoInitializeEx", "MainHandler", "CoUninitialize"}), run.Work());
}

TEST(HostEntryTest, FirefoxArgumentsEnterTheMessageLoop)
{
    EntryRun run("C:\\Lumivar\\lvbhohost-firefox.json lumivar@kavrin.com");

    run.Run();

    EXPECT_EQ((Calls{"CoInitializeEx", "MainHandler", "CoUninitialize"}), run.Work());
}

TEST(HostEntryTest, WhatBrowsersOnLinuxPassUnderWineEntersTheMessageLoop)
{
    // Firefox passes the manifest's absolute path (slashes the parser reads as delimiters) and the add-on id;
    // Chromium passes the origin. Neither may read as a registration switch.
    for (const char* arguments :
         {"/tmp/lvbho-e2e-Ab12/home/.mozilla/native-messaging-hosts/com.mozilla.firefox.lvbhohost.json "
          "lvbho-e2e@tests.lumivar.invalid",
          "/home/user/.mozilla/native-messaging-hosts/com.mozilla.firefox.lvbhohost.json EdHalo_ffext@lvbho",
          "chrome-extension://cphjhdedolkgfceajmkojeaodaoebfeg/"})
    {
        EntryRun run(arguments);

        EXPECT_EQ(0, run.Run());

        EXPECT_EQ((Calls{"CoInitializeEx", "MainHandler", "CoUninitialize"}), run.Work()) << arguments;
    }
}

TEST(HostEntryTest, ImmersiveChromeIsRecordedBeforeTheLoop)
{
    EntryRun run("");
    run.platform.m_immersive.m_processes = {{4, "explorer.exe"}, {8, "chrome.exe"}};
    run.platform.m_immersive.m_immersiveIds = {8};

    run.Run();

    EXPECT_TRUE(run.valuesSeen.chromeImmersive);
}

TEST(HostEntryTest, RegistrationDoesNotLookForImmersiveProcesses)
{
    EntryRun run("-RegisterFFBHO");
    run.platform.m_immersive.m_processes = {{8, "chrome.exe"}};

    run.Run();

    EXPECT_TRUE(run.platform.m_immersive.m_asked.empty());
}
