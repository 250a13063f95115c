#include "corelink/ProcessQueryWin.h"

#include "config/MemoryRegistry.h"
#include "corelink/UpdateGuard.h"

#include <gtest/gtest.h>
#include <objbase.h>
#include <windows.h>

namespace
{
// COM for the calling thread, as the host's main thread has it.
struct ComScope
{
    ComScope() : ok(SUCCEEDED(::CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}
    ~ComScope()
    {
        if (ok)
            ::CoUninitialize();
    }
    bool ok;
};

std::string OwnExeName()
{
    char path[MAX_PATH] = {};
    ::GetModuleFileNameA(nullptr, path, MAX_PATH);
    const std::string full(path);
    return full.substr(full.find_last_of("\\/") + 1);
}
} // namespace

TEST(ProcessQueryWinTest, TheScanFindsASystemProcessByPartOfItsNameInAnyCase)
{
    CProcessQueryWin processes;

    EXPECT_NE(0u, processes.FindProcessByName("SERVICES.EXE"));
    EXPECT_NE(0u, processes.FindProcessByName("rvices.e"));
}

TEST(ProcessQueryWinTest, TheScanNeverFindsTheCallingProcess)
{
    CProcessQueryWin processes;

    EXPECT_NE(::GetCurrentProcessId(), processes.FindProcessByName(OwnExeName().c_str()));
}

TEST(ProcessQueryWinTest, AMissingProcessIsZero)
{
    CProcessQueryWin processes;

    EXPECT_EQ(0u, processes.FindProcessByName("no-such-process-here.exe"));
}

TEST(ProcessQueryWinTest, TheImagePathComesInDeviceForm)
{
    CProcessQueryWin processes;
    std::string path;

    ASSERT_TRUE(processes.ProcessImagePath(::GetCurrentProcessId(), path));

    EXPECT_EQ(0u, path.find("\\Device\\"));
    EXPECT_NE(std::string::npos, path.find(OwnExeName()));
}

TEST(ProcessQueryWinTest, TheImagePathOfAMissingProcessCannotBeRead)
{
    CProcessQueryWin processes;
    std::string path;

    EXPECT_FALSE(processes.ProcessImagePath(0xFFFFFFF0, path));
}

TEST(ProcessQueryWinTest, TheWmiQueryFindsAProcessInAnySession)
{
    ComScope com;
    ASSERT_TRUE(com.ok);
    CProcessQueryWin processes;

    EXPECT_NE(0u, processes.FindProcessByWmi("services.exe", nullptr, kAnySession));
}

TEST(ProcessQueryWinTest, TheOwnSessionQueryForAServiceFindsNothing)
{
    // Services run in another session than the user's; where WMI cannot filter on sessions at all, the query
    // fails, and that must read as "not found" too.
    ComScope com;
    ASSERT_TRUE(com.ok);
    CProcessQueryWin processes;
    std::string commandLine = "untouched";

    const std::uint32_t found = processes.FindProcessByWmi("services.exe", &commandLine, kOwnSession);

    EXPECT_EQ(0u, found);
    EXPECT_EQ("untouched", commandLine);
}

TEST(ProcessQueryWinTest, TheRealUpdateCheckLetsTheHostRunWithoutAnUpdater)
{
    ComScope com;
    ASSERT_TRUE(com.ok);
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "InstallDir", "C:\\Program Files\\Lumivar\\");
    CProcessQueryWin processes;

    EXPECT_EQ(0, IsUpdateRunning(registry, processes));
}
