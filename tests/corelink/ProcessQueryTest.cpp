#include "corelink/ProcessQuery.h"
#include "corelink/UpdateGuard.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeMessagingPlatform.h"

#include <gtest/gtest.h>

TEST(ProcessQueryTest, TheNameMatchesAsACaseInsensitiveSubstring)
{
    const std::vector<NamedProcess> processes = {{4, "explorer.exe"}, {9, "mylvengine.exe"}};

    EXPECT_EQ(9u, FindProcessInList(processes, "LvEngine.exe", 1));
}

TEST(ProcessQueryTest, TheHostNeverFindsItselfButFindsAnotherHostOfTheSameName)
{
    const std::vector<NamedProcess> processes = {{1, "LVBHOHost.exe"}, {2, "LVBHOHost.exe"}};

    EXPECT_EQ(2u, FindProcessInList(processes, "LVBHOHost.exe", 1));
    EXPECT_EQ(0u, FindProcessInList({{1, "LVBHOHost.exe"}}, "LVBHOHost.exe", 1));
}

TEST(ProcessQueryTest, AnEmptyListFindsNothing)
{
    EXPECT_EQ(0u, FindProcessInList({}, "LvEngine.exe", 1));
}

TEST(ProcessQueryTest, TheQueryForAnySessionHasNoSessionCondition)
{
    EXPECT_EQ("SELECT ProcessId FROM Win32_Process WHERE Name = 'wyupdate.exe'",
              BuildProcessQuery("wyupdate.exe", false, kAnySession, 3));
}

TEST(ProcessQueryTest, TheQueryForTheOwnSessionNamesIt)
{
    EXPECT_EQ("SELECT ProcessId,CommandLine FROM Win32_Process WHERE Name = 'wyupdate.exe' and SessionId=3",
              BuildProcessQuery("wyupdate.exe", true, kOwnSession, 3));
}

TEST(ProcessQueryTest, TheQueryForAnotherSessionNamesThatOne)
{
    EXPECT_EQ("SELECT ProcessId FROM Win32_Process WHERE Name = 'x.exe' and SessionId=7",
              BuildProcessQuery("x.exe", false, 7, 3));
}

namespace
{
struct Update
{
    Update()
    {
        registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "InstallDir", "C:\\Program Files\\Lumivar\\");
        processes.m_processes = {{42, "wyUpdate.exe"}};
        processes.m_imagePath = "\\Device\\HarddiskVolume1\\Program Files\\Lumivar\\wyUpdate.exe";
    }
    int Check() { return IsUpdateRunning(registry, processes); }

    CMemoryRegistry registry;
    CFakeProcessQuery processes;
};
} // namespace

TEST(UpdateGuardTest, AnUpdaterWithAllThreeCheckSwitchesLetsTheHostRun)
{
    Update run;
    run.processes.m_wmiCommandLine = "\"C:\\Program Files\\Lumivar\\wyUpdate.exe\" /QuickCheck /noerr /justcheck ";

    EXPECT_EQ(0, run.Check());
    EXPECT_EQ((std::vector<std::string>{
                  "SELECT ProcessId,CommandLine FROM Win32_Process WHERE Name = 'wyupdate.exe' and SessionId=1"}),
              run.processes.m_wmiQueries);
}

TEST(UpdateGuardTest, AnUpdaterWithoutNoerrMakesTheHostQuit)
{
    Update run;
    run.processes.m_wmiCommandLine = "wyupdate.exe /quickcheck /justcheck";

    EXPECT_EQ(1, run.Check());
}

TEST(UpdateGuardTest, AnUpdaterWithoutQuickcheckMakesTheHostQuit)
{
    Update run;
    run.processes.m_wmiCommandLine = "wyupdate.exe /noerr /justcheck";

    EXPECT_EQ(1, run.Check());
}

TEST(UpdateGuardTest, AnUpdaterWithoutJustcheckMakesTheHostQuit)
{
    Update run;
    run.processes.m_wmiCommandLine = "wyupdate.exe /quickcheck /noerr";

    EXPECT_EQ(1, run.Check());
}

