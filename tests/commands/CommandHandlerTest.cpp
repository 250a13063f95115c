#include "commands/CommandHandler.h"

#include "config/MemoryRegistry.h"
#include "tests/fakes/FakeCoreObjects.h"
#include "tests/fakes/FakeHandlerPlatform.h"
#include "tests/fakes/FakeLogSink.h"

#include <gtest/gtest.h>

namespace
{
using Calls = std::vector<std::string>;

struct Handler
{
    explicit Handler(const char* requestText = "{}")
    {
        EXPECT_TRUE(request.Parse(requestText));
        objects.RunCore();
        objects.m_block.requestCode = 1;
    }

    JsonCPPWrapper request;
    CFakeHandlerPlatform platform;
    CFakeCoreObjects objects;
    CFakeLogSink sink;
    CDebugLog log{sink};
    CCoreLink link{objects, log};
    CMemoryRegistry registry;
    CLVBHOCommandHandler handler{request, platform, link, registry, log};
};
} // namespace

TEST(CommandHandlerTest, TheBrowserIsChromeUntilIdentifySaysOtherwise)
{
    Handler run;

    EXPECT_EQ("chrome", run.handler.BrowserName());
    run.handler.SetBrowserName("firefox");
    EXPECT_EQ("firefox", run.handler.BrowserName());
}

TEST(CommandHandlerTest, CancelIfBusyWithNothingOpenFailsAndSendsNothing)
{
    Handler run;

    EXPECT_EQ(3u, run.handler.CancelIfBusy(1));

    EXPECT_EQ(1u, run.objects.m_block.requestCode);
    EXPECT_FALSE(run.objects.IsSet(CoreEvent::RequestE));
}

TEST(CommandHandlerTest, CancelIfBusyWithARequestOpenSendsTheCancelAndAnswersPending)
{
    Handler run;
    run.objects.m_block.flags = kFlagCancellable;
    run.objects.m_block.requestCode = 8;

    EXPECT_EQ(5u, run.handler.CancelIfBusy(0));

    EXPECT_EQ(6u, run.objects.m_block.requestCode);
    EXPECT_TRUE(run.objects.IsSet(CoreEvent::RequestE));
}

TEST(CommandHandlerTest, WaitForCompletionStandsZeroAndInfiniteForHalfASecond)
{
    Handler run;

    run.handler.WaitForCompletion(0);
    run.handler.WaitForCompletion(0xFFFFFFFF);
    run.handler.WaitForCompletion(20);

    EXPECT_EQ((Calls{"WaitOnEvent 500", "WaitOnEvent 500", "WaitOnEvent 20"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, HidePromptWithoutPromptWindowFails)
{
    Handler run;

    EXPECT_EQ(3u, run.handler.HidePrompt());

    EXPECT_TRUE(run.platform.m_calls.empty());
}

TEST(CommandHandlerTest, HidePromptSendsTheHideRequestToThePromptWindow)
{
    Handler run;
    run.platform.m_hasPrompt = true;

    EXPECT_EQ(0u, run.handler.HidePrompt());

    EXPECT_EQ((Calls{"Send MSG_WM_HIDEPROMPT 1 0"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, CancelOperationWithNothingOpenFailsWithoutWaiting)
{
    Handler run;

    EXPECT_EQ(3u, run.handler.CancelOperation());

    EXPECT_TRUE(run.platform.m_calls.empty());
}

TEST(CommandHandlerTest, CancelOperationWithARequestOpenWaitsAndSucceeds)
{
    Handler run;
    run.objects.m_block.flags = kFlagCancellable;
    run.objects.m_onWait = [](CFakeCoreObjects& core) {
        core.m_set[static_cast<int>(CoreEvent::Complete)] = true;
    };

    EXPECT_EQ(0u, run.handler.CancelOperation());

    EXPECT_EQ((Calls{"WaitOnEvent 500"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, MissingMembersAnswerArgumentMissing)
{
    Handler run;

    EXPECT_EQ(4u, run.handler.StoreLoginData());
    EXPECT_EQ(4u, run.handler.CheckAndValidate());
    EXPECT_EQ(4u, run.handler.IsPageRemembered());
    EXPECT_EQ(4u, run.handler.SetPluginParam());
    EXPECT_EQ(4u, run.handler.PlayKeys());
}

TEST(CommandHandlerTest, StoreLoginDataWithoutPasswordAnswersArgumentMissingAndSendsNothing)
{
    Handler run("{\"DocumentTitle\":\"t\",\"WebUrl\":\"https://a.com/\",\"unamefield\":\"u\",\"webPageUserId\":\"n\","
                "\"passfieldname\":\"p\"}");

    EXPECT_EQ(4u, run.handler.StoreLoginData());

    EXPECT_EQ(1u, run.objects.m_block.requestCode);
}

TEST(CommandHandlerTest, StartingANonChromeBrowserRunsThePromptWindowRequestOnTheUiThread)
{
    Handler run;

    run.handler.StartNonChromeBrowser();

    EXPECT_EQ((Calls{"RunOnUiThread 32769"}), run.platform.m_calls);
}

TEST(CommandHandlerTest, ExtensionInstalledSetsChromeBHOAndTellsTheCore)
{
    Handler run;
    run.objects.m_coreWindow = 0x44;

    run.handler.ExtensionInstalled();

    const auto* value = run.registry.FindValue("HKCU\\Software\\Kavrin\\Lumivar", "ChromeBHO");
    ASSERT_NE(nullptr, value);
    EXPECT_EQ(4u, value->type);
    EXPECT_EQ((Calls{"AllowSetForeground 77", "Post 68 ExtensionInstalled 0 0"}), run.objects.m_calls);
}
