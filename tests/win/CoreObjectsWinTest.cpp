#include "corelink/CoreObjectsWin.h"

#include "corelink/CoreLink.h"
#include "corelink/ProcessQueryWin.h"
#include "tests/fakes/FakeLogSink.h"
#include "tests/fakes/FakeMessagingPlatform.h"
#include "tests/fakes/TracingLog.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

namespace
{
struct Objects
{
    CFakeLogSink sink;
    CDebugLog log{sink};
    CProcessQueryWin processes;
    CCoreObjectsWin objects{processes, log};
    CCoreLink link{objects, log};
};
} // namespace

TEST(CoreObjectsWinTest, TheFirstOpenerCreatesTheBlockWithTheCompleteEventSet)
{
    Objects first;

    ASSERT_EQ(1, first.objects.InitSharedMemory(first.link));

    EXPECT_TRUE(first.objects.CreatedMapping());
    ASSERT_NE(nullptr, first.objects.Block());
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(first.objects.EventHandle(CoreEvent::Complete), 0));
    EXPECT_EQ(WAIT_TIMEOUT, ::WaitForSingleObject(first.objects.EventHandle(CoreEvent::RequestA), 0));
    EXPECT_NE(0u, first.objects.WakeUpMessage());
}

TEST(CoreObjectsWinTest, ASecondOpenerFindsTheBlockAsItStands)
{
    Objects first;
    ASSERT_EQ(1, first.objects.InitSharedMemory(first.link));
    first.link.ResetSharedData();
    std::strcpy(first.objects.Block()->requestKey, "EXAMPLE.COM::pwd");
    Objects second;

    ASSERT_EQ(1, second.objects.InitSharedMemory(second.link));

    EXPECT_FALSE(second.objects.CreatedMapping());
    EXPECT_STREQ("EXAMPLE.COM::pwd", second.objects.Block()->requestKey);
    EXPECT_NE(first.objects.Block(), second.objects.Block());
}

TEST(CoreObjectsWinTest, TheEventsAreSharedByName)
{
    Objects first;
    ASSERT_EQ(1, first.objects.InitSharedMemory(first.link));
    Objects second;
    ASSERT_EQ(1, second.objects.InitSharedMemory(second.link));

    first.objects.SetEvent(CoreEvent::RequestB);

    EXPECT_TRUE(second.objects.Wait(CoreEvent::RequestB, 0));
    second.objects.ResetEvent(CoreEvent::RequestB);
}

TEST(CoreObjectsWinTest, ClosingNullsEveryHandle)
{
    Objects first;
    ASSERT_EQ(1, first.objects.InitSharedMemory(first.link));

    first.objects.CloseSharedMemory();

    EXPECT_EQ(nullptr, first.objects.Block());
    for (const CoreEventName& named : kCoreEvents)
        EXPECT_FALSE(first.objects.HasEvent(named.event));
}

TEST(CoreObjectsWinTest, WithNoCoreProcessARequestFailsAtOnceAndTouchesNoEvent)
{
    Objects host;
    ASSERT_EQ(1, host.objects.InitSharedMemory(host.link));
    ASSERT_EQ(0u, host.processes.FindProcessByName(kCoreProcessName)) << "a core process runs in this prefix";
    const DWORD start = ::GetTickCount();

    EXPECT_EQ(0, host.link.SignalEvent(1, 1));

    EXPECT_LT(::GetTickCount() - start, 1000u);
    EXPECT_EQ(WAIT_OBJECT_0, ::WaitForSingleObject(host.objects.EventHandle(CoreEvent::Complete), 0));
    EXPECT_EQ(WAIT_TIMEOUT, ::WaitForSingleObject(host.objects.EventHandle(CoreEvent::RequestA), 0));
}

TEST(CoreObjectsWinTest, WithNoCoreWindowTheValidationFailsAtOnce)
{
    Objects host;
    ASSERT_EQ(1, host.objects.InitSharedMemory(host.link));

    EXPECT_EQ(0, host.link.ValidateUser());
}

TEST(CoreObjectsWinTest, OnlyTheHostThatMadeTheBlockInitialisesIt)
{
    Objects first;
    ASSERT_EQ(1, first.objects.InitSharedMemory(first.link));
    Objects reader;
    ASSERT_EQ(1, reader.objects.InitSharedMemory(reader.link));
    ASSERT_EQ(1u, reader.objects.Block()->requestCode); // initialised by the first host
    std::strcpy(reader.objects.Block()->requestKey, "LEFT.BY::core");
    reader.objects.Block()->requestCode = 8;
    Objects second;

    ASSERT_EQ(1, second.objects.InitSharedMemory(second.link));

    EXPECT_STREQ("LEFT.BY::core", reader.objects.Block()->requestKey);
    EXPECT_EQ(8u, reader.objects.Block()->requestCode);
}

TEST(CoreObjectsWinTest, TheMakerResetsTheBlockBeforeItRegistersTheWakeUpAndLogs)
{
    TracingLog traces("win_tests");
    ASSERT_EQ(1, traces.opened);
    CFakeProcessQuery processes; // a core runs, so the reset takes the block mutex and traces it
    processes.m_processes = {{77, kCoreProcessName}};
    CCoreObjectsWin objects(processes, traces.log);
    CCoreLink link(objects, traces.log);

    ASSERT_EQ(1, objects.InitSharedMemory(link));

    ASSERT_TRUE(objects.CreatedMapping()) << "another process of this prefix holds the block";
    const std::vector<std::string> expected = {"CMutexLock:: Lock Enter", "CMutexLock:: Locked Exit",
                                               "CMutexLock:: UnLock Enter - 1", "CMutexLock:: UnLocked",
                                               "InitSharedMemory"};
    EXPECT_EQ(expected, traces.Texts());
    EXPECT_EQ(1u, objects.Block()->requestCode);
    EXPECT_EQ(0xFFFFFFFFu, static_cast<std::uint32_t>(objects.Block()->result));
}