TEST(UpdateGuardTest, AnUpdaterOfAnotherProductIsIgnored)
{
    Update run;
    run.processes.m_imagePath = "\\Device\\HarddiskVolume1\\Program Files\\Other\\wyUpdate.exe";

    EXPECT_EQ(0, run.Check());
}

TEST(UpdateGuardTest, TheInstallFolderMatchesOnAnotherVolumeAndInAnyCase)
{
    Update run;
    run.processes.m_imagePath = "\\Device\\HarddiskVolume2\\PROGRAM FILES\\LUMIVAR\\wyUpdate.exe";

    EXPECT_EQ(1, run.Check());
}

TEST(UpdateGuardTest, TheUpdaterIsLookedForInTheHostsOwnSessionOnly)
{
    Update run;
    run.processes.m_wmiSession = 2; // the updater runs in another user's session

    EXPECT_EQ(0, run.Check());
    ASSERT_EQ(1u, run.processes.m_wmiQueries.size());
    EXPECT_NE(std::string::npos, run.processes.m_wmiQueries[0].find(" and SessionId=1"));
}

TEST(UpdateGuardTest, NoUpdaterMeansNoUpdateWithoutAskingWmi)
{
    Update run;
    run.processes.m_processes = {{7, "explorer.exe"}, {8, "LvEngine.exe"}};

    EXPECT_EQ(0, run.Check());
    EXPECT_TRUE(run.processes.m_wmiQueries.empty());
    EXPECT_EQ(1, run.processes.m_scans);
}

TEST(UpdateGuardTest, AnUpdaterInTheProcessListIsThenLookedUpThroughWmi)
{
    Update run;
    run.processes.m_wmiCommandLine = "wyUpdate.exe /quickcheck /noerr";

    EXPECT_EQ(1, run.Check());
    EXPECT_EQ(1u, run.processes.m_wmiQueries.size());
}

TEST(UpdateGuardTest, AFailedQueryMeansNoUpdate)
{
    Update run;
    run.processes.m_wmiWorks = false;

    EXPECT_EQ(0, run.Check());
}

TEST(UpdateGuardTest, AnUnreadableImagePathMeansNoUpdate)
{
    Update run;
    run.processes.m_imagePath.clear();

    EXPECT_EQ(0, run.Check());
}

TEST(UpdateGuardTest, WithoutTheProductKeyNothingIsAsked)
{
    CMemoryRegistry registry;
    CFakeProcessQuery processes;
    processes.m_processes = {{42, "wyUpdate.exe"}};

    EXPECT_EQ(0, IsUpdateRunning(registry, processes));
    EXPECT_TRUE(processes.m_wmiQueries.empty());
}

namespace
{
struct Watch
{
    Watch() { processes.m_processes = {{7, "explorer.exe"}, {9, "LvEngine.exe"}}; }

    CFakeProcessQuery processes;
    CRunningProcessWatch watch{processes, {"lvengine.exe"}};
};
} // namespace

TEST(RunningProcessWatchTest, AProcessFoundOnceIsWatchedAndNotScannedForAgain)
{
    Watch run;

    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_TRUE(run.watch.IsRunning());

    EXPECT_EQ(2, run.processes.m_scans); // the find, and the check that the id still names it
    EXPECT_EQ(1, run.processes.m_openWatches);
}

TEST(RunningProcessWatchTest, AnIdThatPassedToAnotherProcessBeforeTheOpeningIsNotWatched)
{
    Watch run;
    run.processes.m_listAfterOpen = {{7, "explorer.exe"}, {9, "notepad.exe"}, {12, "LvEngine.exe"}};

    EXPECT_TRUE(run.watch.IsRunning()); // it did run when the list was read
    EXPECT_EQ(0, run.processes.m_openWatches);

    run.processes.m_listAfterOpen.clear();
    run.processes.m_processes = {{7, "explorer.exe"}, {9, "notepad.exe"}};
    EXPECT_FALSE(run.watch.IsRunning());
}

