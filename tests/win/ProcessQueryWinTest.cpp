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

TEST(ProcessQueryWinTest, AnUpdaterOfThisInstallationIsFoundOrTheFailedQueryCountsAsNoUpdate)
{
    // A stand-in updater: any program under the updater's name, in the install folder, started without the
    // switches of a mere check.
    ComScope com;
    ASSERT_TRUE(com.ok);
    char temp[MAX_PATH] = {};
    ::GetTempPathA(MAX_PATH, temp);
    const std::string folder = std::string(temp) + "LvbhoUpdateGuardTest\\";
    ::CreateDirectoryA(folder.c_str(), nullptr);
    const std::string updater = folder + "wyUpdate.exe";
    std::string source = LVBHO_CORESIM_EXE;
    if (!source.empty() && source[0] == '/')
        source = "Z:" + source;
    for (char& c : source)
        c = c == '/' ? '\\' : c;
    ASSERT_TRUE(::CopyFileA(source.c_str(), updater.c_str(), FALSE)) << source;
    SECURITY_ATTRIBUTES inherit{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
    HANDLE stdinRead = nullptr;
    HANDLE stdinWrite = nullptr;
    ASSERT_TRUE(::CreatePipe(&stdinRead, &stdinWrite, &inherit, 0));
    ::SetHandleInformation(stdinWrite, HANDLE_FLAG_INHERIT, 0);
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = stdinRead;
    startup.hStdOutput = ::GetStdHandle(STD_ERROR_HANDLE); // its "ready" line stays out of the test's output
    startup.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION process{};
    std::string commandLine = "\"" + updater + "\"";
    ASSERT_TRUE(::CreateProcessA(updater.c_str(), &commandLine[0], nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                 &startup, &process));
    ::CloseHandle(stdinRead);
    ::Sleep(300);
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "InstallDir", folder);
    CProcessQueryWin processes;
    const std::uint32_t byName = processes.FindProcessByName("wyupdate.exe");
    std::string commandLineSeen;
    const std::uint32_t byWmi = processes.FindProcessByWmi("wyupdate.exe", &commandLineSeen, kOwnSession);

    const int updating = IsUpdateRunning(registry, processes);

    ::CloseHandle(stdinWrite); // end of input ends the stand-in
    ::WaitForSingleObject(process.hProcess, 10000);
    ::CloseHandle(process.hThread);
    ::CloseHandle(process.hProcess);
    ::DeleteFileA(updater.c_str());
    ::RemoveDirectoryA(folder.c_str());
    EXPECT_EQ(process.dwProcessId, byName);
    // Where WMI finds the updater in this session, its command line lacks the check switches: an update is running.
    // Where the session query fails, as under Wine, that failure must count as no update.
    EXPECT_EQ(byWmi != 0 ? 1 : 0, updating);
}

TEST(ProcessQueryWinTest, AnExitWatchTellsWhenItsProcessHasEnded)
{
    CProcessQueryWin processes;
    char commandLine[] = "cmd.exe /c exit 0";
    STARTUPINFOA startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION child{};
    ASSERT_TRUE(::CreateProcessA(nullptr, commandLine, nullptr, nullptr, FALSE, CREATE_NO_WINDOW, nullptr, nullptr,
                                 &startup, &child));
    ::CloseHandle(child.hThread);
    const std::uintptr_t watch = processes.OpenExitWatch(child.dwProcessId);
    ASSERT_NE(0u, watch);

    ASSERT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(child.hProcess, 10000));
    ::CloseHandle(child.hProcess);

    // The watch hears of the exit from the thread pool, a moment after it.
    const DWORD start = ::GetTickCount();
    while (!processes.HasExited(watch) && ::GetTickCount() - start < 5000)
        ::Sleep(1);
    EXPECT_TRUE(processes.HasExited(watch));
    processes.CloseExitWatch(watch);
}

TEST(ProcessQueryWinTest, AnExitWatchOnARunningProcessSaysItRuns)
{
    CProcessQueryWin processes;
    const std::uintptr_t watch = processes.OpenExitWatch(::GetCurrentProcessId());
    ASSERT_NE(0u, watch);

    EXPECT_FALSE(processes.HasExited(watch));
    processes.CloseExitWatch(watch);
}

TEST(ProcessQueryWinTest, NoProcessMeansNoWatch)
{
    CProcessQueryWin processes;

    EXPECT_EQ(0u, processes.OpenExitWatch(0xFFFFFFF0u));
}
