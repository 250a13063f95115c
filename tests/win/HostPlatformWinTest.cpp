#include "host/HostPlatformWin.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <thread>
#include <vector>

namespace
{
std::vector<HANDLE> g_askedHandles;

BOOL WINAPI AlwaysImmersive(HANDLE process)
{
    g_askedHandles.push_back(process);
    return TRUE;
}

bool RunningUnderWine()
{
    HMODULE ntdll = ::GetModuleHandleA("ntdll.dll");
    return ntdll != nullptr && ::GetProcAddress(ntdll, "wine_get_version") != nullptr;
}
} // namespace

TEST(HostPlatformWinTest, CommandLineIsTheProcesss)
{
    CHostPlatformWin platform;

    EXPECT_NE(std::string::npos, platform.CommandLine().find("win_tests"));
    EXPECT_TRUE(platform.HasModuleHandle());
}

TEST(HostPlatformWinTest, ComInitialisationIsOwedOnlyWhenItSucceeded)
{
    CHostPlatformWin platform;

    ASSERT_TRUE(platform.ComInitialize(true));
    platform.ComUninitialize();
}

TEST(HostPlatformWinTest, ComInitialisationInAnotherApartmentIsNotOwed)
{
    CHostPlatformWin platform;
    bool owed = true;

    // On a thread of its own, so that this thread's apartment stays as it was.
    std::thread([&] {
        ASSERT_TRUE(platform.ComInitialize(false));
        owed = platform.ComInitialize(true); // RPC_E_CHANGED_MODE
        platform.ComUninitialize();
    }).join();

    EXPECT_FALSE(owed);
}

TEST(ImmersiveQueryWinTest, WineDoesNotExportIsImmersiveProcess)
{
    if (!RunningUnderWine())
        GTEST_SKIP() << "only Wine is known to lack it";

    EXPECT_EQ(nullptr, LookUpIsImmersiveProcess());
}

TEST(ImmersiveQueryWinTest, SnapshotListsThisProcess)
{
    CImmersiveQueryWin query(nullptr);
    std::vector<ProcessEntry> processes;

    ASSERT_TRUE(query.Snapshot(processes));

    bool found = false;
    for (const ProcessEntry& process : processes)
        found = found || (process.processId == ::GetCurrentProcessId() && process.exeName == "win_tests.exe");
    EXPECT_TRUE(found);
}

TEST(ImmersiveQueryWinTest, WithoutTheFunctionNothingIsImmersive)
{
    CImmersiveQueryWin query(nullptr);

    EXPECT_FALSE(IsProcessImmersive(query, "win_tests.exe"));
}

TEST(ImmersiveQueryWinTest, WithTheFunctionAMatchingProcessIsOpenedAndAsked)
{
    g_askedHandles.clear();
    CImmersiveQueryWin query(&AlwaysImmersive);

    EXPECT_TRUE(IsProcessImmersive(query, "TESTS.exe")); // a tail of "win_tests.exe", in another case

    ASSERT_EQ(1u, g_askedHandles.size());
    EXPECT_NE(nullptr, g_askedHandles[0]);
}

TEST(ImmersiveQueryWinTest, NoMatchingProcessIsNotImmersive)
{
    g_askedHandles.clear();
    CImmersiveQueryWin query(&AlwaysImmersive);

    EXPECT_FALSE(IsProcessImmersive(query, "no-such-process-name.exe"));
    EXPECT_TRUE(g_askedHandles.empty());
}
