#include "corelink/CoreLink.h"

#include "config/MemoryRegistry.h"
#include "corelink/MutexLock.h"
#include "tests/fakes/FakeCoreObjects.h"
#include "tests/fakes/FakeLogSink.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace
{
using Calls = std::vector<std::string>;

struct Link
{
    Link() { objects.m_block.requestCode = 1; }

    // The core completes whatever it is asked at once: it writes its answer, then sets the complete event.
    void CoreAnswers(std::uint32_t result, std::uint32_t flags)
    {
        objects.m_onWait = [result, flags](CFakeCoreObjects& core) {
            core.m_block.result = result;
            core.m_block.flags = flags;
            core.m_set[static_cast<int>(CoreEvent::Complete)] = true;
        };
    }
    bool TouchedEvents() const
    {
        return std::any_of(objects.m_calls.begin(), objects.m_calls.end(), [](const std::string& call) {
            return call.rfind("Set ", 0) == 0 || call.rfind("Reset ", 0) == 0;
        });
    }

    CFakeCoreObjects objects;
    CFakeLogSink sink;
    CDebugLog log{sink};
    CCoreLink link{objects, log};
};
} // namespace

TEST(CoreLinkTest, WithNoCoreRunningARequestFailsWithoutTouchingTheEvents)
{
    Link run;

    EXPECT_EQ(0, run.link.SignalEvent(1, 1));

    EXPECT_FALSE(run.TouchedEvents());
    EXPECT_EQ(1u, run.objects.m_block.requestCode);
}

TEST(CoreLinkTest, WithNoCoreRunningTheMutexLockTakesNoLock)
{
    Link run;

    CMutexLock lock(run.link);

    EXPECT_FALSE(lock.IsLocked());
    EXPECT_TRUE(run.objects.m_calls.empty());
}

TEST(CoreLinkTest, TheGuardProcessAloneCountsAsARunningCore)
{
    Link run;
    run.objects.m_processes = {{5, kGuardProcessName}};

    CMutexLock lock(run.link);

    EXPECT_TRUE(lock.IsLocked());
    EXPECT_EQ(1, run.objects.m_mutexDepth);
}

TEST(CoreLinkTest, TheMutexLockReleasesAtTheEndOfItsScope)
{
    Link run;
    run.objects.RunCore();

    {
        CMutexLock lock(run.link);
    }

    EXPECT_EQ((Calls{"Lock", "Release"}), run.objects.m_calls);
}

TEST(CoreLinkTest, ARequestResetsCompleteRingsItsEventAndWaitsForTheCore)
{
    Link run;
    run.objects.RunCore();
    run.CoreAnswers(0, kFlagAnswerYes);

    EXPECT_EQ(1, run.link.SignalEvent(1, 1));

    EXPECT_EQ((Calls{"WaitPumping Complete 4294967295", "Lock", "Release", "Reset Complete", "Set A",
                     "WaitPumping Complete 4294967295"}),
              run.objects.m_calls);
    EXPECT_EQ(1u, run.objects.m_block.requestCode);
    EXPECT_EQ(0u, run.objects.m_block.result);
}

TEST(CoreLinkTest, EachCodeRingsItsOwnEvent)
{
    const std::pair<std::uint32_t, const char*> table[] = {{1, "A"}, {2, "C"}, {3, "D"}, {4, "D"},
                                                           {7, "B"}, {8, "B"}, {9, "D"}, {10, "D"}};
    for (const auto& [code, event] : table)
    {
        Link run;
        run.objects.RunCore();

        EXPECT_EQ(1, run.link.SignalEvent(code, 0));

        EXPECT_EQ(std::string("Set ") + event, run.objects.m_calls.back()) << code;
        EXPECT_EQ(code, run.objects.m_block.requestCode);
        EXPECT_EQ(kResultPending, run.objects.m_block.result);
    }
}

TEST(CoreLinkTest, CodeFiveIsRecordedWithoutAnyEvent)
{
    Link run;
    run.objects.RunCore();

    EXPECT_EQ(1, run.link.SignalEvent(5, 0));

    EXPECT_EQ(5u, run.objects.m_block.requestCode);
    EXPECT_FALSE(run.TouchedEvents());
}

TEST(CoreLinkTest, CodesOutsideTheTableRingNothing)
{
    Link run;
    run.objects.RunCore();

    EXPECT_EQ(1, run.link.SignalEvent(11, 0));
    EXPECT_EQ(1, run.link.SignalEvent(0, 0));

    EXPECT_FALSE(run.TouchedEvents());
}