TEST(RunningProcessWatchTest, WhenTheWatchedProcessExitsTheListIsScannedAgain)
{
    Watch run;
    ASSERT_TRUE(run.watch.IsRunning());

    run.processes.m_processes = {{7, "explorer.exe"}};
    EXPECT_FALSE(run.watch.IsRunning());
    EXPECT_EQ(0, run.processes.m_openWatches);

    run.processes.m_processes = {{7, "explorer.exe"}, {12, "LvEngine.exe"}};
    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_EQ(5, run.processes.m_scans); // two for each process found, one for the no
    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_EQ(5, run.processes.m_scans);
}

TEST(RunningProcessWatchTest, ANoIsNeverRemembered)
{
    Watch run;
    run.processes.m_processes.clear();

    EXPECT_FALSE(run.watch.IsRunning());
    run.processes.m_processes = {{9, "LvEngine.exe"}};
    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_EQ(3, run.processes.m_scans);
}

TEST(RunningProcessWatchTest, AProcessThatCannotBeOpenedStillRunsAndIsLookedForEachTime)
{
    Watch run;
    run.processes.m_watchesWork = false;

    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_TRUE(run.watch.IsRunning());
    EXPECT_EQ(2, run.processes.m_scans);
}

TEST(RunningProcessWatchTest, TheWatchIsClosedWithIt)
{
    CFakeProcessQuery processes;
    processes.m_processes = {{9, "LvEngine.exe"}};
    {
        CRunningProcessWatch watch(processes, {"LvEngine.exe"});
        ASSERT_TRUE(watch.IsRunning());
        EXPECT_EQ(1, processes.m_openWatches);
    }
    EXPECT_EQ(0, processes.m_openWatches);
}

TEST(ProcessQueryTest, AnyOfSeveralNamesIsFoundInTheirOrder)
{
    const std::vector<NamedProcess> processes = {{4, "LvGuard.exe"}, {9, "LvEngine.exe"}};

    EXPECT_EQ(9u, FindAnyInList(processes, {"LvEngine.exe", "LvGuard.exe"}, 1));
    EXPECT_EQ(4u, FindAnyInList(processes, {"LvGuard.exe", "LvEngine.exe"}, 1));
    EXPECT_EQ(4u, FindAnyInList({{4, "LvGuard.exe"}}, {"LvEngine.exe", "LvGuard.exe"}, 1));
    EXPECT_EQ(0u, FindAnyInList(processes, {"explorer.exe"}, 1));
}

TEST(RunningProcessWatchTest, TheCoreAndItsGuardCostOneScanWhenNeitherRuns)
{
    CFakeProcessQuery processes;
    processes.m_processes = {{7, "explorer.exe"}};
    CRunningProcessWatch watch{processes, {"LvEngine.exe", "LvGuard.exe"}};

    EXPECT_FALSE(watch.IsRunning());
    EXPECT_EQ(1, processes.m_scans);

    processes.m_processes.push_back({8, "LvGuard.exe"});
    EXPECT_TRUE(watch.IsRunning()); // the guard alone: found, then checked
    EXPECT_EQ(3, processes.m_scans);
    EXPECT_TRUE(watch.IsRunning());
    EXPECT_EQ(3, processes.m_scans);
}

TEST(ProcessQueryTest, UnicodeImageNamesFollowTheSameRuleWhereTheyLie)
{
    const std::u16string image = u"C:\\Program Files\\Lumivar\\LVENGINE.EXE";

    EXPECT_TRUE(NameContains(image.data(), image.size(), "LvEngine.exe"));
    EXPECT_FALSE(NameContains(image.data(), image.size(), "LvGuard.exe"));
    EXPECT_FALSE(NameContains(image.data(), 10, "LvEngine.exe"));
    EXPECT_TRUE(NameContains(static_cast<const char16_t*>(nullptr), 0, ""));
}