TEST(CoreLinkTest, ACancelPassesAnOpenRequestWithoutWaitingOrLocking)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_block.requestCode = 8;
    run.objects.m_set[static_cast<int>(CoreEvent::Complete)] = false;

    EXPECT_EQ(1, run.link.SignalEvent(6, 0));

    EXPECT_EQ((Calls{"Reset Complete", "Set E"}), run.objects.m_calls);
    EXPECT_EQ(6u, run.objects.m_block.requestCode);
}

TEST(CoreLinkTest, ASecondCancelWaitsForTheFirstAndLeavesTheBlockIdle)
{
    Link run;
    run.objects.RunCore();
    run.CoreAnswers(0, 0);
    ASSERT_EQ(1, run.link.SignalEvent(6, 0));
    run.objects.m_calls.clear();

    EXPECT_EQ(1, run.link.SignalEvent(6, 1));

    EXPECT_EQ((Calls{"WaitPumping Complete 4294967295"}), run.objects.m_calls);
    EXPECT_EQ(5u, run.objects.m_block.requestCode);
    EXPECT_EQ(kResultPending, run.objects.m_block.result);
}

TEST(CoreLinkTest, AFailedWaitReleasesTheNextCallerAndMarksTheBlockCancelled)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_set[static_cast<int>(CoreEvent::Complete)] = false;

    EXPECT_EQ(0, run.link.WaitForCompleteEvent());

    EXPECT_EQ(6u, run.objects.m_block.requestCode);
    EXPECT_EQ(kResultPending, run.objects.m_block.result);
    EXPECT_TRUE(run.objects.IsSet(CoreEvent::Complete));
}

TEST(CoreLinkTest, WithoutTheCompleteEventNothingIsWaitedFor)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_hasEvents = false;

    EXPECT_EQ(0, run.link.WaitForCompleteEvent());

    EXPECT_TRUE(run.objects.m_calls.empty());
}

TEST(CoreLinkTest, ARequestThatTheCoreDoesNotCompleteFails)
{
    Link run;
    run.objects.RunCore();
    // The previous request completed; this one is never answered.
    run.objects.m_onWait = [](CFakeCoreObjects&) {};

    EXPECT_EQ(0, run.link.SignalEvent(8, 1));
}

TEST(CoreLinkTest, TheTraceLinesAreWrittenAtLevelFiftyTwo)
{
    Link run;
    run.objects.RunCore();
    CMemoryRegistry registry;
    registry.SetString("HKLM\\SOFTWARE\\Kavrin\\Lumivar", "lvDebugSupport", "LVBHOHost;52");
    ASSERT_EQ(1, run.log.Open(registry, "LVBHOHost"));

    ASSERT_EQ(1, run.link.SignalEvent(5, 0));

    ASSERT_FALSE(run.sink.m_debugOutput.empty());
    std::string all;
    for (const std::string& line : run.sink.m_debugOutput)
        all += line;
    EXPECT_NE(std::string::npos, all.find("LVBHO_SignalEvent 1:: 5"));
    EXPECT_NE(std::string::npos, all.find("LVBHO_SignalEvent 3:: 5"));
    EXPECT_NE(std::string::npos, all.find("WaitForCompleteEvent:: Enter"));
    EXPECT_NE(std::string::npos, all.find("WaitForCompleteEvent:: Exit"));
    EXPECT_NE(std::string::npos, all.find("CMutexLock:: Lock Enter"));
    EXPECT_NE(std::string::npos, all.find("LVBHO_SignalEvent 3.1 reset complete:: 5"));
}

TEST(CoreLinkTest, ResetSharedDataLeavesTheCoresFieldAlone)
{
    Link run;
    run.objects.RunCore();
    std::memset(&run.objects.m_block, 'x', sizeof run.objects.m_block);

    run.link.ResetSharedData();

    const BHOSharedData& block = run.objects.m_block;
    EXPECT_EQ(0u, block.hostContext);
    EXPECT_EQ(0u, block.hostWindow);
    EXPECT_EQ(std::string(260, '\0'), std::string(block.field0, 260));
    EXPECT_EQ(std::string(260, '\0'), std::string(block.requestUser, 260));
    EXPECT_EQ(std::string(260, '\0'), std::string(block.requestKey, 260));
    EXPECT_EQ(std::string(260, 'x'), std::string(block.field3, 260));
    EXPECT_EQ(std::string(260, '\0'), std::string(block.requestDisplay, 260));
    EXPECT_EQ(std::string(2048, '\0'), std::string(block.fieldScript, 2048));
    EXPECT_EQ(std::string(2048, '\0'), std::string(block.valueScript, 2048));
    EXPECT_EQ(0u, block.valueCount);
    EXPECT_EQ(0u, block.flags);
    EXPECT_EQ(1u, block.requestCode);
    EXPECT_EQ(kResultPending, block.result);
    EXPECT_EQ((Calls{"Lock", "Release"}), run.objects.m_calls);
}

TEST(CoreLinkTest, ResultAndFlagsAreReadUnderTheMutex)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_block.result = 13;
    run.objects.m_block.flags = 0x25;

    EXPECT_EQ(13, run.link.GetSharedResult());
    EXPECT_EQ(0x25u, run.link.GetSharedFlags());

    EXPECT_EQ((Calls{"Lock", "Release", "Lock", "Release"}), run.objects.m_calls);
}

TEST(CoreLinkTest, ValidationWithoutTheCoreWindowFails)
{
    Link run;
    run.objects.RunCore();

    EXPECT_EQ(0, run.link.ValidateUser());

    EXPECT_EQ((Calls{"Reset Denied", "Reset Acknowledge", "Reset Granted"}), run.objects.m_calls);
}

TEST(CoreLinkTest, ValidationAsksTheCoreWindowAndTakesGranted)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_coreWindow = 0x1234;
    run.objects.m_onWait = [](CFakeCoreObjects& core) {
        core.m_set[static_cast<int>(CoreEvent::ValidationAcknowledge)] = true;
        core.m_set[static_cast<int>(CoreEvent::ValidationGranted)] = true;
    };

    EXPECT_EQ(1, run.link.ValidateUser());

    EXPECT_EQ((Calls{"Reset Denied", "Reset Acknowledge", "Reset Granted", "AllowSetForeground 77",
                     "Post 4660 LumivarDoValidateUser 1 0", "Wait Acknowledge 3000", "WaitEither Denied Granted"}),
              run.objects.m_calls);
}

TEST(CoreLinkTest, ValidationDeniedIsZero)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_coreWindow = 0x1234;
    run.objects.m_onWait = [](CFakeCoreObjects& core) {
        core.m_set[static_cast<int>(CoreEvent::ValidationAcknowledge)] = true;
        core.m_set[static_cast<int>(CoreEvent::ValidationDenied)] = true;
    };

    EXPECT_EQ(0, run.link.ValidateUser());
}

TEST(CoreLinkTest, ValidationWithoutAcknowledgementIsZero)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_coreWindow = 0x1234;

    EXPECT_EQ(0, run.link.ValidateUser());

    EXPECT_EQ("Wait Acknowledge 3000", run.objects.m_calls.back());
}

TEST(CoreLinkTest, AFailedValidationWaitCountsAsGranted)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_coreWindow = 0x1234;
    run.objects.m_onWait = [](CFakeCoreObjects& core) {
        core.m_set[static_cast<int>(CoreEvent::ValidationAcknowledge)] = true;
    };

    EXPECT_EQ(1, run.link.ValidateUser());
}

TEST(CoreLinkTest, ExtensionInstalledIsPostedToTheRunningCore)
{
    Link run;
    run.objects.RunCore();
    run.objects.m_coreWindow = 0x99;

    run.link.PostExtensionInstalled();

    EXPECT_EQ((Calls{"AllowSetForeground 77", "Post 153 ExtensionInstalled 0 0"}), run.objects.m_calls);
}

TEST(CoreLinkTest, ExtensionInstalledWithoutACoreDoesNothing)
{
    Link run;
    run.objects.m_coreWindow = 0x99;

    run.link.PostExtensionInstalled();

    EXPECT_TRUE(run.objects.m_calls.empty());
}

TEST(CoreLinkTest, TheCoreAndItsGuardAreAskedForInOneQuestion)
{
    Link running;
    running.objects.RunCore();
    Link stopped;

    EXPECT_TRUE(running.link.IsCoreRunning());
    EXPECT_FALSE(stopped.link.IsCoreRunning());

    EXPECT_EQ(1, running.objects.m_runningAsked);
    EXPECT_EQ(1, stopped.objects.m_runningAsked);
}

TEST(CoreLinkTest, TheGuardAloneCountsAsACoreRunning)
{
    Link run;
    run.objects.m_processes = {{78, kGuardProcessName}};

    EXPECT_TRUE(run.link.IsCoreRunning());
}
